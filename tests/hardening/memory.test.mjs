// Memory that must not grow: by pictures, by events that nobody polls, by joins. KAVRIN_LONG=1
// looks for minutes. Sanitizers keep what was freed, so their builds are left out.
import assert from 'node:assert/strict';
import test from 'node:test';
import { fileURLToPath } from 'node:url';
import { megabytes } from './memory/samples.mjs';
import { isSanitized, rounds, seconds } from './support/measure.mjs';
import { howItEnded, runScript } from './support/process.mjs';

const player = fileURLToPath(new URL('memory/play.mjs', import.meta.url));
const options = {
  skip: isSanitized && 'memory is judged without sanitizers', timeout: seconds(900),
};

async function play(kind, parameters = {}, library = 'scripted') {
  const result = await runScript(player, [kind, JSON.stringify(parameters)],
    { env: { KAVRIN_LIBRARY: library }, flags: ['--expose-gc'], timeoutMs: seconds(800) });
  assert.equal(result.code, 0, howItEnded(result));
  return result.report;
}

const inMegabytes = samples =>
  samples.map(([at, bytes]) => `${Math.round(at)}: ${megabytes(bytes).toFixed(1)}`).join(', ');

test('the event queue takes no more memory beyond its bound', options, async t => {
  const { bytesPerEvent, beyond } = await play('queue');
  t.diagnostic(`${Math.round(bytesPerEvent)} bytes per queued event, ` +
    `${megabytes(beyond).toFixed(1)} MB for half a million more`);
  assert.ok(bytesPerEvent > 0 && bytesPerEvent < 500, `${bytesPerEvent} bytes`);
  assert.ok(megabytes(beyond) < 60, `${megabytes(beyond)} MB beyond the bound`);
});

// The allocator keeps memory for each thread, so with several of them the bound is reached only
// when the whole queue has passed through their hands.
const oneThread = { threads: 1, eventsPerSecond: 10_000, settle: 4, watched: rounds(12, 180) };
const fourThreads = { threads: 4, eventsPerSecond: 10_000, settle: 130, watched: 180 };

for (const load of rounds([oneThread], [oneThread, fourThreads])) {
  test(`a script that neither polls nor fetches, ${load.threads} thread(s)`, options, async t => {
    const result = await play('stalled', load);
    const { samples, events, eventsPerSecond, picturesPerSecond } = result;
    const aMinute = megabytes(result.slope * 60);
    t.diagnostic(`${aMinute.toFixed(2)} MB a minute at ` +
      `${megabytes(samples.at(-1)[1]).toFixed(0)} MB, under ${Math.round(eventsPerSecond)} events ` +
      `and 4 times ${picturesPerSecond.toFixed(1)} pictures a second`);
    assert.ok(events > 999_000, `the queue was not at its bound: ${events} events`);
    assert.deepEqual(result.fetched, [0, 0, 0, 0], 'there are pictures of all four');
    // One lost picture of 1080p a second would be 187 MB a minute, 40 bytes an event 24 MB.
    assert.ok(aMinute < rounds(20, 5), `MB by second: ${inMegabytes(samples)}`);
  });
}

for (const library of ['scripted', 'real']) {
  for (const kind of ['joins', 'handles']) {
    test(`${kind} on the ${library} engine`, options, async t => {
      const count = 10_000;
      const { slope, samples } = await play(kind, { count }, library);
      t.diagnostic(`${Math.round(slope)} bytes a join, over the second half of ${count}`);
      assert.ok(megabytes(slope * count) < 8, `MB by join: ${inMegabytes(samples)}`);
    });
  }
}
