// Engine callbacks, the events they become and the poll that hands them over.
import assert from 'node:assert/strict';
import test from 'node:test';
import { addon, currentThread, engine, room } from './support/scripted.mjs';
import { forget, log, loggedIn, newSession } from './support/session.mjs';

const sink = 'KavrinConferenceEngineEventImpl::';
const onEvent = 'KavrinNodeConferenceEngine::onEvent';

// callback, arguments, values after the room's, logged messages; `device` callbacks have no room.
const rows = [
  { callback: 'OnRtcStats', args: [65535, 2, 3, 4, 5], values: [65535, 2, 3, 4, 5], log: [
    'OnRtcStats:m_nAverageBitrate start',
    'OnRtcStats:m_nTxBitrate:65535,m_nRxBitrate:2,m_nTxPacketLossRate:3,m_nRxPacketLossRate:4,' +
      'm_nNetDelay:5'] },
  { callback: 'OnAudioStateChanged', args: ['ann', 7], log: [
    'OnAudioStateChanged:pUsername:ann,aState:7'] },
  { callback: 'OnVideoStateChanged', args: ['ann', 1, 2, -3], log: [
    'OnVideoStateChanged:pUsername:ann,vType:1,vState:2,stateError:-3'] },
  { callback: 'OnActiveSpeaker', args: ['ann', 80], log: [
    'OnActiveSpeaker:pUsername:ann,volume:80'] },
  { callback: 'OnRoomMemberStateChange', args: ['ann', 1], log: [
    'OnRoomMemberStateChange:pUsername:ann,userState:1'] },
  { callback: 'OnRoomMemberStateChange', args: ['ann', 18], event: 'OnRepeatLogin', values: [],
    log: ['onRepeatLogin'] },
  { callback: 'OnRoomStateChange', args: [-2147483648], log: [
    'OnRoomStateChange:roomState:-2147483648'] },
  { callback: 'OnRoomError', args: [404, 'gone'], log: ['OnRoomError:errCode:404,reason:gone'] },
  { callback: 'OnCustomMessage', args: ['hello', 'second', 'third'], log: [
    'OnCustomMessage:msg:hello'] },
  { callback: 'OnAudioDeviceStateChange', args: [1, 2], device: true, log: [
    'OnAudioDeviceStateChange:devType:1,devState:2'] },
  { callback: 'OnAudioDefaultDeviceChanged', args: [3], device: true, log: [
    'OnAudioDefaultDeviceChanged:devType:3'] },
  { callback: 'OnVideoDeviceStateChange', args: [4], device: true, log: [
    'OnVideoDeviceStateChange:devState:4'] },
  { callback: 'OnNetworkQuality', args: ['me', 5, 6], log: [
    'OnNetworkQuality:pUsername:me,txQualityValue:5,rxQualityValue:6'] },
  { callback: 'OnSnapshotTaken', args: ['ann', 1, '/tmp/a.png', 640, 480, 0], log: [
    'OnSnapshotTaken:pUsername:ann,srcType:1,pFilepath:/tmp/a.png,width:640,height:480,errCode:0'] },
  { callback: 'OnAudioVolumeIndication', args: [[{ uid: 'ann', volume: 9 }, { uid: '', volume: 0 }]],
    values: [{ 0: { uid: 'ann', volume: 9 }, 1: { uid: '', volume: 0 } }],
    log: ['onAudioVolumeIndication:volumes size:2'] },
  { callback: 'OnAudioDeviceVolumeChanged', args: [1, 50, true], device: true, log: [
    'OnAudioDeviceVolumeChanged:devType:1,volume:50,muted:1'] },
  { callback: 'OnDataMessageReceived', args: ['data'], log: [] },
  { callback: 'OnDataChannelStateChanged', args: [2, 'open'], log: [] },
];

for (const row of rows) {
  const event = row.event ?? row.callback;
  test(`${row.callback} becomes the event ${event}`, async t => {
    const session = await loggedIn(t);
    engine.fire(row.callback, row.args, { room });
    const prefix = row.device ? [] : ['me', 'room 1'];
    assert.deepEqual(session.events(), [{ key: event, parms: [...prefix, ...(row.values ?? row.args)] }]);
    const expected = row.log.map(message => ['DEBUG', sink + row.callback, message]);
    assert.deepEqual(log.brief(), [...expected, ['DEBUG', onEvent, `onEvent end:${event}`]]);
  });
}

test('the table names every callback but the video frame', () => {
  assert.equal(new Set(rows.map(row => row.callback)).size, 17);
});

test('the log names the engine thread that called', async t => {
  await loggedIn(t);
  engine.fire('OnVideoDeviceStateChange', [1]);
  const [record] = log.records();
  assert.notEqual(record.thread, currentThread());
});

test('an event is a plain object with "key" and "parms" alone', async t => {
  const session = await loggedIn(t);
  engine.fire('OnVideoDeviceStateChange', [1]);
  const [event] = session.events();
  assert.deepEqual(Reflect.ownKeys(event), ['key', 'parms']);
  assert.ok(Array.isArray(event.parms));
  assert.equal(Object.getPrototypeOf(event), Object.prototype);
});

test('with no pending events the result is an empty array', t => {
  const session = newSession(t);
  const events = session.events();
  assert.ok(Array.isArray(events));
  assert.equal(events.length, 0);
});

test('two polls never return the same event, and the order is kept', async t => {
  const session = await loggedIn(t);
  for (let i = 0; i < 3; i++) engine.fire('OnVideoDeviceStateChange', [i]);
  assert.deepEqual(session.events().map(event => event.parms), [[0], [1], [2]]);
  assert.deepEqual(session.events(), []);
  engine.fire('OnVideoDeviceStateChange', [3]);
  assert.deepEqual(session.events().map(event => event.parms), [[3]]);
});

test('a wrong argument count returns undefined without throwing or draining', async t => {
  const session = await loggedIn(t);
  engine.fire('OnVideoDeviceStateChange', [1]);
  forget();
  assert.equal(addon.loadNodeEvents(), undefined);
  assert.equal(addon.loadNodeEvents(session.handle, 1), undefined);
  assert.equal(addon.loadNodeEvents({}, {}), undefined);
  assert.deepEqual(log.records(), []);
  assert.equal(session.events().length, 1);
});

test('an empty room id reads "null", an empty local user id reads as empty text', async t => {
  const session = await loggedIn(t);
  engine.fire('OnRoomStateChange', [1], { room: { roomId: '', localUid: '' } });
  assert.deepEqual(session.events()[0].parms, ['', 'null', 1]);
});

test('absent texts read as undefined at their places', async t => {
  const session = await loggedIn(t);
  engine.fire('OnAudioStateChanged', [null, 1], { room });
  engine.fire('OnVideoStateChanged', [null, 1, 2, 3], { room });
  engine.fire('OnActiveSpeaker', [null, 1], { room });
  engine.fire('OnRoomError', [1, null], { room });
  engine.fire('OnCustomMessage', [null, null, null], { room });
  engine.fire('OnSnapshotTaken', [null, 1, null, 2, 3, 4], { room });
  engine.fire('OnDataMessageReceived', [null], { room });
  engine.fire('OnDataChannelStateChanged', [1, null], { room });
  engine.fire('OnVideoDeviceStateChange', [9]);
  const none = undefined;
  assert.deepEqual(session.events().map(event => [...event.parms]), [
    ['me', 'room 1', none, 1],
    ['me', 'room 1', none, 1, 2, 3],
    ['me', 'room 1', none, 1],
    ['me', 'room 1', 1, none],
    ['me', 'room 1', none, none, none],
    ['me', 'room 1', none, 1, none, 2, 3, 4],
    ['me', 'room 1', none],
    ['me', 'room 1', 1, none],
    [9],
  ]);
});

test('empty texts stay empty texts', async t => {
  const session = await loggedIn(t);
  engine.fire('OnCustomMessage', ['', '', ''], { room });
  engine.fire('OnAudioStateChanged', ['', 1], { room });
  assert.deepEqual(session.events().map(event => event.parms.slice(2)), [['', '', ''], ['', 1]]);
});

test('a member state without a user name does nothing at all', async t => {
  const session = await loggedIn(t);
  for (const state of [1, 2, 4, 18]) engine.fire('OnRoomMemberStateChange', [null, state], { room });
  assert.deepEqual(session.events(), []);
  assert.deepEqual(log.records(), []);
});

test('state 18 yields exactly one event with the two room values', async t => {
  const session = await loggedIn(t);
  engine.fire('OnRoomMemberStateChange', ['me', 18], { room });
  assert.deepEqual(session.events(), [{ key: 'OnRepeatLogin', parms: ['me', 'room 1'] }]);
});

test('network quality is forwarded for the local user only', async t => {
  const session = await loggedIn(t);
  for (const user of ['ann', 'm', 'mee', 'ME', '', null]) {
    engine.fire('OnNetworkQuality', [user, 1, 2], { room });
  }
  assert.deepEqual(session.events(), []);
  assert.deepEqual(log.records(), []);
  engine.fire('OnNetworkQuality', ['me', 1, 2], { room });
  assert.deepEqual(session.events().map(event => event.key), ['OnNetworkQuality']);
});

test('volumes without an entry yield an empty list', async t => {
  const session = await loggedIn(t);
  engine.fire('OnAudioVolumeIndication', [[]], { room });
  assert.deepEqual(session.events()[0].parms, ['me', 'room 1', {}]);
  assert.ok(log.has('DEBUG', `${sink}OnAudioVolumeIndication`,
    'onAudioVolumeIndication:volumes size:0'));
});

test('device volumes carry a boolean and no room', async t => {
  const session = await loggedIn(t);
  engine.fire('OnAudioDeviceVolumeChanged', [1, 2, false], { room });
  assert.deepEqual(session.events(), [{ key: 'OnAudioDeviceVolumeChanged', parms: [1, 2, false] }]);
});

test('video frames neither log nor become events', async t => {
  const session = await loggedIn(t);
  engine.fireFrame('me', { width: 2, height: 2, streamType: 0 }, { room });
  assert.deepEqual(session.events(), []);
  assert.deepEqual(log.messages().filter(message => !message.startsWith('Emit event')), []);
});

test('a "%" in an event text is written as it is', async t => {
  await loggedIn(t);
  engine.fire('OnRoomError', [1, '%s%n%5$d'], { room });
  assert.ok(log.has('DEBUG', `${sink}OnRoomError`, 'OnRoomError:errCode:1,reason:%s%n%5$d'));
});

test('the text of a message is logged, its other two texts are not', async t => {
  await loggedIn(t);
  engine.fire('OnCustomMessage', ['visible', 'hidden', 'hidden'], { room });
  assert.ok(log.messages().every(message => !message.includes('hidden')));
});

test('events fired from many threads all arrive, each once', async t => {
  const session = await loggedIn(t);
  const threads = 8;
  const count = 500;
  engine.fire('OnRoomStateChange', [0], { room, threads, count, sequence: 0, background: true });
  const seen = [];
  while (seen.length < threads * count) {
    const events = await session.eventsWhen(1);
    seen.push(...events.map(event => event.parms[2]));
  }
  assert.equal(new Set(seen).size, threads * count);
  for (let thread = 0; thread < threads; thread++) {
    const own = seen.filter(value => Math.floor(value / count) === thread);
    assert.deepEqual(own, [...own].sort((a, b) => a - b), 'one thread keeps its order');
  }
  assert.deepEqual(session.events(), []);
});

test('UnInit empties the pending events, also when not initialised', async t => {
  const session = await loggedIn(t);
  engine.fire('OnVideoDeviceStateChange', [1]);
  assert.equal(session.json('UnInit'), 0);
  assert.deepEqual(session.events(), []);
  engine.fire('OnVideoDeviceStateChange', [2], { late: true });
  assert.equal(session.json('UnInit'), -1);
  assert.deepEqual(session.events(), []);
});

test('events from inside UnInit are queued, since the queue is emptied first', async t => {
  const session = await loggedIn(t);
  engine.fire('OnVideoDeviceStateChange', [1]);
  engine.addHook('UnInit', {
    run: { command: 'fire', callback: 'OnVideoDeviceStateChange', arguments: [2] },
    ownThread: true,
  });
  assert.equal(session.json('UnInit'), 0);
  assert.deepEqual(session.events().map(event => event.parms), [[2]]);
});

test('a second Init keeps the events of the first engine', async t => {
  const session = await loggedIn(t);
  engine.fire('OnVideoDeviceStateChange', [1]);
  await session.login();
  engine.fire('OnVideoDeviceStateChange', [2]);
  assert.deepEqual(session.events().map(event => event.parms), [[1], [2]]);
});
