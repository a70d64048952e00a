// Script values on their way in and results on their way out.
import assert from 'node:assert/strict';
import test from 'node:test';
import { engine, room } from './support/scripted.mjs';
import { log, loggedIn } from './support/session.mjs';

const facade = 'KavrinNodeConferenceEngine::';

// Binds a buffer under `streamType` and tells which stream's pictures it gets.
function boundStream(session, streamType) {
  for (const type of [0, 2, 3, 5]) session.json('UnbindingVideoFrame', { uid: 'me', videoSourceType: type });
  assert.equal(session.call('BindingVideoFrame', 'me', streamType, Buffer.alloc(6)), 0);
  const bound = [0, 2, 3, 5].filter(type =>
    JSON.parse(session.json('GetVideoFrame', { uid: 'me', videoSourceType: type })).ret !== -1);
  assert.equal(bound.length, 1, 'exactly one stream is bound');
  return bound[0];
}

test('a number read as an integer is cut toward zero', async t => {
  const session = await loggedIn(t);
  assert.equal(boundStream(session, 3.9), 3);
  assert.equal(boundStream(session, 2.0000001), 2);
  assert.equal(boundStream(session, -0.5), 0);
});

test('a number beyond 32 bits wraps around', async t => {
  const session = await loggedIn(t);
  assert.equal(boundStream(session, 4294967296), 0);
  assert.equal(boundStream(session, 4294967296 + 5), 5);
});

test('a number that is none reads as 0', async t => {
  const session = await loggedIn(t);
  for (const value of [NaN, Infinity, -Infinity]) assert.equal(boundStream(session, value), 0);
});

test('a text read as an integer is parsed, else 0', async t => {
  const session = await loggedIn(t);
  assert.equal(boundStream(session, '2'), 2);
  assert.equal(boundStream(session, 'abc'), 0);
  assert.equal(boundStream(session, '99999999999'), 0);
  assert.equal(boundStream(session, ''), 0);
});

test('other types read as an integer give 0', async t => {
  const session = await loggedIn(t);
  for (const value of [true, null, undefined, {}, [5], Symbol('s'), 5n, () => 5]) {
    assert.equal(boundStream(session, value), 0);
  }
});

test('a text argument is cut at its first NUL', async t => {
  const session = await loggedIn(t);
  session.call('GetSDKVersion', '/none', 'a\0b');
  assert.ok(log.records().some(record =>
    record.message.startsWith('method return electronSdkVersion a confSDKVersion ')));
});

test('an argument that is no text reads as empty text', async t => {
  const session = await loggedIn(t);
  for (const value of [5, {}, null, undefined, Symbol('s'), ['x']]) {
    log.mark();
    session.call('GetSDKVersion', '/none', value);
    assert.ok(log.records().some(record =>
      record.message.startsWith('method return electronSdkVersion  confSDKVersion ')));
  }
});

test('a boolean argument reads as the text of its value', async t => {
  const session = await loggedIn(t);
  session.call('GetSDKVersion', '/none', true);
  assert.ok(log.records().some(record =>
    record.message.startsWith('method return electronSdkVersion true confSDKVersion ')));
});

test('JSON text is cut at its first NUL, a JSON escape of NUL ends an engine text', async t => {
  const session = await loggedIn(t);
  assert.equal(session.json('KickOut', '{"userId":"x"}\0 not JSON'), 0);
  assert.equal(session.json('KickOut', '{"userId":"a\\u0000b"}'), 0);
  assert.deepEqual(engine.operations(), [['KickOut', 'x'], ['KickOut', 'a']]);
});

test('texts beyond ASCII pass unchanged in both directions', async t => {
  const session = await loggedIn(t);
  const text = 'Zürich — 会议室 — 🎥 — \u0001';
  session.json('KickOut', { userId: text });
  assert.deepEqual(engine.operations(), [['KickOut', text]]);
  engine.fire('OnRoomError', [1, text], { room });
  assert.deepEqual(session.events()[0].parms, ['me', 'room 1', 1, text]);
});

test('a lone surrogate arrives as the replacement character', async t => {
  const session = await loggedIn(t);
  session.json('KickOut', '{"userId":"\ud800"}');
  assert.deepEqual(engine.operations(), [['KickOut', '\ufffd']]);
});

test('a result code returns as a number, a count as a number, a text as a text', async t => {
  const session = await loggedIn(t);
  for (const code of [0, 1, -1, 2147483647, -2147483648]) {
    engine.setResult('StartPreview', code);
    assert.equal(session.json('StartPreview'), code);
  }
  engine.setOutput('GetRoomAttendees', [{ name: 'a' }, { name: 'b' }]);
  assert.equal(session.json('GetRoomAttendeeCount'), 2);
  assert.equal(typeof session.json('GetLogPath'), 'string');
});

test('an Array result is a plain object with index keys', async t => {
  const session = await loggedIn(t);
  engine.fire('OnAudioVolumeIndication', [[{ uid: 'a', volume: 1 }, { uid: 'b', volume: 2 }]],
    { room });
  const volumes = session.events()[0].parms[2];
  assert.equal(Array.isArray(volumes), false);
  assert.deepEqual(Object.keys(volumes), ['0', '1']);
  assert.deepEqual(volumes, { 0: { uid: 'a', volume: 1 }, 1: { uid: 'b', volume: 2 } });
  assert.equal(Object.getPrototypeOf(volumes), Object.prototype);
});

test('an Object result has its keys in ascending order', async t => {
  const session = await loggedIn(t);
  engine.fire('OnAudioVolumeIndication', [[{ uid: 'a', volume: 1 }]], { room });
  assert.deepEqual(Object.keys(session.events()[0].parms[2][0]), ['uid', 'volume']);
});

test('an unsigned 32-bit value above the signed range arrives negative', async t => {
  const session = await loggedIn(t);
  engine.fire('OnNetworkQuality', ['me', 4294967295, -2], { room });
  assert.deepEqual(session.events()[0].parms.slice(3), [-1, -2]);
  engine.fire('OnAudioVolumeIndication', [[{ uid: 'a', volume: 4294967295 }]], { room });
  assert.equal(session.events()[0].parms[2][0].volume, -1);
});

test('results are logged by their text form', async t => {
  const session = await loggedIn(t);
  engine.setResult('StartPreview', -7);
  session.json('StartPreview');
  session.json('GetRoomAttendeeCount');
  const tag = `${facade}runJsonParamFunction`;
  assert.ok(log.has('INFO', tag, 'call node api: StartPreview ret: -7'));
  assert.ok(log.has('INFO', tag, 'call node api: GetRoomAttendeeCount ret: 0'));
  const path = session.json('GetLogPath');
  assert.ok(log.has('INFO', tag, `call node api: GetLogPath ret: ${path}`));
});
