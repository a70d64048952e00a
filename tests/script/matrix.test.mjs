// All methods through every entry point in every state, against rules instead of recorded results.
import assert from 'node:assert/strict';
import test from 'node:test';
import { addon, engine, settle } from './support/scripted.mjs';
import { methods, sampleValues } from './support/methods.mjs';
import { logRoot, newSession, Session } from './support/session.mjs';

const code = 7;  // what the engine answers
const volume = 33;

// What is there in each state: an engine, the room flag, the flag that UnInit asks for.
const states = {
  'before Init': { engine: false, room: false, initialised: false },
  'login pending': { engine: true, room: false, initialised: true },
  'in a room': { engine: true, room: true, initialised: true },
  'after UnInit': { engine: false, room: true, initialised: false },
};

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

const rightArguments = {
  GetSDKVersion: () => ['/nonexistent', '1.0'],
  GetAttendeeInfo: () => ['ann'],
  BindingVideoFrame: () => ['ann', 0, Buffer.alloc(8)],
};

const argumentForms = {
  'right': name => (rightArguments[name] ?? (() => []))(),
  'one more': name => [...(rightArguments[name] ?? (() => []))(), 1],
};

const textForms = {
  'good': method => JSON.stringify({
    ...sampleValues(method),
    ...(method.name === 'Init' && { logPath: logRoot }),
  }),
  'empty': () => '',
  'bad': () => '{"',
};

const entries = {
  execFun: { kind: 'A', forms: argumentForms,
    call: (handle, { name }, given) => addon.execFun(handle, name, given) },
  execJsonParamFun: { kind: 'J', forms: textForms,
    call: (handle, { name }, given) => addon.execJsonParamFun(handle, name, given) },
  execJsonParamFunWithCallback: { kind: 'K', forms: textForms,
    call: (handle, { name }, given) =>
      addon.execJsonParamFunWithCallback(handle, name, given, () => {}) },
};

// The rules of the argument-list methods: the result with the right arguments.
const listRules = {
  GetSDKVersion: () => 'text',
  BindingVideoFrame: () => 0,
  GetRoomAttendees: state => (state.engine ? 'array' : -1),
  GetRoomInfo: state => (state.engine ? 'object' : -1),
  GetAttendeeInfo: state => (state.engine ? 'object' : -1),
};
const enumeration = state => (state.engine ? 'array' : undefined);

// The rules of the JSON methods that do not just forward.
const textRules = {
  SetLogTag: (state, form) => (form === 'bad' ? -1 : 0),
  UnInit: state => (state.initialised ? 0 : -1),
  Init: (state, form) => (form === 'good' ? 0 : -1),
  JoinRoom: (state, form) => {
    if (form === 'empty') return -1;
    if (state.room) return 0;
    return state.engine && form === 'good' ? code : -1;
  },
  AsyncSendCustomMessage: (state, form) => (state.engine && form === 'good' ? 0 : -1),
  GetRoomAttendeeCount: state => (state.engine ? 1 : -1),
  GetLogPath: () => 'text',
  GetVideoFrame: (state, form) => (form === 'good' ? 'text' : -1),
  UnbindingVideoFrame: (state, form) => (form === 'good' ? 0 : -1),
  GetAudioCaptureDeviceVolume: state => (state.engine ? volume : -1),
  GetSpeakerDeviceVolume: state => (state.engine ? volume : -1),
};

function expected(method, entry, form, state) {
  if (method.kind !== entry.kind) return -1;
  if (method.kind === 'A') {
    if (form === 'one more') return method.name === 'GetSDKVersion' ? -1 : undefined;
    return (listRules[method.name] ?? enumeration)(state);
  }
  const rule = textRules[method.name];
  if (rule) return rule(state, form);
  if (!state.engine) return -1;
  return method.ignoresText || form === 'good' ? code : -1;
}

function prepareEngine(method) {
  engine.setOutput('GetRoomAttendees', [{ id: 'ann' }]);
  engine.setOutput('GetRoomInfo', { users: [{ id: 'ann' }] });
  engine.setOutput('GetAudioCaptureDeviceVolume', volume);
  engine.setOutput('GetSpeakerDeviceVolume', volume);
  engine.setPlan('SendCustomMessage', { mode: 'inline', code });
  if (method.kind === 'J' && !method.volume && method.operation) engine.setResult(method.operation, code);
}

function kindOf(result) {
  if (typeof result === 'string') return 'text';
  if (Array.isArray(result)) return 'array';
  return typeof result === 'object' ? 'object' : result;
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
          wanted[cell] = expected(method, entry, form, state);
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
