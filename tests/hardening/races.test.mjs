// Eight threads of the engine against everything that script can take away from them. The build
// with the thread sanitizer is the one that looks; the others check that nothing breaks.
import assert from 'node:assert/strict';
import test from 'node:test';
import { fileURLToPath } from 'node:url';
import { sanitizerReports } from '../script/support/sanitizers.mjs';
import { newFolder } from '../script/support/workspace.mjs';
import { isLong, isSanitized, rounds, sanitizers, seconds } from './support/measure.mjs';
import { howItEnded, runScript } from './support/process.mjs';

const seeded = fileURLToPath(new URL('races/seeded.mjs', import.meta.url));
const player = fileURLToPath(new URL('races/play.mjs', import.meta.url));

const limit = seconds(isLong ? 1800 : 120);

// What must have come through, lest a race that nobody runs passes for one that nobody loses.
const kinds = {
  listeners: ['callbacks', 'answers'],
  bindings: ['pictures'],
  polls: ['events', 'answers'],
  answers: ['answers'],
  log: ['events'],
  logins: ['answers'],
  unInit: ['events', 'callbacks'],
  destroy: ['events', 'pictures', 'callbacks'],
  environments: [],
};

for (const [kind, evidence] of Object.entries(kinds)) {
  test(`eight engine threads against ${kind}`, { timeout: limit }, async t => {
    const result = await runScript(player, [kind, rounds(isSanitized ? 300 : 500, 10000)],
      { timeoutMs: limit - seconds(10) });
    assert.equal(result.code, 0, howItEnded(result));
    const { report } = result;
    const { late, left, twice } = report;
    t.diagnostic(evidence.map(what => `${report[what]} ${what}`).join(', '));
    for (const what of evidence) assert.ok(report[what] > 0, `no ${what}`);
    assert.equal(late, 0, 'callbacks after destroyConfEngine had returned');
    assert.equal(twice, 0, 'completions that were delivered again');
    assert.equal(left, 0, 'objects left in the engine library');
  });
}

// Whatever keeps Node's own races out of the results must let ours through.
const underThreadSanitizer = { skip: !sanitizers.includes('thread') };

test('the thread sanitizer tells a race of ours', underThreadSanitizer, async () => {
  for (const size of [1, 100_000]) {
    const folder = newFolder('seeded');
    const options = process.env.TSAN_OPTIONS.replace(/log_path=\S+/, `log_path=${folder}/report`);
    const result = await runScript(seeded, [size], { env: { TSAN_OPTIONS: options } });
    assert.equal(result.code, 0, howItEnded(result));
    assert.ok(sanitizerReports(folder).length > 0, `no report for ${size} bytes`);
  }
});
