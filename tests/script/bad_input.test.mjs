// What script may do wrong, or do on purpose: nothing may crash, hang or lose an event.
import assert from 'node:assert/strict';
import test from 'node:test';
import { addon, engine, pictureBytes, room, settle } from './support/scripted.mjs';
import { runChildWell } from './support/child.mjs';
import { methods } from './support/methods.mjs';
import { skipLongWork } from './support/sanitizers.mjs';
import { log, loggedIn, newSession } from './support/session.mjs';

const texts = {
  'a text of 100 MB': key => `{"${key}":"${'x'.repeat(100e6)}"}`,
  'malformed 100 MB': () => '{'.repeat(100e6),
  'a million nested arrays': () => '['.repeat(1e6) + ']'.repeat(1e6),
  'a million nested arrays without an end': () => '['.repeat(1e6),
  'a million nested objects': key => `{"${key}":`.repeat(1e6) + '1' + '}'.repeat(1e6),
  'a million nested arrays in a member': () => `{"x":${'['.repeat(1e6)}${']'.repeat(1e6)}}`,
  'a million nested arrays under a key': key => `{"${key}":${'['.repeat(1e6)}${']'.repeat(1e6)}}`,
  'a million members': () => `{${Array.from({ length: 1e6 }, (_, i) => `"k${i}":1`).join()}}`,
};

const expected = { 'a text of 100 MB': 0, 'a million members': 0,
  'a million nested arrays in a member': 0 };

for (const [what, make] of Object.entries(texts)) {
  test(`JSON: ${what}`, { timeout: 120000, skip: skipLongWork }, async () => {
    const { report } = await runChildWell(`
      const session = await new Session().login({ logPath: '/nonexistent' });
      const make = ${make};
      const result = session.json('KickOut', make('userId'));
      const other = session.withCallback('AsyncSendCustomMessage', make('msg'), () => {});
      engine.join();
      const handled = session.json('StopPreview');
      session.destroy();
      report({ result, other, handled });
    `, { timeoutMs: 110000 });
    const code = expected[what] ?? -1;
    assert.deepEqual(report, { result: code, other: code, handled: 0 });
  });
}

test('names of 1 MB and names with NUL, newline and "%" are not found', async t => {
  const session = await loggedIn(t);
  for (const name of ['n'.repeat(1e6), '\0Init', 'a\nb', '%s%s%n', '\ud800', '../../x']) {
    assert.equal(session.call(name), -1);
    assert.equal(session.json(name, '{}'), -1);
    assert.equal(session.withCallback(name, '{}', () => {}), -1);
  }
});

test('every method survives arguments of every type through every entry point', async t => {
  const session = await loggedIn(t);
  engine.setPlan('SendCustomMessage', { mode: 'inline' });
  const values = [undefined, null, true, 0, -1, 1.5, NaN, Infinity, 1e308, '', '\0', 'text', '[]',
    '{', Symbol('s'), {}, [], () => {}, 10n, Buffer.alloc(4), new Uint8Array(0), new Date(), /x/,
    new Proxy({}, {}), session.handle];
  const tryIt = call => {
    try {
      call();
    } catch (error) {
      assert.match(error.message, /^(Argument must be a Buffer|Failed to create threadsafe function)$/);
    }
  };
  for (const { name } of methods) {
    for (const value of values) {
      tryIt(() => addon.execFun(session.handle, name, [value]));
      tryIt(() => addon.execFun(session.handle, name, [value, value]));
      tryIt(() => addon.execFun(session.handle, name, [value, value, value]));
      tryIt(() => addon.execFun(session.handle, name, value));
      tryIt(() => addon.execJsonParamFun(session.handle, name, value));
      tryIt(() => addon.execJsonParamFunWithCallback(session.handle, name, value, value));
    }
  }
  engine.join();
  assert.equal(session.json('SetLogTag', '{}'), 0);
});

test('a huge array is counted and refused', async t => {
  const session = await loggedIn(t);
  assert.equal(addon.execFun(session.handle, 'GetRoomInfo', new Array(200000).fill('x')), undefined);
  assert.ok(log.has('ERROR', 'verifyArgsCount',
    'args count error:need args count 0,but real get args count 200000'));
});

test('an array with the largest length a script can give does not exhaust memory', async () => {
  const { report } = await runChildWell(`
    const session = await new Session().login();
    let result;
    try {
      result = addon.execFun(session.handle, 'GetRoomInfo', new Array(4294967295));
    } catch (error) {
      result = error.message;
    }
    const handled = session.json('StopPreview');
    session.destroy();
    report({ handled, result });
  `, { timeoutMs: 60000 });
  assert.equal(report.handled, 0);
});

test('an array that shrinks or grows while it is read', async t => {
  const session = await loggedIn(t);
  for (const act of [list => (list.length = 0), list => list.push(1, 2, 3)]) {
    const list = ['a', 'b', 'c'];
    Object.defineProperty(list, 0, { get() { act(list); return 'a'; }, configurable: true });
    assert.equal(session.call.call({ handle: session.handle }, 'GetRoomInfo', ...['a', 'b', 'c']),
      undefined);
    assert.equal(addon.execFun(session.handle, 'GetRoomInfo', list), undefined);
  }
});

test('a buffer whose memory was taken away gives -4', async t => {
  const session = await loggedIn(t);
  const memory = new ArrayBuffer(64);
  assert.equal(session.call('BindingVideoFrame', 'me', 0, new Uint8Array(memory)), 0);
  structuredClone(memory, { transfer: [memory] });
  assert.equal(memory.byteLength, 0);
  engine.fireFrame('me', { width: 4, height: 2, streamType: 0 }, { room });
  assert.equal(session.json('GetVideoFrame', { uid: 'me' }), '{"ret":-4,"width":0,"height":0}');
  const again = Buffer.alloc(12);
  assert.equal(session.call('BindingVideoFrame', 'me', 0, again), 0);
  assert.equal(JSON.parse(session.json('GetVideoFrame', { uid: 'me' })).ret, 0);
  assert.deepEqual(again, pictureBytes({ width: 4, height: 2 }));
});

const resizable = 'resize' in ArrayBuffer.prototype ? false : 'this Node has no resizable buffers';

test('a buffer whose memory was resized counts with its current length', { skip: resizable },
  async () => {
    const { report } = await runChildWell(`
      const session = await new Session().login();
      const memory = new ArrayBuffer(64, { maxByteLength: 128 });
      const view = new Uint8Array(memory);
      const sizes = [];
      session.on('onBufferOverflow', payload => sizes.push(payload.curSize), {});
      session.call('BindingVideoFrame', 'me', 0, view);
      engine.fireFrame('me', { width: 4, height: 2, streamType: 0 });
      const fetch = () => JSON.parse(session.json('GetVideoFrame', { uid: 'me', forceGetFrame: true }));
      const rets = [fetch().ret];
      memory.resize(5);
      rets.push(fetch().ret);
      memory.resize(12);
      rets.push(fetch().ret);
      memory.resize(128);
      rets.push(fetch().ret);
      await until(() => sizes.length);
      session.destroy();
      report({ rets, sizes });
    `);
    assert.deepEqual(report, { rets: [0, -3, 0, 0], sizes: [5] });
  });

test('a buffer on shared memory is filled', async t => {
  const session = await loggedIn(t);
  const view = new Uint8Array(new SharedArrayBuffer(12));
  assert.equal(session.call('BindingVideoFrame', 'me', 0, view), 0);
  engine.fireFrame('me', { width: 4, height: 2, streamType: 0, seed: 3 }, { room });
  assert.equal(JSON.parse(session.json('GetVideoFrame', { uid: 'me' })).ret, 0);
  assert.deepEqual(Buffer.from(view), pictureBytes({ width: 4, height: 2, seed: 3 }));
});

test('a bound buffer is kept alive until it is unbound', async () => {
  const { report } = await runChildWell(`
    const session = await new Session().login();
    const bind = () => {
      const buffer = Buffer.alloc(100000);
      session.call('BindingVideoFrame', 'me', 0, buffer);
      return new WeakRef(buffer);
    };
    const collect = async gone => {
      for (let i = 0; i < 20 && gone.deref(); i++) { await sleep(2); globalThis.gc(); }
      return gone.deref() === undefined;
    };
    const first = bind();
    const kept = !(await collect(first));
    const second = bind();
    const replaced = await collect(first);
    session.json('UnbindingVideoFrame', { uid: 'me' });
    const unbound = await collect(second);
    const third = bind();
    session.destroy();
    report({ kept, replaced, unbound, destroyed: await collect(third) });
  `, { flags: ['--expose-gc'] });
  assert.deepEqual(report, { kept: true, replaced: true, unbound: true, destroyed: true });
});

// Script that runs in the middle of a module function and pulls the handle away.

const endings = { destroy: s => s.destroy(), UnInit: s => s.json('UnInit'),
  poll: s => s.events(), Init: s => s.init() };

for (const [what, end] of Object.entries(endings)) {
  test(`${what} from an element getter of execFun's array`, async t => {
    const session = await loggedIn(t);
    const list = Object.defineProperty(['a'], 0, { get() { end(session); return 'a'; } });
    try {
      addon.execFun(session.handle, 'GetAttendeeInfo', list);
    } catch (error) {
      assert.equal(error.message, 'Expected an object as the first argument');
    }
    engine.join();
  });

  test(`${what} from the "__engine" getter`, async t => {
    const session = await loggedIn(t);
    const external = session.handle.__engine;
    for (const call of [h => addon.execJsonParamFun(h, 'StopPreview', ''), h => addon.loadNodeEvents(h),
      h => addon.execFun(h, 'GetRoomInfo', []), h => addon.off(h, 'x')]) {
      const handle = { get __engine() { end(session); return external; } };
      try {
        call(handle);
      } catch (error) {
        assert.equal(error.message, 'Expected an object as the first argument');
      }
    }
    engine.join();
  });

  for (const property of ['key', 'parms', 'uid', '0']) {
    test(`${what} from a setter of Object.prototype["${property}"] during a poll`, async t => {
      const session = await loggedIn(t);
      for (let i = 0; i < 3; i++) {
        engine.fire('OnAudioVolumeIndication', [[{ uid: 'a', volume: 1 }]], { room });
      }
      let calls = 0;
      Object.defineProperty(Object.prototype, property,
        { set() { if (calls++ === 0) end(session); }, configurable: true });
      try {
        session.events();
      } catch (error) {
        assert.equal(error.message, 'Expected an object as the first argument');
      } finally {
        delete Object.prototype[property];
      }
      engine.join();
    });
  }

  test(`${what} from a setter of Object.prototype while a record becomes an object`, async t => {
    const session = await loggedIn(t);
    engine.setOutput('EnumScreenAndWindow', [{ id: 1, thumbnail: [1] }, { id: 2, thumbnail: [2] }]);
    engine.setOutput('GetRoomAttendees', [{ id: 'a' }, { id: 'b' }]);
    for (const [method, property] of [['EnumScreenAndWindow', 'id'], ['GetRoomAttendees', 'm_pUserId'],
      ['GetRoomInfo', 'm_roomId']]) {
      let calls = 0;
      Object.defineProperty(Object.prototype, property,
        { set() { if (calls++ === 0) end(session); }, configurable: true });
      try {
        session.call(method);
      } catch (error) {
        assert.equal(error.message, 'Expected an object as the first argument');
      } finally {
        delete Object.prototype[property];
      }
    }
    engine.join();
  });

  test(`${what} from inside a completion callback and a listener`, async t => {
    const session = await loggedIn(t);
    let ran = 0;
    session.on('onFrameSizeChanged', () => { ran++; end(session); }, {});
    engine.fireFrame('me', { width: 6, height: 6, streamType: 0 }, { room });
    engine.fireFrame('me', { width: 8, height: 6, streamType: 0 }, { room });
    session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, () => { ran++; end(session); });
    engine.join();
    await settle(20);
    assert.ok(ran >= 1);
    engine.join();
  });
}

test('a setter of Object.prototype that throws during a poll loses nothing later', async t => {
  const session = await loggedIn(t);
  engine.fire('OnVideoDeviceStateChange', [1]);
  Object.defineProperty(Object.prototype, 'key',
    { set() { throw new Error('from the setter'); }, configurable: true });
  try {
    session.events();
  } catch (error) {
    assert.match(error.message, /from the setter|setNObjectProperty:napi_set_property error!/);
  } finally {
    delete Object.prototype.key;
  }
  engine.fire('OnVideoDeviceStateChange', [2]);
  assert.deepEqual(session.events().map(event => event.parms), [[2]]);
});

test('invalid UTF-8 and NUL bytes from the engine arrive as some text', async t => {
  const session = await loggedIn(t);
  engine.fire('OnRoomError', [1, 'a\0b'], { room: { roomId: 'r\0x', localUid: 'm\0e' } });
  const [{ parms }] = session.events();
  assert.deepEqual(parms, ['m', 'r', 1, 'a']);
});

test('fetching without end while pictures arrive from many threads', async t => {
  const session = await loggedIn(t);
  const picture = { width: 16, height: 16, streamType: 0, seed: 4 };
  const buffer = Buffer.alloc(384);
  session.call('BindingVideoFrame', 'me', 0, buffer);
  engine.fireFrame('me', picture, { room, threads: 4, count: 200, background: true });
  let copied = 0;
  for (let i = 0; i < 2000; i++) {
    const { ret } = JSON.parse(session.json('GetVideoFrame', { uid: 'me' }));
    assert.ok([0, 1, -2].includes(ret));
    if (ret !== 0) continue;
    copied++;
    assert.ok(buffer.equals(pictureBytes(picture)), 'the picture is whole');
  }
  engine.join();
  session.json('GetVideoFrame', { uid: 'me', forceGetFrame: true });
  assert.ok(buffer.equals(pictureBytes(picture)));
  assert.ok(copied >= 0);
});

test('a new handle for every call, many times', t => {
  newSession(t);
  for (let i = 0; i < 2000; i++) {
    const handle = addon.createConfEngine();
    addon.on(handle, 'name', () => {}, {});
    addon.execFun(handle, 'BindingVideoFrame', ['u', 0, Buffer.alloc(8)]);
    addon.destroyConfEngine(handle);
  }
  assert.equal(engine.live().engines, 0);
});
