// Which of the thread sanitizer's reports count. Wrong either way, and the suite under it says
// nothing: it would pass with races of ours, or fail now and then with somebody else's.
import assert from 'node:assert/strict';
import test from 'node:test';
import { ourThreadReports } from '../script/support/thread_reports.mjs';

const ours = 'kavrin::VideoFrameStore::get() ../../video/video_frame_store.cpp:193 ' +
  '(KavrinConferenceNodeExt.node+0x2893)';
const entry = 'guardedEntry<execFun> ../../module.cpp:18 (KavrinConferenceNodeExt.node+0xa011)';
const node = 'v8impl::(anonymous namespace)::Invoke(v8::Info const&) <null> (node+0xc45d94)';
const nodeLock = 'uv_mutex_lock ../deps/uv/src/unix/thread.c:344 (node+0x18bae68)';
const collector = 'v8::platform::DefaultJobState::Join() <null> (node+0x1d65cea)';
const runtime = 'pthread_mutex_lock ../../interceptors.inc:4324 (libtsan.so+0x558e1)';
const media = '<null> <null> (libgstequalizer.so+0x28bc)';
const engineStart = 'ensureGstreamer() ../../gst.cpp:21 (libKavrinConferenceEngine.so+0x14ba0)';
const unloaded = '<null> <null>';

const stack = (...frames) => frames.map((frame, i) => `    #${i} ${frame}\n`).join('');
const report = (now, before, allocated = stack(ours)) => '==================\n' +
  'WARNING: ThreadSanitizer: data race (pid=1)\n' +
  `  Write of size 8 at 0x7b30 by thread T2:\n${now}\n` +
  `  Previous write of size 8 at 0x7b30 by main thread:\n${before}\n` +
  `  Location is heap block of size 192 at 0x7b30 allocated by main thread:\n${allocated}\n` +
  `  Thread T2 (tid=2, running) created by main thread at:\n${stack(runtime, ours)}\n` +
  'SUMMARY: ThreadSanitizer: data race\n==================\n';

const elsewhere = stack(runtime, collector);
const cases = {
  'a race of the script thread with Node below it': [stack(ours, entry, node), 1],
  'a copy by our code': [stack(runtime, ours, entry, node), 1],
  'what Node does with something that we should not have used': [stack(runtime, nodeLock, ours), 1],
  'a program of unit tests': [stack(runtime, 'main queue_test.cpp:3 (events_test+0x893)'), 1],
  'the engine in its tests': [stack('Home::join() <null> (conference_units+0x8)'), 1],
  'code that has been unloaded': [stack(runtime, unloaded), 1],
  'what Node does alone': [stack(runtime, nodeLock), 0],
  'the collector at work inside a call of ours': [stack(runtime, collector, entry, node), 0],
  'a plug-in that our engine loads': [stack(runtime, media, runtime, engineStart), 0],
};

for (const [what, [accessed, count]] of Object.entries(cases)) {
  test(`${what} ${count ? 'counts' : 'does not count'}`, () => {
    assert.equal(ourThreadReports(report(accessed, elsewhere)).length, count);
    assert.equal(ourThreadReports(report(elsewhere, accessed)).length, count);
  });
}

test("Node's own memory was taken for ours when old calls of ours stood in the stack", () => {
  const port = stack(runtime, 'node::worker::MessagePortData::Entangle() <null> (node+0xd08d9f)');
  const destroyed = stack(runtime, 'uv_rwlock_destroy ../../thread.c:375 (node+0x18baee8)');
  const stale = stack(runtime, 'uv_rwlock_wrunlock <null> (node+0x18bafc8)', ours, entry, node);
  assert.equal(ourThreadReports(report(destroyed, stale, port)).length, 0);
  assert.equal(ourThreadReports(report(destroyed, stale, stack(runtime, node, ours))).length, 1);
  assert.equal(ourThreadReports(report(destroyed, stack(ours, entry, node), port)).length, 1);
});

test('a crash counts, several reports in one file are told apart', () => {
  const text = report(stack(ours), elsewhere) + report(elsewhere, elsewhere) +
    '==================\nERROR: ThreadSanitizer: SEGV on unknown address\n';
  assert.equal(ourThreadReports(text).length, 2);
});
