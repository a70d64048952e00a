// on and off, and how posts reach the listeners. The frame store is the one that posts.
import assert from 'node:assert/strict';
import test from 'node:test';
import { addon, engine, room, settle, until } from './support/scripted.mjs';
import { runChild, runChildWell } from './support/child.mjs';
import { log, loggedIn, newSession } from './support/session.mjs';

const logE = 'KavrinNodeConferenceEngine::LogE';
const logI = 'KavrinNodeConferenceEngine::LogI';

// Has the store post one "onFrameSizeChanged" for the local user; sizes must differ from call to call.
let width = 2;
const postSizeChange = () =>
  engine.fireFrame('me', { width: (width += 2), height: 2, streamType: 0 }, { room });

test('on with another count than four registers nothing and returns undefined', async t => {
  const session = await loggedIn(t);
  const all = [session.handle, 'onFrameSizeChanged', () => assert.fail('called'), null, 5];
  for (const count of [0, 1, 2, 3, 5]) assert.equal(addon.on(...all.slice(0, count)), undefined);
  assert.deepEqual(log.records(), []);
  postSizeChange();
  await settle();
  assert.ok(log.has('INFO', logI, 'Emit event: not find event: onFrameSizeChanged'));
});

test('off with another count than two throws "Invalid arguments to off()"', async t => {
  const { handle } = newSession(t);
  const error = { name: 'Error', message: 'Invalid arguments to off()' };
  for (const args of [[], [handle], [handle, 'a', 'b'], [{}]]) {
    assert.throws(() => addon.off(...args), error);
  }
});

test('off for a name that was never registered is logged only', async t => {
  const session = await loggedIn(t);
  assert.equal(session.off('never'), undefined);
  assert.deepEqual(log.brief(), [['INFO', logI, 'not find event.']]);
});

test('a listener gets the parsed payload and its context, with the global object as this', async t => {
  const session = await loggedIn(t);
  const context = { any: 'value' };
  const calls = [];
  assert.equal(session.on('onFrameSizeChanged', function (...args) {
    calls.push([this, ...args]);
  }, context), undefined);
  engine.fireFrame('me', { width: 8, height: 6, streamType: 0 }, { room });
  await until(() => calls.length);
  assert.equal(calls.length, 1);
  const [self, payload, given, ...more] = calls[0];
  assert.equal(self, globalThis);
  assert.deepEqual(payload, { uid: 'me', type: 0, width: 8, height: 6, needSize: 72 });
  assert.deepEqual(Object.keys(payload), ['uid', 'type', 'width', 'height', 'needSize']);
  assert.equal(given, context);
  assert.deepEqual(more, []);
});

test('contexts of every type come back unchanged', async t => {
  const session = await loggedIn(t);
  for (const context of [{}, [], () => {}, Symbol.for('x'), new Map(), 5, NaN, 'text', '', true,
    null, undefined, 10n]) {
    const given = [];
    session.on('onFrameSizeChanged', (_, value) => given.push(value), context);
    postSizeChange();
    await until(() => given.length);
    assert.ok(Object.is(given[0], context));
    session.off('onFrameSizeChanged');
  }
});

test('the context is kept alive until off', async () => {
  const { report } = await runChildWell(`
    const session = await new Session().login();
    const gone = new WeakRef((() => {
      const context = { big: new Array(1000) };
      session.on('onFrameSizeChanged', () => {}, context);
      return context;
    })());
    const collect = async () => {
      for (let i = 0; i < 20 && gone.deref(); i++) { await sleep(2); globalThis.gc(); }
      return gone.deref() === undefined;
    };
    const before = await collect();
    session.off('onFrameSizeChanged');
    const after = await collect();
    session.destroy();
    report({ before, after });
  `, { flags: ['--expose-gc'] });
  assert.deepEqual(report, { before: false, after: true });
});

test('bad names and functions are refused with their texts', async t => {
  const session = await loggedIn(t);
  for (const name of ['', 5, {}, null, undefined, Symbol('s')]) {
    assert.throws(() => session.on(name, () => {}, {}), { name: 'Error', message: 'Invalid event name' });
    assert.throws(() => session.off(name), { name: 'Error', message: 'Invalid event name' });
  }
  assert.ok(log.has('ERROR', logE, 'Invalid event name'));
  for (const callback of [undefined, null, 5, 'f', {}]) {
    assert.throws(() => session.on('name', callback, {}),
      { name: 'Error', message: 'Failed to create threadsafe function' });
  }
  assert.ok(log.has('ERROR', logE, 'Failed to create threadsafe function'));
});

test('a class or proxy as a callback throws on delivery, which is logged', async () => {
  const { report } = await runChildWell(`
    process.on('uncaughtException', () => {});
    process.on('warning', () => {});
    const session = await new Session().login();
    session.on('onFrameSizeChanged', class Listener {}, {});
    engine.fireFrame('me', { width: 4, height: 4, streamType: 0 });
    await until(() => log.messages().includes('napi_call_function failed.'));
    session.destroy();
    report(true);
  `);
  assert.equal(report, true);
});

test('off stops deliveries, also of posts already queued', async t => {
  const session = await loggedIn(t);
  const calls = [];
  session.on('onFrameSizeChanged', () => calls.push(1), {});
  postSizeChange();
  postSizeChange();
  session.off('onFrameSizeChanged');
  await settle();
  assert.deepEqual(calls, []);
  log.mark();
  postSizeChange();
  await settle();
  assert.deepEqual(calls, []);
  assert.ok(log.has('INFO', logI, 'Emit event: not find event: onFrameSizeChanged'));
});

test('off inside the callback ends its own deliveries', async t => {
  const session = await loggedIn(t);
  let calls = 0;
  session.on('onFrameSizeChanged', () => {
    calls++;
    session.off('onFrameSizeChanged');
  }, {});
  postSizeChange();
  postSizeChange();
  await until(() => calls);
  await settle();
  assert.equal(calls, 1);
});

test('registering a name again replaces the listener; off removes the newer one', async t => {
  const session = await loggedIn(t);
  const calls = [];
  session.on('onFrameSizeChanged', () => calls.push('first'), {});
  postSizeChange();
  session.on('onFrameSizeChanged', () => calls.push('second'), {});
  postSizeChange();
  await until(() => calls.includes('second'));
  await settle();
  assert.deepEqual(calls, ['second']);
  session.off('onFrameSizeChanged');
  postSizeChange();
  await settle();
  assert.deepEqual(calls, ['second']);
});

test('posts are delivered in their order, all of them', async t => {
  const session = await loggedIn(t);
  const widths = [];
  session.on('onFrameSizeChanged', payload => widths.push(payload.width), {});
  const expected = Array.from({ length: 200 }, (_, i) => 2 + 2 * i);
  for (const w of expected) engine.fireFrame('me', { width: w, height: 2, streamType: 2 }, { room });
  await until(() => widths.length === expected.length);
  assert.deepEqual(widths, expected);
});

test('a listener that throws is logged, reported by Node, and called again', async () => {
  const { report } = await runChildWell(`
    const reported = [];
    process.on('uncaughtException', error => reported.push(error.message));
    const session = await new Session().login();
    let calls = 0;
    session.on('onFrameSizeChanged', () => { calls++; throw new Error('listener ' + calls); }, {});
    for (const width of [2, 4, 6]) engine.fireFrame('me', { width, height: 2, streamType: 0 });
    await until(() => calls === 3);
    await settle();
    const logged = log.records().filter(record => record.message === 'napi_call_function failed.');
    session.destroy();
    report({ calls, reported, logged: logged.map(({ level, tag, line }) => [level, tag, line]) });
  `, { flags: ['--force-node-api-uncaught-exceptions-policy=true'] });
  assert.deepEqual(report, {
    calls: 3,
    reported: ['listener 1', 'listener 2', 'listener 3'],
    logged: Array(3).fill(['ERROR', logE, 1793]),
  });
});

test('a throwing JSON.parse drops the delivery and is logged', async () => {
  const { report } = await runChildWell(`
    process.on('uncaughtException', () => {});
    process.on('warning', () => {});
    const session = await new Session().login();
    let calls = 0;
    session.on('onFrameSizeChanged', () => calls++, {});
    const parse = JSON.parse;
    engine.fireFrame('me', { width: 4, height: 4, streamType: 0 });
    JSON.parse = () => { throw new Error('parse'); };
    await sleep(50);
    JSON.parse = parse;
    const logged = log.messages().includes('napi_call_function failed.');
    engine.fireFrame('me', { width: 8, height: 4, streamType: 0 });
    await until(() => calls);
    session.destroy();
    report({ calls, logged });
  `);
  assert.deepEqual(report, { calls: 1, logged: true });
});

test('a JSON.parse that removes the listener meanwhile delivers nothing', async () => {
  const { report } = await runChildWell(`
    const parse = JSON.parse;
    let calls = 0;
    for (const end of [s => s.off('onFrameSizeChanged'), s => s.json('UnInit'), s => s.destroy()]) {
      const session = await new Session().login();
      session.on('onFrameSizeChanged', () => calls++, {});
      engine.fireFrame('me', { width: 4, height: 4, streamType: 0 });
      let ended = false;
      JSON.parse = text => {
        if (!text.includes('needSize')) return parse(text);
        if (!ended) end(session);
        ended = true;
        return {};
      };
      await sleep(30);
      JSON.parse = parse;
      if (!ended) throw new Error('nothing was parsed');
      session.destroy();
    }
    report(calls);
  `);
  assert.equal(report, 0);
});

for (const [what, end] of [['UnInit', s => s.json('UnInit')], ['LeaveRoom', s => s.json('LeaveRoom')]]) {
  test(`${what} releases every listener and drops its undelivered posts`, async t => {
    const session = await loggedIn(t);
    session.json('JoinRoom', { roomId: 'r' });
    const calls = [];
    session.on('onFrameSizeChanged', () => calls.push(1), {});
    session.on('onFrameSizeChanged', () => calls.push(2), {});
    postSizeChange();
    assert.equal(end(session), 0);
    await settle();
    assert.deepEqual(calls, []);
    log.mark();
    session.off('onFrameSizeChanged');
    assert.ok(log.has('INFO', logI, 'not find event.'));
  });
}

test('a LeaveRoom that fails keeps the listeners', async t => {
  const session = await loggedIn(t);
  const calls = [];
  session.on('onFrameSizeChanged', () => calls.push(1), {});
  engine.setResult('LeaveRoom', 3);
  assert.equal(session.json('LeaveRoom'), 3);
  postSizeChange();
  await until(() => calls.length);
});

test('off ends a completion that waits under its name', async t => {
  const session = await loggedIn(t);
  engine.setPlan('SendCustomMessage', { mode: 'hold' });
  session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, () => assert.fail('called'));
  session.off('SendCustomMessage');
  log.mark();
  engine.completeOnly(1);
  await settle();
  assert.ok(log.has('INFO', logI, 'EmitApiCallback: not find event: SendCustomMessage'));
  assert.ok(log.has('INFO', logI, 'Event not found: SendCustomMessage'));
});

test('a listener under the name of a pending completion takes its place', async t => {
  const session = await loggedIn(t);
  engine.setPlan('SendCustomMessage', { mode: 'hold' });
  session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, () => assert.fail('called'));
  const calls = [];
  session.on('SendCustomMessage', (...args) => calls.push(args), { context: 1 });
  engine.completeOnly(9);
  await until(() => calls.length);
  assert.deepEqual(calls, [[9]], 'with the code alone');
  session.off('SendCustomMessage');
});

test('listeners can be registered without an engine', t => {
  const session = newSession(t);
  assert.equal(session.on('any name', () => {}, {}), undefined);
  assert.equal(session.off('any name'), undefined);
});

test('a listener keeps the process alive; off, UnInit and destroyConfEngine let it end', async () => {
  const source = end => `
    const session = await new Session().login();
    session.on('a', () => {}, {});
    session.on('a', () => {}, {});
    session.on('b', () => {}, {});
    ${end}
  `;
  const ends = {
    off: "session.off('a'); session.off('b'); session.destroy();",
    UnInit: "session.json('UnInit');",
    destroy: 'session.destroy();',
    later: 'setTimeout(() => session.destroy(), 50).unref();',
  };
  for (const [what, end] of Object.entries(ends)) {
    const result = await runChild(source(end), { timeoutMs: 20000 });
    assert.equal(result.code, 0, `${what}: ${result.stderr}`);
  }
  const kept = await runChild(source(''), { timeoutMs: 1500 });
  assert.ok(kept.timedOut, 'the listener keeps the process alive');
});

test('a thousand names can be registered and removed', async t => {
  const session = await loggedIn(t);
  for (let i = 0; i < 1000; i++) session.on(`name ${i}`, () => {}, {});
  for (let i = 0; i < 1000; i++) session.off(`name ${i}`);
  assert.deepEqual(log.records(), []);
});
