// Runs the script tests against one build:
//
//   node tests/script/run.mjs [build folder] [test file ...]
//
// The build folder defaults to build/release, the files to all tests. For a build with sanitizers
// the sanitizers' run times are loaded ahead of Node, and whatever they report about our code,
// leaks included, fails the run. KAVRIN_NODE names another Node binary.
import { execFileSync, spawnSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { sanitizerEnvironment, sanitizerReports } from './support/sanitizers.mjs';

const here = path.dirname(fileURLToPath(import.meta.url));
const projectDir = path.resolve(here, '../..');
const node = process.env.KAVRIN_NODE ?? process.execPath;

const [buildArgument = 'build/release', ...names] = process.argv.slice(2);
const buildDir = path.resolve(projectDir, buildArgument);

const testFiles = names.length
  ? names.map(name => path.resolve(name))
  : fs.readdirSync(here).filter(name => name.endsWith('.test.mjs')).sort()
    .map(name => path.join(here, name));

function runnerOptions() {
  const version = execFileSync(node, ['-p', 'process.versions.node'], { encoding: 'utf8' }).trim();
  const [major, minor] = version.split('.').map(Number);
  const options = ['--test', '--test-reporter=spec'];
  const hasConcurrency = major > 21 || (major === 20 && minor >= 10) || (major === 21 && minor >= 0);
  if (hasConcurrency) options.push(`--test-concurrency=${os.cpus().length}`);
  return options;
}

function main() {
  const reportFolder = fs.mkdtempSync(path.join(os.tmpdir(), 'kavrin-sanitizers-'));
  const env = {
    ...process.env,
    KAVRIN_BUILD: buildDir,
    ...sanitizerEnvironment(buildDir, path.join(reportFolder, 'report')),
  };
  const run = spawnSync(node, [...runnerOptions(), ...testFiles], { env, stdio: 'inherit' });
  const reports = sanitizerReports(reportFolder);
  reports.forEach(text => console.error(text));
  if (reports.length) console.error(`${reports.length} sanitizer report(s)`);
  fs.rmSync(reportFolder, { recursive: true });
  return run.status === 0 && reports.length === 0 ? 0 : 1;
}

process.exitCode = main();
