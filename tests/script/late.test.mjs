// Completions and callbacks that come when nobody expects them any more, and engines that
// misbehave.
import assert from 'node:assert/strict';
import test from 'node:test';
import { runChildWell } from './support/child.mjs';
import { asCommand, engine, pictureBytes, room, settle, until } from './support/scripted.mjs';
import { forget, inRoom, log, loggedIn, newSession, Session } from './support/session.mjs';

const limit = { timeout: 60000 };
const neverCalled = () => assert.fail('called');

function heldLogin(session, callback = neverCalled) {
  engine.setPlan('Init', { mode: 'hold' });
  session.init({}, callback);
  return engine.completions().pop().id;
}

function heldMessage(session, callback = neverCalled) {
  engine.setPlan('SendCustomMessage', { mode: 'hold' });
  session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, callback);
  return engine.completions().pop().id;
}

test('a login that completes after destroyConfEngine touches nothing', limit, async t => {
  const session = newSession(t);
  const id = heldLogin(session);
  session.destroy();
  engine.clearCalls();
  engine.complete(id, 0, { threads: 4, times: 3 });
  await settle();
  assert.deepEqual(engine.calls(), []);
  assert.equal(engine.live().completions, 0);
});

test('a message that completes after destroyConfEngine, UnInit or LeaveRoom reaches nobody', limit,
  async t => {
    for (const end of [s => s.destroy(), s => s.json('UnInit'), s => s.json('LeaveRoom')]) {
      const session = await inRoom(t);
      const id = heldMessage(session);
      end(session);
      engine.complete(id, 0, { threads: 4 });
      await settle();
    }
  });

test('a login that completes after a second Init does not speak for it', limit, async t => {
  const session = newSession(t);
  const codes = [];
  const first = heldLogin(session, () => {});
  engine.setPlan('Init', { mode: 'hold' });
  session.init({ puid: 'second' }, code => codes.push(code));
  const second = engine.completions().pop().id;
  engine.clearCalls();
  engine.complete(first, 0);
  assert.deepEqual(engine.calls(), [], 'the second engine is not told');
  engine.complete(second, 0);
  await until(() => codes.length);
  engine.complete.call(engine, heldMessage(session, () => {}), 1);
  assert.deepEqual(codes, [0]);
  session.call('BindingVideoFrame', 'second', 0, Buffer.alloc(6));
  engine.fireFrame('second', { width: 2, height: 2, streamType: 0 }, { room });
  assert.equal(JSON.parse(session.json('GetVideoFrame', { uid: 'second' })).ret, 0);
});

test('completions called twice, from many threads at once, count once', limit, async t => {
  const session = newSession(t);
  const codes = [];
  const id = heldLogin(session, code => codes.push(code));
  engine.complete(id, 5, { threads: 8, times: 4 });
  await until(() => codes.length);
  await settle();
  assert.deepEqual(codes, [5]);
});

test('a completion inside destroyConfEngine, on another thread, does not block', limit, async t => {
  for (const afterGate of [false, true]) {
    const session = newSession(t);
    const id = heldLogin(session, () => {});
    engine.addHook('UnInit', { run: asCommand('complete', { id, code: 0 }), ownThread: true, afterGate });
    session.destroy();
    assert.equal(engine.live().engines, 0);
  }
  await settle();
});

test('callbacks of every kind inside UnInit, on other threads, do not block', limit, async t => {
  const session = await loggedIn(t);
  session.on('onFrameSizeChanged', () => {}, {});
  const hooks = [
    asCommand('fire', { callback: 'OnRoomStateChange', arguments: [1], threads: 4, count: 50, room }),
    asCommand('fire', { callback: 'OnRoomMemberStateChange', arguments: ['ann', 4], threads: 4, room }),
    asCommand('fire', { callback: 'OnRoomMemberVideoFrame', room, threads: 4,
      arguments: ['me', { width: 4, height: 4, streamType: 0 }] }),
  ];
  for (const run of hooks) engine.addHook('UnInit', { run, ownThread: true });
  assert.equal(session.json('UnInit'), 0);
  assert.equal(session.events().length, 204);
});

test('callbacks after UnInit are taken as long as the handle lives', limit, async t => {
  const session = await loggedIn(t);
  session.json('UnInit');
  engine.fire('OnRoomStateChange', [1], { late: true, threads: 4, count: 10, room });
  engine.fireFrame('me', { width: 4, height: 4, streamType: 0 }, { late: true, room });
  assert.equal(session.events().length, 40);
});

test('posts that wait when the handle is destroyed are not delivered', limit, async t => {
  const session = await loggedIn(t);
  session.on('onFrameSizeChanged', neverCalled, {});
  engine.fireFrame('me', { width: 4, height: 4, streamType: 0 }, { room });
  session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, neverCalled);
  engine.join();
  session.destroy();
  await settle(20);
});

test('logins and messages race with UnInit and destroyConfEngine', limit, async t => {
  newSession(t);
  for (let i = 0; i < 300; i++) {
    engine.setPlan('Init', { mode: 'automatic', delayMs: i % 3, late: i % 2 === 0 });
    engine.setPlan('SendCustomMessage', { mode: 'automatic', delayMs: i % 2, late: true });
    const session = new Session();
    session.init();
    session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, () => {});
    engine.fire('OnRoomStateChange', [1], { room, threads: 2, count: 20, background: true });
    if (i % 5 === 0) await settle(1);
    if (i % 4 === 0) session.init();
    if (i % 3 === 0) session.json('UnInit');
    session.destroy();
    if (i % 50 === 0) engine.join();
  }
  engine.join();
  await settle();
  assert.equal(engine.live().engines, 0);
  assert.equal(engine.live().completions, 0);
});

test('everything at once: callbacks, pictures, posts and script', limit, async t => {
  const session = await loggedIn(t);
  const picture = { width: 32, height: 32, streamType: 0, seed: 1 };
  const buffer = Buffer.alloc(32 * 48);
  session.call('BindingVideoFrame', 'me', 0, buffer);
  const flood = { room, threads: 2, count: 1000, background: true };
  engine.fire('OnRoomStateChange', [0], { ...flood, sequence: 0 });
  engine.fire('OnAudioVolumeIndication', [[{ uid: 'a', volume: 1 }]], flood);
  engine.fire('OnRoomMemberStateChange', ['ann', 4], flood);
  engine.fire('OnRoomMemberStateChange', ['ann', 2], flood);
  engine.fireFrame('me', picture, flood);
  engine.fireFrame('ann', { ...picture, width: 30 }, flood);
  let sizeChanges = 0;
  let events = 0;
  let codes = 0;
  for (let i = 0; i < 300; i++) {
    events += session.events().length;
    session.on('onFrameSizeChanged', () => sizeChanges++, {});
    session.json('GetVideoFrame', { uid: 'me' });
    session.call('BindingVideoFrame', 'ann', 0, Buffer.alloc(i * 10));
    session.json('GetVideoFrame', { uid: 'ann' });
    session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, () => codes++);
    session.json('UnbindingVideoFrame', { uid: 'ann' });
    if (i % 10 === 0) await settle(1);
    session.off('onFrameSizeChanged');
  }
  engine.join();
  events += session.events().length;
  await until(() => codes === 300, 'the messages');
  assert.equal(events, 4 * 2 * 1000, 'no event is lost');
  session.json('GetVideoFrame', { uid: 'me', forceGetFrame: true });
  assert.deepEqual(buffer, pictureBytes(picture));
});

test('an engine that throws from UnInit does not end the process', limit, async () => {
  const { report } = await runChildWell(`
    const results = [];
    for (const end of [s => s.json('UnInit'), s => s.init(), s => s.destroy()]) {
      const session = await new Session().login();
      engine.setThrow('UnInit', 'no');
      results.push(end(session) ?? 'undefined');
      engine.setThrow('UnInit');
      session.destroy();
      engine.join();
    }
    report({ results: results.length, engines: engine.live().engines });
  `);
  assert.deepEqual(report, { results: 3, engines: 0 });
});

test('an engine that throws inside a completion does not end the process', limit, async () => {
  const { report } = await runChildWell(`
    const session = new Session();
    engine.setPlan('Init', { mode: 'hold' });
    engine.setThrow('EnableExternalRender', 'no');
    session.init();
    engine.completeOnly(0);
    await until(() => session.codes.length);
    session.destroy();
    report(session.codes);
  `);
  assert.deepEqual(report, [0]);
});

test('the records of a session are gone when its handle is', limit, async t => {
  const session = await inRoom(t);
  engine.setOutput('GetRoomAttendees', [{ id: 'a' }, { id: 'b' }]);
  session.call('GetRoomAttendees');
  session.json('GetRoomAttendeeCount');
  session.json('StartScreenShare', { deviceId: 1, excludeWindowList: [1, 2] });
  forget();
  session.destroy();
  assert.deepEqual(log.records(), [], 'the end of a handle is silent');
  assert.deepEqual(engine.live(), { engines: 0, options: 0, users: 0, infos: 0, completions: 0 });
});
