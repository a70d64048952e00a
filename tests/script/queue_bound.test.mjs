// The bound of the event queue. The log stays closed here: a record for each of millions of events
// would only slow this down.
import assert from 'node:assert/strict';
import test from 'node:test';
import { engine } from './support/scripted.mjs';
import { skipLongWork } from './support/sanitizers.mjs';
import { newSession } from './support/session.mjs';

const limit = { timeout: 120000, skip: skipLongWork };

const fireMany = count =>
  engine.fire('OnVideoDeviceStateChange', [0], { count, sequence: 0 });

function quietSession(t) {
  const session = newSession(t);
  session.init({ logPath: '/nonexistent/folder' });
  engine.join();
  return session;
}

test('a million undrained events are all kept, in order', limit, t => {
  const session = quietSession(t);
  fireMany(1000000);
  const events = session.events();
  assert.equal(events.length, 1000000);
  assert.ok(events.every((event, index) => event.parms[0] === index));
});

test('beyond a million the ten oldest make room', limit, t => {
  const session = quietSession(t);
  fireMany(1000002);
  const events = session.events();
  assert.equal(events.length, 999992);
  assert.equal(events[0].parms[0], 10);
  assert.equal(events.at(-1).parms[0], 1000001);
});
