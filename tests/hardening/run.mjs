// Runs the hardening tests against one build, as bounded runs:
//
//   node tests/hardening/run.mjs [build folder] [test file ...]
//
// Sanitizers, leaks and KAVRIN_NODE are treated as by tests/script/run.mjs. KAVRIN_LONG=1 makes the
// long runs of them. A build with coverage-guided fuzzers (clang) runs those instead.
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
const root = path.resolve(here, '../..');
const [build = 'build/release', ...names] = process.argv.slice(2);

function runs(command, args) {
  const result = spawnSync(command, args, { cwd: root, stdio: 'inherit' });
  if (result.error) throw result.error;
  return result.status === 0;
}

function runScripts() {
  const files = names.length
    ? names
    : fs.readdirSync(here).filter(name => name.endsWith('.test.mjs')).sort()
      .map(name => path.join(here, name));
  return runs(process.execPath, [path.join(root, 'tests/script/run.mjs'), build, ...files]);
}

const runFuzzers = () =>
  runs('ctest', ['--test-dir', build, '-L', 'fuzz', '--output-on-failure', '-j2']);

const hasFuzzers = fs.existsSync(path.resolve(root, build, 'tests/hardening/coverage/json_fuzz'));
process.exitCode = (hasFuzzers ? runFuzzers() : runScripts()) ? 0 : 1;
