// Rooms: joining and leaving, members, room records and custom messages.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { engine, settle, until } from './support/scripted.mjs';
import { forget, inRoom, log, loggedIn, newSession } from './support/session.mjs';
import { documentsDir } from './support/workspace.mjs';

const tag = name => `KavrinNodeConferenceEngine::${name}`;
const logI = tag('LogI');

const ann = { name: 'Ann', id: 'ann', extendedInfo: 'info', audioState: 1, cameraState: 255,
  screenShareState: 3 };
const annObject = { m_pUserName: 'Ann', m_pUserId: 'ann', m_audioState: 1, m_cameraState: 255,
  m_screenShareState: 3, m_pUserExtInfo: 'info' };
const bob = { name: 'Bob', id: 'bob', extendedInfo: '' };

test('JoinRoom turns on rendering, gives the extended information and joins', async t => {
  const session = await loggedIn(t);
  engine.setResult('SetUserExtendedInfo', 5);
  assert.equal(session.json('JoinRoom', { roomId: 'r 1', userExtendedInfo: 'x%s' }), 0);
  assert.deepEqual(engine.operations(), [
    ['EnableExternalRender', true], ['SetUserExtendedInfo', 'x%s'], ['JoinRoom', 'r 1'],
  ]);
  assert.deepEqual(log.brief(), [
    ['INFO', tag('JoinRoom'), 'EnableExternalRender args: true'],
    ['INFO', tag('JoinRoom'), 'SetUserExtendedInfo : x%s'],
    ['INFO', tag('JoinRoom'), 'SetUserExtendedInfo return 5'],
    ['INFO', tag('JoinRoom'), 'method enter...'],
    ['INFO', tag('JoinRoom'), 'method return 0'],
  ]);
});

test('JoinRoom without extended information does not set any', async t => {
  const session = await loggedIn(t);
  for (const params of [{ roomId: 'r' }, { roomId: 'r', userExtendedInfo: '' }]) {
    forget();
    engine.setResult('JoinRoom', 6);
    assert.equal(session.json('JoinRoom', params), 6);
    assert.deepEqual(engine.operations(), [['EnableExternalRender', true], ['JoinRoom', 'r']]);
  }
});

test('a second JoinRoom in a room answers 0 and calls nothing', async t => {
  const session = await inRoom(t);
  assert.equal(session.json('JoinRoom', { roomId: 'other' }), 0);
  assert.equal(session.json('JoinRoom', 'not even JSON'), 0);
  assert.deepEqual(engine.calls(), []);
  assert.deepEqual(log.brief()[0], ['DEBUG', tag('JoinRoom'), 'cur is in room']);
  assert.equal(session.json('JoinRoom', ''), -1, 'an empty text comes first');
});

test('a JoinRoom that fails leaves the room flag down', async t => {
  const session = await loggedIn(t);
  engine.setResult('JoinRoom', -5);
  assert.equal(session.json('JoinRoom', { roomId: 'r' }), -5);
  engine.setResult('JoinRoom', 0);
  forget();
  assert.equal(session.json('JoinRoom', { roomId: 'r' }), 0);
  assert.equal(engine.calls().length, 2);
});

test('JoinRoom with a bad text is -1 after rendering was turned on', async t => {
  const session = await loggedIn(t);
  for (const text of ['{', '{"roomId":5}', '[]']) {
    forget();
    assert.equal(session.json('JoinRoom', text), -1);
    assert.deepEqual(engine.operations(), [['EnableExternalRender', true]]);
    assert.equal(log.brief().pop()[0], 'ERROR');
  }
});

test('LeaveRoom leaves and lets a later JoinRoom in again', async t => {
  const session = await inRoom(t);
  assert.equal(session.json('LeaveRoom', ''), 0);
  assert.deepEqual(engine.operations(), [['LeaveRoom']]);
  assert.deepEqual(log.brief(), [
    ['INFO', tag('LeaveRoom'), 'method enter...'], ['INFO', tag('LeaveRoom'), 'method return 0'],
  ]);
  forget();
  assert.equal(session.json('JoinRoom', { roomId: 'r' }), 0);
  assert.equal(engine.operations().length, 2);
});

test('a LeaveRoom that fails keeps the room', async t => {
  const session = await inRoom(t);
  engine.setResult('LeaveRoom', 9);
  assert.equal(session.json('LeaveRoom'), 9);
  forget();
  assert.equal(session.json('JoinRoom', { roomId: 'r' }), 0);
  assert.deepEqual(engine.calls(), []);
});

test('after UnInit and a new Init the room flag is still up until LeaveRoom', async t => {
  const session = await inRoom(t);
  assert.equal(session.json('UnInit'), 0);
  assert.equal(session.json('JoinRoom', { roomId: 'r' }), 0, 'without an engine');
  await session.login();
  forget();
  assert.equal(session.json('JoinRoom', { roomId: 'r' }), 0);
  assert.deepEqual(engine.calls(), []);
  assert.equal(session.json('LeaveRoom'), 0);
  assert.equal(session.json('JoinRoom', { roomId: 'r' }), 0);
  assert.ok(engine.operations().some(([operation]) => operation === 'JoinRoom'));
});

test('SendCustomMessage waits for the completion and returns its code', async t => {
  const session = await loggedIn(t);
  for (const [mode, code] of [['automatic', 0], ['automatic', -3], ['inline', 12]]) {
    engine.setPlan('SendCustomMessage', { mode, code, delayMs: 20 });
    assert.equal(session.json('SendCustomMessage', { msg: 'hi', toUser: 'ann' }), code);
  }
  assert.deepEqual(engine.operations(), Array(3).fill(['SendCustomMessage', 'hi', 'ann']));
  engine.join();
  assert.deepEqual(log.brief().slice(0, 2), [
    ['INFO', tag('SendCustomMessage'), 'method enter...'],
    ['INFO', tag('SendCustomMessage'), 'method return 0'],
  ]);
});

test('a custom message to nobody goes to the whole room', async t => {
  const session = await loggedIn(t);
  for (const params of [{ msg: 'm', toUser: '' }, { msg: 'm' }, { msg: 'm', toUser: null }]) {
    engine.clearCalls();
    assert.equal(session.json('SendCustomMessage', params), 0);
    assert.equal(session.withCallback('AsyncSendCustomMessage', params, () => {}), 0);
    engine.join();
    assert.deepEqual(engine.operations(), Array(2).fill(['SendCustomMessage', 'm', null]));
  }
});

test('a completion without a text, or with any text, gives its code', async t => {
  const session = await loggedIn(t);
  for (const text of [null, '', 'text', 'x'.repeat(100000)]) {
    engine.setPlan('SendCustomMessage', { mode: 'automatic', code: 5, text });
    assert.equal(session.json('SendCustomMessage', { msg: 'm' }), 5);
    const codes = [];
    session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, (...args) => codes.push(args));
    await until(() => codes.length);
    assert.deepEqual(codes, [[5]], 'the code alone');
  }
});

test('a completion called twice answers SendCustomMessage once', async t => {
  const session = await loggedIn(t);
  engine.setPlan('SendCustomMessage', { mode: 'hold' });
  engine.completeSoon('SendCustomMessage', 21);
  assert.equal(session.json('SendCustomMessage', { msg: 'm' }), 21);
  engine.completeOnly(22, { times: 2 });
  assert.equal(engine.live().completions, 0);
});

test('a completion that is thrown away uncalled does not hang SendCustomMessage', async t => {
  const session = await loggedIn(t);
  engine.setPlan('SendCustomMessage', { mode: 'drop' });
  assert.equal(session.json('SendCustomMessage', { msg: 'm' }), -1);
  assert.deepEqual(log.brief().pop().slice(0, 2), ['ERROR', tag('SendCustomMessage')]);
});

test('an exception from SendCustomMessage is -1 and logged', async t => {
  const session = await loggedIn(t);
  engine.setThrow('SendCustomMessage', 'thrown %n');
  assert.equal(session.json('SendCustomMessage', { msg: 'm' }), -1);
  assert.deepEqual(log.brief().pop(), ['ERROR', tag('SendCustomMessage'), 'thrown %n']);
  forget();
  assert.equal(session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, () => assert.fail('called')), -1);
  assert.deepEqual(log.brief().pop(), ['ERROR', tag('AsyncSendCustomMessage'), 'thrown %n']);
  await settle();
});

test('AsyncSendCustomMessage returns at once and answers the callback later', async t => {
  const session = await loggedIn(t);
  engine.setPlan('SendCustomMessage', { mode: 'hold' });
  const calls = [];
  const result = session.withCallback('AsyncSendCustomMessage', { msg: 'm', toUser: 'ann' },
    function (...args) { calls.push([this, ...args]); });
  assert.equal(result, 0);
  assert.deepEqual(engine.operations(), [['SendCustomMessage', 'm', 'ann']]);
  log.mark();
  engine.completeOnly(31, { text: 'answer' });
  assert.deepEqual(log.brief(), [['INFO',
    tag('AsyncSendCustomMessage::<lambda_1>::operator ()'), 'method return 31']]);
  await until(() => calls.length);
  assert.deepEqual(calls, [[globalThis, 31]]);
});

test('two pending messages keep their own callbacks, the second under a name of its own', async t => {
  const session = await loggedIn(t);
  engine.setPlan('SendCustomMessage', { mode: 'hold' });
  const codes = {};
  for (const name of ['first', 'second', 'third']) {
    session.withCallback('AsyncSendCustomMessage', { msg: name }, code => (codes[name] = code));
  }
  const held = engine.completions().map(({ id }) => id);
  held.reverse().forEach((id, index) => engine.complete(id, 100 + index, { keep: true }));
  await until(() => Object.keys(codes).length === 3);
  assert.deepEqual(codes, { third: 100, second: 101, first: 102 });
  forget();
  held.forEach(id => engine.complete(id, 1));
  const missed = log.brief().filter(([level, from]) => level === 'INFO' && from === logI)
    .map(([, , message]) => message)
    .filter(message => message.startsWith('EmitApiCallback: not find event: '));
  const names = missed.map(message => message.split(': ').pop());
  assert.equal(new Set(names).size, 3);
  assert.ok(names.includes('SendCustomMessage'));
  assert.equal(names.filter(name => /^SendCustomMessage_\d{13}$/.test(name)).length, 2);
});

test('a completion that comes twice reaches the callback once', async t => {
  const session = await loggedIn(t);
  engine.setPlan('SendCustomMessage', { mode: 'hold' });
  const codes = [];
  session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, code => codes.push(code));
  engine.completeOnly(1, { threads: 8, times: 5 });
  await until(() => codes.length);
  await settle();
  assert.deepEqual(codes, [1]);
});

test('GetRoomAttendees gives an array of user objects', async t => {
  const session = await loggedIn(t);
  engine.setOutput('GetRoomAttendees', [ann, bob]);
  const users = session.call('GetRoomAttendees');
  assert.ok(Array.isArray(users));
  assert.deepEqual(users[0], annObject);
  assert.deepEqual(Object.keys(users[0]), Object.keys(annObject));
  assert.equal(users[1].m_pUserId, 'bob');
  assert.deepEqual(log.brief(), [
    ['INFO', tag('GetRoomAttendees'), 'args:'],
    ['INFO', tag('GetRoomAttendees'), 'method return vector size:2'],
  ]);
});

test('users without texts are objects with empty texts', async t => {
  const session = await loggedIn(t);
  engine.setOutput('GetRoomAttendees', [{}]);
  const [user] = session.call('GetRoomAttendees');
  assert.deepEqual(user, { m_pUserName: '', m_pUserId: '', m_audioState: 0, m_cameraState: 0,
    m_screenShareState: 0, m_pUserExtInfo: '' });
});

test('GetRoomAttendeeCount counts', async t => {
  const session = await loggedIn(t);
  for (const count of [0, 3]) {
    forget();
    engine.setOutput('GetRoomAttendees', Array(count).fill(bob));
    assert.equal(session.json('GetRoomAttendeeCount', ''), count);
    assert.deepEqual(log.brief(), [
      ['INFO', tag('GetRoomAttendeeCount'), 'method enter...'],
      ['INFO', tag('GetRoomAttendeeCount'), `method return user size:${count}`],
    ]);
  }
});

test('GetRoomInfo gives the room object', async t => {
  const session = await loggedIn(t);
  engine.setOutput('GetRoomInfo', { conferenceState: 1, audioState: -2, videoState: 3,
    shareState: 4, roomId: 'r', users: [ann, bob] });
  const info = session.call('GetRoomInfo');
  assert.deepEqual(info, { m_conferenceState: 1, m_audioState: -2, m_videoState: 3,
    m_shareState: 4, m_roomId: 'r' });
  assert.deepEqual(Object.keys(info),
    ['m_conferenceState', 'm_audioState', 'm_videoState', 'm_shareState', 'm_roomId']);
  assert.deepEqual(log.brief(), [
    ['INFO', tag('GetRoomInfo'), 'args:'],
    ['INFO', tag('GetRoomInfo'), 'method return vector size:2'],
  ]);
});

test('GetAttendeeInfo finds a user by id', async t => {
  const session = await loggedIn(t);
  engine.setOutput('GetRoomInfo', { users: [{}, bob, ann] });
  assert.deepEqual(session.call('GetAttendeeInfo', 'ann'), annObject);
  assert.deepEqual(Object.keys(session.call('GetAttendeeInfo', 'ann')), Object.keys(annObject));
  assert.deepEqual(log.brief().slice(0, 2), [
    ['INFO', tag('GetAttendeeInfo'), 'args:ann'],
    ['INFO', tag('GetAttendeeInfo'), 'method return user size:3'],
  ]);
  for (const unknown of ['Ann', 'an', 'anna', 'nobody']) {
    assert.equal(session.call('GetAttendeeInfo', unknown), -1);
  }
});

test('argument-list methods with a wrong count give undefined', async t => {
  const session = await loggedIn(t);
  assert.equal(session.call('GetAttendeeInfo', 'a', 'b'), undefined);
  assert.equal(session.call('GetAttendeeInfo'), undefined);
  assert.equal(session.call('GetRoomAttendees', 1), undefined);
  assert.equal(session.call('GetRoomInfo', 1), undefined);
  assert.deepEqual(engine.calls(), []);
  assert.deepEqual(log.records().filter(record => record.tag === 'verifyArgsCount')
    .map(({ level, message }) => [level, message]), [
    ['ERROR', 'args count error:need args count 1,but real get args count 2'],
    ['ERROR', 'args count error:need args count 1,but real get args count 0'],
    ['ERROR', 'args count error:need args count 0,but real get args count 1'],
    ['ERROR', 'args count error:need args count 0,but real get args count 1'],
  ]);
});

test('no record of a room query is left behind', async t => {
  const session = await loggedIn(t);
  engine.setOutput('GetRoomInfo', { users: [ann, bob] });
  const before = engine.live();
  session.call('GetRoomInfo');
  session.call('GetAttendeeInfo', 'ann');
  session.call('GetAttendeeInfo', 'nobody');
  assert.deepEqual(engine.live(), before);
  engine.setOutput('GetRoomAttendees', [ann, bob]);
  session.call('GetRoomAttendees');
  session.json('GetRoomAttendeeCount');
  session.destroy();
  assert.equal(engine.live().users, 0);
});

test('GetLogPath gives the default folder, which it creates', async t => {
  const session = newSession(t);
  const expected = path.join(documentsDir, path.parse(process.execPath).name);
  assert.equal(session.json('GetLogPath', ''), expected);
  assert.ok(fs.statSync(expected).isDirectory());
  await session.login();
  log.mark();
  assert.equal(session.json('GetLogPath', 'ignored'), expected);
  assert.deepEqual(log.brief(), [['INFO', tag('GetLogPath'), `method return: ${expected}`]]);
});
