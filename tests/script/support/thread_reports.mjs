// Tells what the thread sanitizer reports about our code from what it reports about Node and other
// libraries. Those are not built for it: what they synchronise by atomics of their own cannot be
// seen, so it takes some of what they do among themselves for races.
//
// The sanitizer's own means do not suffice. A suppression matches any frame of a stack, and Node is
// at the bottom of every stack of the script thread, so one for Node would hide our races; and
// ignore_noninstrumented_modules takes all modules for such, so that copying and freeing of memory,
// by our code too, would go unseen.

// Stacks that tell where memory, threads and mutexes came from, and not what happened.
const isOrigin = stack =>
  /^ *(Location is|Thread T|Mutex M\w+ \(0x\w+\) created|Mutex M\w+ is)/.test(stack);

const framesOf = stack => [...stack.matchAll(/^ +#\d+ (.*?)(?: \(([^()\s]+)\+0x\w+\))?$/gm)]
  .map(([, what, module = '']) => ({ what, module }));

const isRuntime = ({ module }) => /^(lib(tsan|stdc\+\+|c|m|gcc_s)\.so|ld-linux)/.test(module);
// A frame without a module may be code of ours that has been unloaded by the time of the report.
const isOurCode = ({ module }) =>
  module === '' || /^(lib)?Kavrin\w+\.(node|so)|^scripted_control\./.test(module) ||
  /^(\w+_test|conference_\w+)$/.test(module);  // programs
const isNodeApi = ({ what, module }) => module.startsWith('node') && !what.startsWith('v8::');

// Memory that nobody asked for on our behalf. The sanitizer remembers only so much of what a thread
// did, and then shows calls of ours that had long returned below what Node did with its own memory.
const isElsewhere = location => location !== undefined && !framesOf(location).some(isOurCode);

// What Node does on behalf of our code is ours as well: we may have handed it something that is
// gone. What the script machine's collector does meanwhile on several threads is not, nor what a
// media library does.
function isOurs(stack, location) {
  const frames = framesOf(stack);
  const doer = frames.find(frame => !isRuntime(frame));
  if (doer === undefined || !frames.some(isOurCode)) return false;
  return isOurCode(doer) || (isNodeApi(doer) && !isElsewhere(location));
}

// The reports in a file of the sanitizer's in which our code takes part.
export function ourThreadReports(text) {
  return text.split(/^={18}$/m).filter(report => {
    if (/(ERROR|FATAL): ThreadSanitizer/.test(report)) return true;
    const [heading, ...rest] = report.trim().split('\n');
    const stacks = rest.join('\n').split('\n\n');
    const location = stacks.find(stack => /^ *Location is heap block/.test(stack));
    return heading.startsWith('WARNING: ThreadSanitizer') &&
      stacks.some(stack => !isOrigin(stack) && isOurs(stack, location));
  });
}
