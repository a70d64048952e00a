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

const here = path.dirname(fileURLToPath(import.meta.url));
const projectDir = path.resolve(here, '../..');
const node = process.env.KAVRIN_NODE ?? process.execPath;

const [buildArgument = 'build/release', ...names] = process.argv.slice(2);
const buildDir = path.resolve(projectDir, buildArgument);

const testFiles = names.length
  ? names.map(name => path.resolve(name))
  : fs.readdirSync(here).filter(name => name.endsWith('.test.mjs')).sort()
    .map(name => path.join(here, name));

function cached(variable) {
  const cache = fs.readFileSync(path.join(buildDir, 'CMakeCache.txt'), 'utf8');
  return new RegExp(`^${variable}:[^=]*=(.*)$`, 'm').exec(cache)?.[1] ?? '';
}

// The file of a sanitizer's run time as the build's compiler knows it.
function runtime(library) {
  return execFileSync(cached('CMAKE_CXX_COMPILER'), [`-print-file-name=lib${library}.so`],
    { encoding: 'utf8' }).trim();
}

const suppressions = name => `suppressions=${path.join(here, name)}`;

// What the environment of the tests needs for the sanitizers of the build.
function sanitizerEnvironment(reportBase) {
  const sanitizers = cached('KAVRIN_SANITIZE').split(/[,;]/);
  const log = `log_path=${reportBase}`;
  if (sanitizers.includes('address')) {
    return {
      LD_PRELOAD: ['asan', 'ubsan'].map(runtime).join(' '),
      // The leak check itself crashes on thread-local memory of plug-ins that were loaded late,
      // unless that memory is left unwatched.
      ASAN_OPTIONS: 'detect_leaks=1:intercept_tls_get_addr=0:abort_on_error=1:' +
        `allocator_may_return_null=1:${log}`,
      // Node leaks at its end, so leaks are judged from the reports and not by the exit code.
      LSAN_OPTIONS: `${suppressions('lsan.supp')}:print_suppressions=0:exitcode=0`,
      UBSAN_OPTIONS: `print_stacktrace=1:abort_on_error=1:${log}`,
    };
  }
  if (sanitizers.includes('thread')) {
    return {
      LD_PRELOAD: runtime('tsan'),
      TSAN_OPTIONS: `${suppressions('tsan.supp')}:exitcode=99:ignore_noninstrumented_modules=1:` +
        `report_signal_unsafe=0:report_thread_leaks=0:${log}`,
    };
  }
  return {};
}

function runnerOptions() {
  const version = execFileSync(node, ['-p', 'process.versions.node'], { encoding: 'utf8' }).trim();
  const [major, minor] = version.split('.').map(Number);
  const options = ['--test', '--test-reporter=spec'];
  const hasConcurrency = major > 21 || (major === 20 && minor >= 10) || (major === 21 && minor >= 0);
  if (hasConcurrency) options.push(`--test-concurrency=${os.cpus().length}`);
  return options;
}

const isOurFrame = frame => frame.includes(`${projectDir}/`) || /\.node\b|<unknown module>/.test(frame);
const isLibraryFrame = frame =>
  / in (operator new|malloc|calloc|realloc|strdup|std::|__gnu_cxx)|libstdc\+\+|libc\.so/.test(frame);

// A leak is ours when our code allocated it, itself or through Node-API. What the script machine
// allocates on its own account further down is not.
function isOurLeak(block) {
  const frames = block.split('\n').filter(line => /^\s*#\d+ /.test(line));
  const allocating = frames.find(frame => !isLibraryFrame(frame)) ?? '';
  return isOurFrame(allocating) || (/ in (napi_|v8impl::)/.test(allocating) && frames.some(isOurFrame));
}

const ourLeaks = text =>
  text.split(/\n\n+/).filter(block => /^\s*Direct leak of/m.test(block) && isOurLeak(block));

// What the sanitizers found wrong with our code in any of the processes that the tests started.
function sanitizerReports(folder) {
  return fs.readdirSync(folder).flatMap(name => {
    const text = fs.readFileSync(path.join(folder, name), 'utf8');
    if (text.includes('ERROR: LeakSanitizer')) return ourLeaks(text);
    return /(ERROR|WARNING): \w*Sanitizer|runtime error:/.test(text) ? [text] : [];
  });
}

function main() {
  const reportFolder = fs.mkdtempSync(path.join(os.tmpdir(), 'kavrin-sanitizers-'));
  const env = {
    ...process.env,
    KAVRIN_BUILD: buildDir,
    ...sanitizerEnvironment(path.join(reportFolder, 'report')),
  };
  const run = spawnSync(node, [...runnerOptions(), ...testFiles], { env, stdio: 'inherit' });
  const reports = sanitizerReports(reportFolder);
  reports.forEach(text => console.error(text));
  if (reports.length) console.error(`${reports.length} sanitizer report(s)`);
  fs.rmSync(reportFolder, { recursive: true });
  return run.status === 0 && reports.length === 0 ? 0 : 1;
}

process.exitCode = main();
