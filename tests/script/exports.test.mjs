// The module's exports, the engine handle and who is refused as one.
import assert from 'node:assert/strict';
import path from 'node:path';
import test from 'node:test';
import { moduleFile, scriptedDir } from './support/paths.mjs';
import { addon, apiVersionOf, engine, externalAt, pointerOf } from './support/scripted.mjs';
import { exportedSymbols } from './support/exported_symbols.mjs';
import { newSession, Session } from './support/session.mjs';
import { runChildWell } from './support/child.mjs';

const modulePath = path.join(scriptedDir, moduleFile);
const notAHandle = { name: 'TypeError', message: 'Expected an object as the first argument' };

test('exports exactly the eight functions, in their order', () => {
  assert.deepEqual(Object.keys(addon), [
    'createConfEngine', 'destroyConfEngine', 'execFun', 'execJsonParamFun',
    'execJsonParamFunWithCallback', 'loadNodeEvents', 'on', 'off',
  ]);
  assert.equal(Reflect.ownKeys(addon).length, 8);
  for (const member of Object.values(addon)) {
    assert.equal(typeof member, 'function');
    assert.equal(member.name, '');
  }
});

test('asks for Node-API version 8', () => {
  assert.equal(apiVersionOf(modulePath), 8);
});

test('exports only the two entry symbols from the shared object', () => {
  const symbols = exportedSymbols(modulePath)
    .filter(symbol => !/^(__[a-z]*san_|_ZN?.*(asan|tsan|ubsan)|__odr_asan)/.test(symbol));
  assert.deepEqual(symbols.sort(), ['napi_register_module_v1', 'node_api_module_get_api_version_v1']);
});

test('loading the module twice gives two sets of exports that do not mix', async () => {
  const { report } = await runChildWell(`
    import { createRequire } from 'node:module';
    const require = createRequire(import.meta.url);
    delete require.cache[process.env.KAVRIN_MODULE];
    const again = require(process.env.KAVRIN_MODULE);
    const handles = [addon.createConfEngine(), again.createConfEngine()];
    const results = [];
    for (const exports of [addon, again]) {
      for (const handle of handles) {
        try {
          results.push(exports.execJsonParamFun(handle, 'SetLogTag', '{"tag":"x"}'));
        } catch (error) {
          results.push(error.message);
        }
      }
    }
    addon.destroyConfEngine(handles[0]);
    again.destroyConfEngine(handles[1]);
    report({ distinct: again !== addon, results });
  `);
  const refused = 'Expected an object as the first argument';
  assert.deepEqual(report, { distinct: true, results: [0, refused, refused, 0] });
});

test('createConfEngine returns a plain object with an external under "__engine"', t => {
  const handle = addon.createConfEngine('ignored', 5);
  t.after(() => addon.destroyConfEngine(handle));
  assert.deepEqual(Reflect.ownKeys(handle), ['__engine']);
  assert.equal(Object.getPrototypeOf(handle), Object.prototype);
  assert.notEqual(pointerOf(handle.__engine), 0n);
});

test('creating a handle creates no engine yet', t => {
  newSession(t);
  assert.deepEqual(engine.calls(), []);
});

test('two handles do not share state', async t => {
  const first = newSession(t);
  const second = new Session();
  t.after(() => second.destroy());
  assert.notEqual(pointerOf(first.handle.__engine), pointerOf(second.handle.__engine));
  await first.login();
  assert.equal(first.json('JoinRoom', { roomId: 'r' }), 0);
  assert.equal(second.json('JoinRoom', { roomId: 'r' }), -1);
  engine.fire('OnVideoDeviceStateChange', [1]);
  assert.deepEqual(second.events(), []);
  assert.equal(first.events().length, 1);
  second.destroy();
  assert.equal(first.json('LeaveRoom'), 0);
});

test('destroyConfEngine returns undefined and leaves "__engine" in place', () => {
  const handle = addon.createConfEngine();
  assert.equal(addon.destroyConfEngine(handle, 'more', 'arguments'), undefined);
  assert.ok('__engine' in handle);
});

test('destroyConfEngine without an argument throws "Wrong number of arguments"', () => {
  assert.throws(() => addon.destroyConfEngine(),
    { name: 'TypeError', message: 'Wrong number of arguments' });
});

test('destroyConfEngine tears the engine down: UnInit, then DestroyConfEngine', async t => {
  const session = await newSession(t).login();
  engine.clearCalls();
  session.destroy();
  assert.deepEqual(engine.operations(), [['UnInit'], ['DestroyConfEngine']]);
  assert.equal(engine.live().engines, 0);
});

const calls = {
  destroyConfEngine: handle => addon.destroyConfEngine(handle),
  execFun: handle => addon.execFun(handle, 'GetRoomInfo', []),
  execJsonParamFun: handle => addon.execJsonParamFun(handle, 'UnInit', ''),
  execJsonParamFunWithCallback: handle =>
    addon.execJsonParamFunWithCallback(handle, 'Init', '{}', () => {}),
  loadNodeEvents: handle => addon.loadNodeEvents(handle),
  on: handle => addon.on(handle, 'name', () => {}, null),
  off: handle => addon.off(handle, 'name'),
};

const strangers = {
  'an empty object': () => ({}),
  'undefined': () => undefined,
  'null': () => null,
  'a number': () => 5,
  'a text': () => 'handle',
  'a symbol': () => Symbol('handle'),
  'a function': () => () => {},
  'a number under "__engine"': () => ({ __engine: 1 }),
  'an object under "__engine"': () => ({ __engine: {} }),
  'a getter that throws': () => ({ get __engine() { throw new Error('from the getter'); } }),
  'a proxy that throws': () => new Proxy({}, { get() { throw new Error('from the proxy'); } }),
  'a revoked proxy': () => {
    const { proxy, revoke } = Proxy.revocable({}, {});
    revoke();
    return proxy;
  },
  'an external that wraps a foreign address': () => ({ __engine: externalAt(0x1234n) }),
  'an external that wraps an odd address': () => ({ __engine: externalAt(0xffff_ffff_ffff_fff7n) }),
};

for (const [what, make] of Object.entries(strangers)) {
  test(`every function refuses ${what} as a handle`, () => {
    for (const call of Object.values(calls)) assert.throws(() => call(make()), notAHandle);
  });
}

test('a null external is refused, but on and off do nothing with it', () => {
  const handle = { __engine: externalAt(0n) };
  for (const [name, call] of Object.entries(calls)) {
    if (name === 'on' || name === 'off') assert.equal(call(handle), undefined);
    else assert.throws(() => call(handle), notAHandle, name);
  }
});

test('a destroyed handle is refused, but on and off do nothing with it', () => {
  const handle = addon.createConfEngine();
  addon.destroyConfEngine(handle);
  for (const [name, call] of Object.entries(calls)) {
    if (name === 'on' || name === 'off') assert.equal(call(handle), undefined);
    else assert.throws(() => call(handle), notAHandle, name);
  }
});

test('an external that wraps a small number is no handle, however many handles there are', () => {
  const handles = Array.from({ length: 20 }, () => addon.createConfEngine());
  for (let number = 1n; number <= 64n; number++) {
    assert.throws(() => addon.loadNodeEvents({ __engine: externalAt(number) }), notAHandle);
  }
  handles.forEach(handle => addon.destroyConfEngine(handle));
});

test('a destroyed handle stays refused while later handles come and go', () => {
  const old = addon.createConfEngine();
  addon.destroyConfEngine(old);
  const later = Array.from({ length: 100 }, () => addon.createConfEngine());
  assert.throws(() => addon.loadNodeEvents(old), notAHandle);
  later.forEach(handle => addon.destroyConfEngine(handle));
  assert.throws(() => addon.loadNodeEvents(old), notAHandle);
});

test('the handle is whatever object leads to its external', t => {
  const session = newSession(t);
  for (const handle of [
    { __engine: session.handle.__engine },
    Object.create(session.handle),
    new Proxy(session.handle, {}),
    Object.assign(() => {}, { __engine: session.handle.__engine }),
  ]) {
    assert.equal(addon.execJsonParamFun(handle, 'SetLogTag', ''), 0);
  }
});

test('createConfEngine survives an "__engine" of Object.prototype that throws or swallows', () => {
  for (const accessor of [{ set() { throw new Error('from the setter'); } }, { set() {} },
    { get: () => 5 }, { get() { throw new Error('from the getter'); } }]) {
    Object.defineProperty(Object.prototype, '__engine', { ...accessor, configurable: true });
    try {
      let handle;
      try {
        handle = addon.createConfEngine();
      } catch (error) {
        assert.match(error.message, /from the setter|Failed to set the engine/);
        continue;
      }
      assert.throws(() => addon.loadNodeEvents(handle), notAHandle);
    } finally {
      delete Object.prototype.__engine;
    }
  }
});

test('a handle that script drops is not finalized: its engine lives on', async () => {
  const { report: live } = await runChildWell(`
    let session = await new Session().login();
    const gone = new WeakRef(session.handle);
    session = null;
    for (let i = 0; i < 20 && gone.deref(); i++) { await sleep(5); globalThis.gc(); }
    report({ collected: gone.deref() === undefined, engines: engine.live().engines });
  `, { flags: ['--expose-gc'] });
  assert.deepEqual(live, { collected: true, engines: 1 });
});
