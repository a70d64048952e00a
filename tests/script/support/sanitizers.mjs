// Runs code of ours under a build's sanitizers and tells their reports about our code from those
// about Node.
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { projectDir } from './paths.mjs';
import { ourThreadReports } from './thread_reports.mjs';

function cached(buildDir, variable) {
  const cache = fs.readFileSync(path.join(buildDir, 'CMakeCache.txt'), 'utf8');
  return new RegExp(`^${variable}:[^=]*=(.*)$`, 'm').exec(cache)?.[1] ?? '';
}

// The sanitizers that a build was made with; none gives [''].
export const sanitizersOf = buildDir => cached(buildDir, 'KAVRIN_SANITIZE').split(/[,;]/);

// The file of a sanitizer's run time as the build's compiler knows it.
function runtime(buildDir, library) {
  return execFileSync(cached(buildDir, 'CMAKE_CXX_COMPILER'), [`-print-file-name=lib${library}.so`],
    { encoding: 'utf8' }).trim();
}

const suppressions = file => `suppressions=${path.join(projectDir, 'tests', file)}`;

// What the environment of the tests needs for the sanitizers of the build, whose reports go to files
// that begin with `reportBase`.
export function sanitizerEnvironment(buildDir, reportBase) {
  const sanitizers = sanitizersOf(buildDir);
  const log = `log_path=${reportBase}`;
  if (sanitizers.includes('address')) {
    return {
      LD_PRELOAD: ['asan', 'ubsan'].map(name => runtime(buildDir, name)).join(' '),
      // The leak check itself crashes on thread-local memory of plug-ins that were loaded late,
      // unless that memory is left unwatched.
      ASAN_OPTIONS: 'detect_leaks=1:intercept_tls_get_addr=0:abort_on_error=1:' +
        `allocator_may_return_null=1:${log}`,
      // Node leaks at its end, so leaks are judged from the reports and not by the exit code.
      LSAN_OPTIONS: `${suppressions('script/lsan.supp')}:print_suppressions=0:exitcode=0`,
      UBSAN_OPTIONS: `print_stacktrace=1:abort_on_error=1:${log}`,
    };
  }
  if (sanitizers.includes('thread')) {
    return {
      LD_PRELOAD: runtime(buildDir, 'tsan'),
      // Node has races of its own, so races are judged from the reports and not by the exit code.
      TSAN_OPTIONS: `${suppressions('conference/tsan.supp')}:exitcode=0:report_signal_unsafe=0:` +
        `report_thread_leaks=0:atexit_sleep_ms=50:${log}`,
    };
  }
  return {};
}

// Why long work of one thread alone is left out under the thread sanitizer; false under others.
export const skipLongWork =
  'TSAN_OPTIONS' in process.env && 'one thread alone has no races, and this takes its time';

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
export function sanitizerReports(folder) {
  return fs.readdirSync(folder).flatMap(name => {
    const text = fs.readFileSync(path.join(folder, name), 'utf8');
    if (text.includes('ERROR: LeakSanitizer')) return ourLeaks(text);
    if (text.includes('ThreadSanitizer')) return ourThreadReports(text);
    return /(ERROR|WARNING): \w*Sanitizer|runtime error:/.test(text) ? [text] : [];
  });
}
