// Shared by the Node checks: command-line arguments and runs of the built
// zoactor.
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';

// { name: value } of "--name value" pairs.
export function parseArguments(argv) {
  const options = {};
  for (let i = 0; i + 1 < argv.length; i += 2) options[argv[i].replace(/^--/, '')] = argv[i + 1];
  return options;
}

// Runs `program` with `args`; its stdout (stderr passes through).
export function run(program, args) {
  return execFileSync(program, args, { encoding: 'utf8', stdio: ['ignore', 'pipe', 'inherit'], timeout: 120000 });
}

// An empty folder at `path`.
export function freshFolder(path) {
  fs.rmSync(path, { recursive: true, force: true });
  fs.mkdirSync(path, { recursive: true });
  return path;
}
