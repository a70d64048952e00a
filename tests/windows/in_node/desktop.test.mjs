// The places of screens in the list of what can be shared. KAVRIN_MONITORS tells how many there are.
import assert from 'node:assert/strict';
import test from 'node:test';
import { engine } from '../../script/support/scripted.mjs';
import { loggedIn } from '../../script/support/session.mjs';

const count = Number(process.env.KAVRIN_MONITORS);
const known = Array.from({ length: count }, (_, index) => `\\\\.\\DISPLAY${index + 1}`);

test(`screens that are one of ${count} monitor(s) have a place, others none`, async t => {
  const session = await loggedIn(t);
  const names = [...known, '\\\\.\\DISPLAY9', 'DISPLAY1', ''];
  engine.setOutput('EnumScreenAndWindow', names.map((name, id) => ({ id, type: 1, name })));
  const sources = session.call('EnumScreenAndWindow');
  assert.deepEqual(sources.map(source => source.name), names);
  for (const source of sources) {
    const place = ['x', 'y', 'width', 'height'].filter(key => key in source);
    assert.equal(place.length, known.includes(source.name) ? 4 : 0, source.name);
  }
  const sizes = sources.slice(0, count).map(({ width, height }) => [width, height]);
  assert.deepEqual(sizes, [[1024, 768], [800, 600]].slice(0, count));
});
