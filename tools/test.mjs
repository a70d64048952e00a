// npm test: every check there is, stage by stage. npm test -- STAGE … runs only those.
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';

import { sanitizerReports } from '../tests/script/support/sanitizers.mjs';
import { build } from './build.mjs';
import { root, setUp } from './setup.mjs';

class StageFailed extends Error {}

function check(command, args, env = {}) {
  const result = spawnSync(command, args, {
    cwd: root, stdio: 'inherit', env: { ...process.env, ...env },
  });
  if (result.error) throw result.error;
  if (result.status !== 0) throw new StageFailed(`${command} ${args.join(' ')}`);
}

function unitTests(preset, env = {}) {
  check('ctest', ['--test-dir', path.join('build', preset), '--output-on-failure', '-j2'], env);
}

// Media plug-ins are not instrumented: what they do among themselves may look like races. So the
// reports are judged by the code that took part, and not by the exit codes.
function unitTestsForRaces(preset) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kavrin-races-'));
  try {
    unitTests(preset, { TSAN_OPTIONS: `exitcode=0:log_path=${path.join(folder, 'report')}` });
    const reports = sanitizerReports(folder);
    reports.forEach((text) => console.error(text));
    if (reports.length > 0) throw new StageFailed(`${reports.length} report(s) of races`);
  } finally {
    fs.rmSync(folder, { recursive: true });
  }
}

function scriptTests(preset) {
  check(process.execPath, [path.join('tests', 'script', 'run.mjs'), path.join('build', preset)]);
}

function hardeningTests(preset, names = []) {
  const files = names.map((name) => path.join('tests', 'hardening', `${name}.test.mjs`));
  check(process.execPath, [path.join('tests', 'hardening', 'run.mjs'), path.join('build', preset), ...files]);
}

const stages = {
  format() {
    const listed = spawnSync('git', ['ls-files', '*.h', '*.cpp'], { cwd: root, encoding: 'utf8' });
    check('clang-format', ['--dry-run', '-Werror', ...listed.stdout.trim().split('\n')]);
  },
  release() {
    build('release', { withTests: true });
    check(process.execPath, [path.join('tools', 'method_docs', 'write.mjs'), '--check']);
    unitTests('release');
    scriptTests('release');
    hardeningTests('release', ['life_and_death', 'matrix_real', 'memory']);
  },
  // The build is a check itself: thread-safety analysis is on and warnings are errors.
  clang() {
    build('clang', { withTests: true });
    hardeningTests('clang'); // the fuzzers
  },
  asan() {
    build('asan', { withTests: true });
    unitTests('asan');
    scriptTests('asan');
    hardeningTests('asan', ['fuzz_calls', 'life_and_death']);
  },
  tsan() {
    build('tsan', { withTests: true });
    unitTestsForRaces('tsan');
    scriptTests('tsan');
    hardeningTests('tsan', ['races', 'thread_reports', 'life_and_death']);
  },
};

function runStage(name) {
  const start = Date.now();
  console.log(`\n=== ${name} ===`);
  let failure = null;
  try {
    stages[name]();
  } catch (error) {
    if (!(error instanceof StageFailed)) throw error;
    failure = error.message;
  }
  return { name, failure, seconds: Math.round((Date.now() - start) / 1000) };
}

const wanted = process.argv.length > 2 ? process.argv.slice(2) : Object.keys(stages);
const unknown = wanted.filter((name) => !(name in stages));
if (unknown.length > 0) {
  console.error(`Unknown stage: ${unknown.join(', ')}. There are: ${Object.keys(stages).join(', ')}.`);
  process.exit(2);
}
setUp({ forTests: true });
const results = wanted.map(runStage);
console.log('\n=== summary of stages ===');
for (const { name, failure, seconds } of results) {
  console.log(`${failure ? 'FAILED' : 'ok    '} ${name} (${seconds} s)${failure ? `: ${failure}` : ''}`);
}
const failed = results.filter(({ failure }) => failure).length;
console.log(`${results.length - failed} passed, ${failed} failed`);
process.exitCode = failed === 0 ? 0 : 1;
