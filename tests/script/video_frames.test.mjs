// Bound buffers, pictures and the two notifications of the frame store.
import assert from 'node:assert/strict';
import test from 'node:test';
import { engine, pictureBytes, room, settle, until } from './support/scripted.mjs';
import { log, loggedIn, newSession } from './support/session.mjs';

const tag = 'KavrinNodeConferenceEngine::BindingVideoFrame';
const small = { width: 4, height: 2, streamType: 0, seed: 1 };

const state = (user, value) => engine.fire('OnRoomMemberStateChange', [user, value], { room });
const show = (user, picture) => engine.fireFrame(user, { ...small, ...picture }, { room });
const bind = (session, user, type, size) => {
  const buffer = typeof size === 'number' ? Buffer.alloc(size, 0xaa) : size;
  assert.equal(session.call('BindingVideoFrame', user, type, buffer), 0);
  return buffer;
};
const fetch = (session, uid, videoSourceType = 0, forceGetFrame = undefined) =>
  JSON.parse(session.json('GetVideoFrame', { uid, videoSourceType, forceGetFrame }));

test('a picture is copied into the bound buffer', async t => {
  const session = await loggedIn(t);
  const buffer = bind(session, 'me', 0, 20);
  show('me', small);
  assert.deepEqual(fetch(session, 'me'), { ret: 0, width: 4, height: 2 });
  assert.deepEqual(buffer.subarray(0, 12), pictureBytes(small));
  assert.deepEqual([...buffer.subarray(12)], Array(8).fill(0xaa), 'not beyond its size');
});

test('the result is compact JSON in the order ret, width, height', async t => {
  const session = await loggedIn(t);
  assert.equal(session.json('GetVideoFrame', '{"uid":"me"}'), '{"ret":-1,"width":0,"height":0}');
  bind(session, 'me', 0, 12);
  assert.equal(session.json('GetVideoFrame', '{"uid":"me"}'), '{"ret":-2,"width":0,"height":0}');
  show('me', small);
  assert.equal(session.json('GetVideoFrame', '{"uid":"me"}'), '{"ret":0,"width":4,"height":2}');
  assert.equal(session.json('GetVideoFrame', '{"uid":"me"}'), '{"ret":1,"width":0,"height":0}');
  bind(session, 'me', 0, 11);
  assert.equal(session.json('GetVideoFrame', '{"uid":"me","forceGetFrame":true}'),
    '{"ret":-3,"width":4,"height":2}');
});

test('a second fetch without a new picture gives 1, with force 0', async t => {
  const session = await loggedIn(t);
  const buffer = bind(session, 'me', 0, 12);
  show('me', small);
  assert.equal(fetch(session, 'me').ret, 0);
  assert.equal(fetch(session, 'me').ret, 1);
  buffer.fill(0);
  assert.equal(fetch(session, 'me', 0, true).ret, 0);
  assert.deepEqual(buffer, pictureBytes(small));
  show('me', { seed: 9 });
  assert.equal(fetch(session, 'me', 0, 0).ret, 0);
});

test('only the newest picture is kept', async t => {
  const session = await loggedIn(t);
  const buffer = bind(session, 'me', 0, 12);
  for (const seed of [1, 2, 3]) show('me', { seed });
  assert.equal(fetch(session, 'me').ret, 0);
  assert.deepEqual(buffer, pictureBytes({ ...small, seed: 3 }));
  assert.equal(fetch(session, 'me').ret, 1);
});

test('stream types 0 and 1 are one stream, 2 is another', async t => {
  const session = await loggedIn(t);
  const camera = bind(session, 'me', 1, 12);
  const screen = bind(session, 'me', 2, 12);
  show('me', { streamType: 1, seed: 5 });
  assert.equal(fetch(session, 'me', 0).ret, 0);
  assert.deepEqual(camera, pictureBytes({ ...small, seed: 5 }));
  assert.equal(fetch(session, 'me', 2).ret, -2);
  show('me', { streamType: 0, seed: 6 });
  show('me', { streamType: 2, seed: 7 });
  assert.equal(fetch(session, 'me', 1).ret, 0);
  assert.equal(fetch(session, 'me', 2).ret, 0);
  assert.deepEqual(camera, pictureBytes({ ...small, seed: 6 }));
  assert.deepEqual(screen, pictureBytes({ ...small, seed: 7 }));
});

test('pictures of a stream that was not announced are dropped', async t => {
  const session = await loggedIn(t);
  for (const type of [0, 2]) bind(session, 'ann', type, 12);
  show('ann', { streamType: 0 });
  assert.equal(fetch(session, 'ann', 0).ret, -2);
  for (const other of [0, 1, 3, 6, 9, 18]) state('ann', other);
  show('ann', { streamType: 0 });
  assert.equal(fetch(session, 'ann', 0).ret, -2, 'other states announce nothing');
  state('ann', 4);
  show('ann', { streamType: 0 });
  show('ann', { streamType: 2 });
  assert.equal(fetch(session, 'ann', 0).ret, 0);
  assert.equal(fetch(session, 'ann', 2).ret, -2, 'the screen is announced on its own');
  state('ann', 5);
  show('ann', { streamType: 2 });
  assert.equal(fetch(session, 'ann', 2).ret, 0);
});

test('the local user needs no announcement, a pending login does not count', async t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'hold' });
  session.init();
  bind(session, 'me', 0, 12);
  show('me', small);
  assert.equal(fetch(session, 'me').ret, -2);
  engine.completeOnly(0);
  show('me', small);
  assert.equal(fetch(session, 'me').ret, 0);
});

test('the end of a stream withdraws its key and its picture, not the buffer', async t => {
  for (const [start, end, type, otherStart, otherType] of [[4, 7, 0, 5, 2], [5, 8, 2, 4, 0]]) {
    const session = await loggedIn(t);
    state('ann', start);
    state('ann', otherStart);
    for (const either of [type, otherType]) {
      bind(session, 'ann', either, 12);
      show('ann', { streamType: either });
    }
    state('ann', end);
    assert.equal(fetch(session, 'ann', type).ret, -2);
    show('ann', { streamType: type });
    assert.equal(fetch(session, 'ann', type).ret, -2, 'a late picture is dropped');
    assert.equal(fetch(session, 'ann', otherType).ret, 0, 'the other stream goes on');
    state('ann', start);
    show('ann', { streamType: type });
    assert.equal(fetch(session, 'ann', type).ret, 0);
  }
});

test('a member who leaves loses every stream, others keep theirs', async t => {
  const session = await loggedIn(t);
  for (const user of ['ann', 'ann_0', 'an', 'bob']) {
    state(user, 4);
    state(user, 5);
    for (const type of [0, 2]) {
      bind(session, user, type, 12);
      show(user, { streamType: type });
    }
  }
  state('ann', 2);
  const got = user => [0, 2].map(type => fetch(session, user, type).ret);
  assert.deepEqual(got('ann'), [-2, -2]);
  for (const user of ['ann_0', 'an', 'bob']) assert.deepEqual(got(user), [0, 0], user);
  show('ann', { streamType: 0 });
  assert.equal(fetch(session, 'ann').ret, -2);
});

test('odd sizes are computed by truncation', async t => {
  const session = await loggedIn(t);
  const picture = { width: 3, height: 3, streamType: 0, seed: 2 };
  const buffer = bind(session, 'me', 0, 13);
  show('me', picture);
  assert.deepEqual(fetch(session, 'me'), { ret: 0, width: 3, height: 3 });
  assert.deepEqual(buffer, pictureBytes(picture));
});

test('a stream that changes its size up and down is copied right each time', async t => {
  const session = await loggedIn(t);
  const buffer = bind(session, 'me', 0, 64 * 64 * 1.5);
  for (const [width, height] of [[4, 2], [64, 64], [2, 2], [32, 16], [64, 64], [1, 2]]) {
    const picture = { width, height, streamType: 0, seed: width };
    show('me', picture);
    assert.deepEqual(fetch(session, 'me'), { ret: 0, width, height });
    const expected = pictureBytes(picture);
    assert.deepEqual(buffer.subarray(0, expected.length), expected);
  }
});

test('a buffer one byte too short gives -3 and one notification per fetch', async t => {
  const session = await loggedIn(t);
  const buffer = bind(session, 'me', 0, 11);
  const context = {};
  const told = [];
  session.on('onBufferOverflow', (...args) => told.push(args), context);
  show('me', small);
  for (let i = 0; i < 3; i++) {
    assert.deepEqual(fetch(session, 'me'), { ret: -3, width: 4, height: 2 });
  }
  await until(() => told.length === 3);
  await settle();
  assert.equal(told.length, 3);
  assert.deepEqual(told[0], [{ needSize: 12, curSize: 11, width: 4, height: 2, uid: 'me', type: 0 },
    context]);
  assert.deepEqual(Object.keys(told[0][0]),
    ['needSize', 'curSize', 'width', 'height', 'uid', 'type']);
  assert.equal(told[0][1], context);
  assert.deepEqual([...buffer], Array(11).fill(0xaa), 'nothing was copied');
  bind(session, 'me', 0, 12);
  assert.equal(fetch(session, 'me').ret, 0, 'the picture is still fresh');
});

test('an overflow names the stream type as it was asked for', async t => {
  const session = await loggedIn(t);
  bind(session, 'me', 0, 1);
  const types = [];
  session.on('onBufferOverflow', payload => types.push(payload.type), {});
  show('me', small);
  fetch(session, 'me', 1);
  fetch(session, 'me', 0);
  await until(() => types.length === 2);
  assert.deepEqual(types, [1, 0]);
});

test('an overflow or size change without a listener is logged and dropped', async t => {
  const session = await loggedIn(t);
  bind(session, 'me', 0, 1);
  show('me', small);
  fetch(session, 'me');
  const logI = 'KavrinNodeConferenceEngine::LogI';
  assert.ok(log.has('INFO', logI, 'Emit event: not find event: onFrameSizeChanged'));
  assert.ok(log.has('INFO', logI, 'Emit event: not find event: onBufferOverflow'));
});

test('a size change is told once per change, the first picture included', async t => {
  const session = await loggedIn(t);
  const told = [];
  session.on('onFrameSizeChanged', payload => told.push(payload), {});
  const shown = [[4, 2], [4, 2], [2, 4], [2, 4], [4, 2]];
  for (const [width, height] of shown) show('me', { width, height });
  show('me', { streamType: 2 });
  await until(() => told.length >= 4);
  await settle();
  assert.deepEqual(told, [
    { uid: 'me', type: 0, width: 4, height: 2, needSize: 12 },
    { uid: 'me', type: 0, width: 2, height: 4, needSize: 12 },
    { uid: 'me', type: 0, width: 4, height: 2, needSize: 12 },
    { uid: 'me', type: 2, width: 4, height: 2, needSize: 12 },
  ]);
});

test('user names are written into notifications as JSON texts', async t => {
  const session = await loggedIn(t);
  const user = 'a"b\\c\n—\u0001';
  state(user, 4);
  const told = [];
  session.on('onFrameSizeChanged', payload => told.push(payload.uid), {});
  session.on('onBufferOverflow', payload => told.push(payload.uid), {});
  bind(session, user, 0, 1);
  show(user, small);
  fetch(session, user);
  await until(() => told.length === 2);
  assert.deepEqual(told, [user, user]);
});

test('binding again replaces the buffer, unbinding ends it', async t => {
  const session = await loggedIn(t);
  const first = bind(session, 'me', 0, 12);
  const second = bind(session, 'me', 1, 12);
  show('me', small);
  assert.equal(fetch(session, 'me').ret, 0);
  assert.deepEqual([...first], Array(12).fill(0xaa));
  assert.deepEqual(second, pictureBytes(small));
  const unbind = params => session.json('UnbindingVideoFrame', params);
  assert.equal(unbind({ uid: 'me', videoSourceType: 1 }), 0);
  assert.equal(fetch(session, 'me').ret, -1);
  assert.equal(unbind({ uid: 'me', videoSourceType: 0 }), 0, 'nothing bound');
  assert.equal(unbind({ uid: 'nobody' }), 0);
});

test('binding, fetching and unbinding need no engine', t => {
  const session = newSession(t);
  bind(session, 'me', 0, 12);
  assert.equal(fetch(session, 'me').ret, -2);
  assert.equal(session.json('UnbindingVideoFrame', { uid: 'me' }), 0);
});

test('bad texts for GetVideoFrame and UnbindingVideoFrame are -1 and logged', async t => {
  const session = await loggedIn(t);
  for (const name of ['GetVideoFrame', 'UnbindingVideoFrame']) {
    assert.equal(session.json(name, ''), -1);
    for (const [text, message] of [['{', /^Parse json fail/], ['[]', /^not object/],
      ['{"uid":5}', /^not string/], ['{"videoSourceType":"0"}', /^not integer/],
      ['{"forceGetFrame":"x"}', /^not bool or integer/],
      ['{"forceGetFrame":1.5}', /^not bool or integer/]]) {
      log.mark();
      assert.equal(session.json(name, text), -1, text);
      const lines = log.brief();
      assert.deepEqual(lines.map(line => line.slice(0, 2)),
        [['ERROR', `KavrinNodeConferenceEngine::${name}`]]);
      assert.match(lines[0][2], message);
    }
  }
});

test('what is no buffer is refused with a type error and logged', async t => {
  const session = await loggedIn(t);
  for (const value of [undefined, null, 5, 'text', {}, [], () => {}, new ArrayBuffer(8)]) {
    log.mark();
    assert.throws(() => session.call('BindingVideoFrame', 'me', 0, value),
      { name: 'TypeError', message: 'Argument must be a Buffer' });
    const text = typeof value === 'string' ? 'napi_is_buffer error.' : 'is not buffer.';
    assert.ok(log.has('ERROR', tag, text));
  }
  assert.equal(fetch(session, 'me').ret, -1);
});

test('BindingVideoFrame with a wrong count gives undefined', async t => {
  const session = await loggedIn(t);
  const buffer = Buffer.alloc(12);
  for (const args of [[], ['me'], ['me', 0], ['me', 0, buffer, 1]]) {
    assert.equal(session.call('BindingVideoFrame', ...args), undefined);
  }
  assert.equal(fetch(session, 'me').ret, -1);
});

test('typed arrays and slices are buffers with their own offset and length', async t => {
  const session = await loggedIn(t);
  const memory = new ArrayBuffer(64);
  for (const view of [new Uint8Array(memory, 8, 12), Buffer.from(memory, 20, 12),
    new Uint32Array(memory, 32, 3), new Uint8ClampedArray(memory, 48, 12)]) {
    new Uint8Array(memory).fill(0);
    bind(session, 'me', 0, view);
    show('me', small);
    assert.equal(fetch(session, 'me').ret, 0);
    const expected = Buffer.alloc(64);
    pictureBytes(small).copy(expected, view.byteOffset);
    assert.deepEqual(Buffer.from(memory), expected);
  }
});

test('an empty buffer is too small for any picture', async t => {
  const session = await loggedIn(t);
  bind(session, 'me', 0, 0);
  show('me', small);
  assert.ok([-3, -4].includes(fetch(session, 'me').ret));
});

test('a picture without size or data does no harm', async t => {
  const session = await loggedIn(t);
  bind(session, 'me', 0, 12);
  show('me', { width: 0, height: 0 });
  show('me', { width: 4, height: 0 });
  show('me', { withoutData: true });
  assert.ok([0, -2, -4].includes(fetch(session, 'me').ret));
  engine.fireFrame(null, small, { room });
  show('me', small);
  assert.deepEqual(fetch(session, 'me'), { ret: 0, width: 4, height: 2 });
});

test('the largest picture that 16-bit sides allow does no harm', async t => {
  const session = await loggedIn(t);
  bind(session, 'me', 0, 12);
  show('me', { width: 65535, height: 65535, withoutData: true });
  show('me', small);
  assert.deepEqual(fetch(session, 'me'), { ret: 0, width: 4, height: 2 });
});
