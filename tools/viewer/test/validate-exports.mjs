// Runs the Khronos glTF validator on what `zoactor export` writes for the
// demo actor (GLB and .gltf) and for the fixture actors (every node style,
// the faults the export must survive, the older file layout), each with all
// its skills. Fails when any file has a validation error; warnings and
// infos are listed.
//   node validate-exports.mjs --tool ZOACTOR --fixtures FIXTURE_WRITER --work DIR
import fs from 'node:fs';
import path from 'node:path';
import validator from 'gltf-validator';
import { freshFolder, parseArguments, run } from './ToolRuns.mjs';

const options = parseArguments(process.argv.slice(2));
const work = freshFolder(options.work);
run(options.tool, ['demo', path.join(work, 'demo')]);
const actors = [path.join(work, 'demo', 'Robo')];
actors.push(...run(options.fixtures, [path.join(work, 'fixtures')]).trim().split('\n'));

const exports = actors.map((actor) => ({ actor, file: path.join(work, `${path.basename(actor)}.glb`), args: [] }));
exports.push({ actor: actors[0], file: path.join(work, 'Robo.gltf'), args: ['--gltf'] });
for (const { actor, file, args } of exports) run(options.tool, ['export', actor, '-o', file, '--all-skills', ...args]);

let failed = 0;
for (const { file } of exports) {
  const report = await validator.validateBytes(new Uint8Array(fs.readFileSync(file)), {
    uri: path.basename(file),
    maxIssues: 0,
  });
  const { numErrors, numWarnings, numInfos, messages } = report.issues;
  console.log(`${path.basename(file)}: ${numErrors} errors, ${numWarnings} warnings, ${numInfos} infos`);
  for (const message of messages)
    console.log(`  ${['error', 'warning', 'info', 'hint'][message.severity]} ${message.code} ${message.pointer || ''}: ${message.message}`);
  if (numErrors > 0) failed += 1;
}
console.log(`${exports.length - failed} passed, ${failed} failed`);
process.exit(failed === 0 ? 0 : 1);
