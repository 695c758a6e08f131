// The viewer in a real browser: `zoactor view` writes the demo actor's
// viewer, a static server serves it on 127.0.0.1, and headless Chromium
// (Debian's, never a downloaded one) opens it, waits for "ready", and takes
// screenshots of the canvas a second apart:
// - while Wave plays (from 0.55 s, arm raised), the first shows the actor
//   (at least MIN_COVERAGE of the canvas differs from the background), the
//   skill's clock moves, and the two differ (at least MIN_MOTION of the
//   canvas changes);
// - after pause, two screenshots a second apart are the same (at most
//   MAX_STILL changes), so the change came from the skill, not from the
//   camera or the renderer.
//   node viewer-browser.mjs --tool ZOACTOR --work DIR [--keep PNG]
// --keep writes a screenshot of the whole page while Wave plays.
import fs from 'node:fs';
import path from 'node:path';
import { PNG } from 'pngjs';
import { chromium } from 'playwright-core';
import { serveFolder } from './StaticServer.mjs';
import { freshFolder, parseArguments, run } from './ToolRuns.mjs';

const MIN_COVERAGE = 0.04;
const MIN_MOTION = 0.002;
const MAX_STILL = 0.0005;
// A channel farther than this from the background's is the actor's.
const THRESHOLD = 24;
const CHROMIUM = '/usr/bin/chromium';

const options = parseArguments(process.argv.slice(2));
const work = freshFolder(options.work);
run(options.tool, ['demo', path.join(work, 'demo')]);
const summary = JSON.parse(run(options.tool, ['view', path.join(work, 'demo', 'Robo'), '-o', path.join(work, 'view')]));
const expectedTitle = `ready: ${summary.nodes} nodes, ${summary.animations.length} skills`;

// Two captures of the canvas (see zoViewer.capture) `apartMs` apart, taken
// in the page so that the round trips of the test do not stretch the gap;
// each as [PNG image, the playing skill's time].
async function snapshots(page, apartMs) {
  const shots = await page.evaluate(async (apart) => {
    const first = window.zoViewer.capture();
    await new Promise((resolve) => setTimeout(resolve, apart));
    return [first, window.zoViewer.capture()];
  }, apartMs);
  return shots.map(({ image, time }) => [PNG.sync.read(Buffer.from(image.slice(image.indexOf(',') + 1), 'base64')), time]);
}

function differs(a, b, i) {
  return (
    Math.abs(a[i] - b[i]) > THRESHOLD || Math.abs(a[i + 1] - b[i + 1]) > THRESHOLD || Math.abs(a[i + 2] - b[i + 2]) > THRESHOLD
  );
}

// The share of pixels that differ from the top-left pixel (the background).
function coverage(image) {
  const background = image.data.subarray(0, 4);
  let count = 0;
  for (let i = 0; i < image.data.length; i += 4) if (differs(image.data.subarray(i, i + 4), background, 0)) count += 1;
  return count / (image.width * image.height);
}

// The share of pixels that differ between two images of the same size.
function change(a, b) {
  let count = 0;
  for (let i = 0; i < a.data.length; i += 4) if (differs(a.data, b.data, i)) count += 1;
  return count / (a.width * a.height);
}

const failures = [];
function check(ok, what) {
  console.log(`${ok ? 'ok' : 'FAILED'}: ${what}`);
  if (!ok) failures.push(what);
}

const server = await serveFolder(path.join(work, 'view'));
const context = await chromium.launchPersistentContext(freshFolder(path.join(work, 'profile')), {
  executablePath: CHROMIUM,
  headless: true,
  viewport: { width: 1000, height: 640 },
  args: [
    '--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
    '--disable-component-update', '--disable-sync',
  ],
});
try {
  const page = context.pages()[0] || (await context.newPage());
  page.on('pageerror', (error) => console.log(`page error: ${error.message}`));
  await page.goto(`${server.url}index.html?skill=Wave`);
  await page.waitForFunction(() => document.title !== 'loading', null, { timeout: 60000 });
  const title = await page.title();
  check(title === expectedTitle, `title "${title}" is "${expectedTitle}"`);
  check((await page.locator('#skills button').count()) === summary.animations.length, 'every skill is listed');
  check((await page.locator('#tree li').count()) === summary.nodes, 'every node is in the tree');
  check(await page.evaluate(() => window.zoViewer.state.clip?.name === 'Wave'), 'Wave plays');

  // Wave loops every 0.8 s: from 0.55 s (arm raised) a second later is about
  // its start (arm down).
  await page.evaluate(() => window.zoViewer.seek(0.55));
  const [[first, firstTime], [second, secondTime]] = await snapshots(page, 1000);
  console.log(`screenshots of Wave at ${firstTime.toFixed(3)} s and ${secondTime.toFixed(3)} s`);
  if (options.keep) fs.writeFileSync(options.keep, await page.screenshot());
  check(Math.abs(secondTime - firstTime) >= 0.05, 'the skill\'s clock moved between the screenshots');
  const covered = coverage(first);
  const moved = change(first, second);
  check(covered >= MIN_COVERAGE, `the actor covers ${(100 * covered).toFixed(2)}% of the canvas (at least ${100 * MIN_COVERAGE}%)`);
  check(moved >= MIN_MOTION, `${(100 * moved).toFixed(2)}% of the canvas changed in a second of Wave (at least ${100 * MIN_MOTION}%)`);

  await page.evaluate(() => window.zoViewer.pause());
  const [[still], [stillAgain]] = await snapshots(page, 1000);
  const drift = change(still, stillAgain);
  check(drift <= MAX_STILL, `${(100 * drift).toFixed(3)}% changed in a second of pause (at most ${100 * MAX_STILL}%)`);
} finally {
  await context.close();
  await server.close();
}
console.log(`${failures.length === 0 ? 1 : 0} passed, ${failures.length === 0 ? 0 : 1} failed`);
process.exit(failures.length === 0 ? 0 : 1);
