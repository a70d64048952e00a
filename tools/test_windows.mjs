// npm run test:windows: builds the module for Windows and runs its tests under Wine.
//
//   node tools/test_windows.mjs [test file ...]
//
// With files, only those script tests run. Each test program and each script test file is a process
// of its own; tests that cannot run here are listed with the reason.
import { spawnSync } from 'node:child_process';
import { readdirSync } from 'node:fs';
import path from 'node:path';

import { build } from './build.mjs';
import { root, setUp } from './setup.mjs';
import { startTwoMonitors } from './two_monitors.mjs';
import {
  chineseCodePage, endWine, removeTemporaryFiles, runNode, runWine, setUpWine, useGraphics,
} from './wine.mjs';

const buildDir = path.join(root, 'build', 'windows');
const fileTimeLimitMs = 240_000;
const atOnce = 2;

const testFilesIn = (folder) => readdirSync(path.join(root, folder))
  .filter((name) => name.endsWith('.test.mjs')).sort().map((name) => path.join(folder, name));

// Results of a run in the Test Anything Protocol, subtests included.
function readResults(text) {
  const found = [...text.matchAll(/^\s*(not )?ok \d+ - (.*?)(?: # (SKIP|TODO)\b ?(.*))?$/gm)];
  const results = found.map(([, failed, name, mark, reason]) => ({
    name, skipped: mark === 'SKIP', failed: Boolean(failed) && mark !== 'TODO', reason,
  }));
  return {
    passed: results.filter(({ failed, skipped }) => !failed && !skipped).length,
    failed: results.filter(({ failed }) => failed).map(({ name }) => name),
    skipped: results.filter(({ skipped }) => skipped),
  };
}

async function runScriptTest(file, { env = {}, title = file } = {}) {
  const start = Date.now();
  const run = await runNode(['--test-reporter=tap', file.replaceAll('/', '\\')], {
    env: { KAVRIN_BUILD: 'build/windows', ...env }, timeoutMs: fileTimeLimitMs,
  });
  const results = readResults(run.stdout);
  const ended = run.timedOut ? 'did not end in time' : run.code !== 0 && `ended with ${run.code ?? run.signal}`;
  if (ended && results.failed.length === 0) results.failed.push(ended);
  return { title, seconds: (Date.now() - start) / 1000, output: run.stdout + run.stderr, ...results };
}

// The test programs that the build has, as it tells them to ctest.
function testPrograms() {
  const listed = spawnSync('ctest', ['--test-dir', buildDir, '--show-only=json-v1'], { encoding: 'utf8' });
  return JSON.parse(listed.stdout).tests.map(({ name, command }) => ({ name, command: command.at(-1) }));
}

async function runProgram({ name, command }, { env = {}, args = [], title = name } = {}) {
  const start = Date.now();
  const run = await runWine(command, args, { env, cwd: buildDir, timeoutMs: fileTimeLimitMs });
  run.stdout = run.stdout.replaceAll('\r\n', '\n');
  const names = (mark) => [...run.stdout.matchAll(new RegExp(`^\\[ +${mark} +\\] ([^ ,]+)`, 'gm'))]
    .map(([, test]) => test);
  const skips = [...run.stdout.matchAll(/: Skipped\n(.*)\n+\[ +SKIPPED +\] (\S+)/g)]
    .map(([, reason, test]) => ({ name: test, reason }));
  const failed = [...new Set(names('FAILED').filter((test) => test.includes('.')))];
  if (run.code !== 0 && failed.length === 0) {
    failed.push(run.timedOut ? 'did not end in time' : `ended with ${run.code ?? run.signal}`);
  }
  return {
    title, seconds: (Date.now() - start) / 1000, output: run.stdout + run.stderr,
    passed: names('OK').length, failed, skipped: skips,
  };
}

function show({ title, seconds, passed, failed, skipped, output }) {
  const skips = skipped.length > 0 ? `, ${skipped.length} skipped` : '';
  console.log(`${failed.length ? 'FAILED' : 'ok    '} ${title}: ${passed} passed${skips} (${seconds.toFixed(1)} s)`);
  for (const { name, reason } of skipped) console.log(`       skipped: ${name} — ${reason || 'no reason given'}`);
  for (const name of failed) console.log(`       failed: ${name}`);
  if (failed.length > 0) console.log(output);
}

// Runs jobs, a few at a time, and shows each result when it is there.
async function runAll(jobs) {
  const results = [];
  const waiting = [...jobs];
  const worker = async () => {
    while (waiting.length > 0) {
      const result = await waiting.shift()();
      show(result);
      results.push(result);
    }
  };
  await Promise.all(Array.from({ length: atOnce }, worker));
  return results;
}

// The tests on this side: they start Node under Wine themselves.
function testPackage() {
  const start = Date.now();
  const run = spawnSync(process.execPath, ['--test-reporter=tap', 'tests/windows/package.test.mjs'], {
    cwd: root, encoding: 'utf8', env: { ...process.env, NODE_TEST_CONTEXT: '' }, maxBuffer: 1 << 26,
  });
  const results = readResults(run.stdout);
  if (run.status !== 0 && results.failed.length === 0) results.failed.push(`ended with ${run.status}`);
  const seconds = (Date.now() - start) / 1000;
  return { title: 'tests/windows/package.test.mjs', seconds, output: run.stdout + run.stderr, ...results };
}

// What depends on the display or on the code page, which are set for whole processes.
const oneMonitor = { KAVRIN_MONITORS: '1' };
const codePages = {
  1252: { KAVRIN_CODE_PAGE: '1252' },
  936: { KAVRIN_CODE_PAGE: '936', ...chineseCodePage },
};

function jobsInEveryCodePage(hostServices) {
  const logFolder = 'tests/windows/in_node/log_folder.test.mjs';
  return Object.entries(codePages).flatMap(([page, env]) => [
    () => runScriptTest(logFolder, { env, title: `${logFolder} with code page ${page}` }),
    () => runProgram(hostServices, {
      env, args: ['--gtest_filter=CodePage.*'], title: `${hostServices.name} with code page ${page}`,
    }),
  ]);
}

async function testTwoMonitors(hostServices) {
  const display = await startTwoMonitors();
  const env = { DISPLAY: display.name, KAVRIN_MONITORS: '2' };
  const desktop = 'tests/windows/in_node/desktop.test.mjs';
  useGraphics('x11');
  try {
    return await runAll([
      () => runProgram(hostServices, {
        env, args: ['--gtest_filter=Monitors.*'], title: `${hostServices.name} with two monitors`,
      }),
      () => runScriptTest(desktop, { env, title: `${desktop} with two monitors` }),
    ]);
  } finally {
    useGraphics('null');
    display.end();
  }
}

async function testEverything() {
  const programs = testPrograms();
  const hostServices = programs.find(({ name }) => name === 'host_services_test');
  const results = await runAll([
    ...programs.map((program) => () => runProgram(program, { env: oneMonitor })),
    ...testFilesIn('tests/script').map((file) => () => runScriptTest(file)),
    ...['desktop', 'host_name'].map((name) => () =>
      runScriptTest(`tests/windows/in_node/${name}.test.mjs`, { env: oneMonitor })),
    ...jobsInEveryCodePage(hostServices),
  ]);
  results.push(...await testTwoMonitors(hostServices));
  results.push(...await runAll([async () => testPackage()]));
  return results;
}

async function main() {
  const wanted = process.argv.slice(2);
  setUp({ forTests: true, forWindows: true });
  build('windows', { withTests: true });
  console.log('Preparing Wine …');
  endWine();
  setUpWine();
  try {
    const results = wanted.length > 0
      ? await runAll(wanted.map((file) => () => runScriptTest(file, { env: oneMonitor })))
      : await testEverything();
    const count = (of) => results.reduce((sum, result) => sum + of(result), 0);
    const failed = count((result) => result.failed.length);
    console.log(`${count((result) => result.passed)} passed, ${failed} failed, ` +
      `${count((result) => result.skipped.length)} skipped`);
    process.exitCode = failed === 0 ? 0 : 1;
  } finally {
    endWine();
    removeTemporaryFiles();
  }
}

await main();
