// All methods through every entry point in every state, against rules instead of recorded results.
import assert from 'node:assert/strict';
import test from 'node:test';
import { addon, engine, settle } from './support/scripted.mjs';
import { entriesOf, expected, kindOf, states } from './support/matrix.mjs';
import { methods } from './support/methods.mjs';
import { logRoot, newSession, Session } from './support/session.mjs';

const code = 7;  // what the engine answers
const volume = 33;

function enter(state) {
  const session = new Session();
  if (state === 'before Init') return session;
  engine.setPlan('Init', { mode: 'hold' });
  session.init();
  if (state === 'login pending') return session;
  engine.completeOnly(0);
  session.json('JoinRoom', { roomId: 'r' });
  if (state === 'after UnInit') session.json('UnInit');
  return session;
}

const entries = entriesOf(addon, logRoot);

function prepareEngine(method) {
  engine.setOutput('GetRoomAttendees', [{ id: 'ann' }]);
  engine.setOutput('GetRoomInfo', { users: [{ id: 'ann' }] });
  engine.setOutput('GetAudioCaptureDeviceVolume', volume);
  engine.setOutput('GetSpeakerDeviceVolume', volume);
  engine.setPlan('SendCustomMessage', { mode: 'inline', code });
  if (method.kind === 'J' && !method.volume && method.operation) engine.setResult(method.operation, code);
}

for (const [stateName, state] of Object.entries(states)) {
  for (const [entryName, entry] of Object.entries(entries)) {
    test(`${entryName} ${stateName}`, { timeout: 60000 }, async t => {
      newSession(t);
      const got = {};
      const wanted = {};
      for (const method of methods) {
        for (const [form, make] of Object.entries(entry.forms)) {
          engine.reset();
          const session = enter(stateName);
          prepareEngine(method);
          const cell = `${method.name}, ${form}`;
          got[cell] = kindOf(entry.call(session.handle, method, make(
            entry.kind === 'A' ? method.name : method)));
          wanted[cell] = expected(method, entry, form, state, { code, volume });
          session.destroy();
        }
        await settle(1);
      }
      assert.deepEqual(got, wanted);
      assert.equal(Object.keys(got).length, 61 * Object.keys(entry.forms).length);
    });
  }
}

test('the rules cover all sixty-one methods', () => {
  assert.equal(new Set(methods.map(method => method.name)).size, 61);
  assert.deepEqual(['A', 'J', 'K'].map(kind => methods.filter(m => m.kind === kind).length),
    [9, 50, 2]);
});
