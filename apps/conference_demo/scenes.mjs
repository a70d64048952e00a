// What the members of the demo conference do, scene by scene.
import { statSync } from 'node:fs';
import path from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';

import { writeContactSheet, writePicture } from './picture.mjs';
import { say } from './transcript.mjs';

const camera = 0;
const cameraStarted = 4;
const memberLeft = 2;
const channelOpen = 2;
const largestPicture = (1920 * 1080 * 3) / 2;

export async function logIn(participant, logPath) {
  const code = await participant.later('Init', {
    rootHost: 'demo.local', logPath, puid: participant.userId, password: 'demo', name: participant.name,
  });
  if (code !== 0) throw new Error(`${participant.name}: login answered ${code}`);
  say(participant.name, `logged in as "${participant.userId}"`);
}

/** Everybody joins; done when everybody has been told that the cameras of the others run. */
export async function join(everybody, roomId) {
  const cameras = everybody.flatMap((watcher) => everybody
    .filter((shown) => shown !== watcher)
    .map(({ userId }) => watcher.next('OnRoomMemberStateChange',
      (_uid, _room, who, state) => who === userId && state === cameraStarted)));
  for (const participant of everybody) {
    participant.call('EnablePublish', { enableAudio: true, enableVideo: true });
    participant.call('EnableSubscribe', { enableAudio: true, enableVideo: true });
    participant.call('EnableAudioVolumeIndication', { isEnable: true, cycleTime: 1000 });
    participant.call('JoinRoom', {
      roomId, userExtendedInfo: JSON.stringify({ seat: everybody.indexOf(participant) + 1 }),
    });
  }
  await Promise.all(cameras);
}

export function showRoster(participant) {
  for (const user of participant.query('GetRoomAttendees')) {
    say(participant.name, `${user.m_pUserId} "${user.m_pUserName}" ${user.m_pUserExtInfo}`);
  }
}

export async function chat(alice, bob, carol) {
  let received = bob.next('OnCustomMessage');
  alice.call('SendCustomMessage', { msg: 'Hello Bob, can you see me?', toUser: bob.userId });
  await received;
  received = Promise.all([alice.next('OnCustomMessage'), carol.next('OnCustomMessage')]);
  const code = await bob.later('AsyncSendCustomMessage', { msg: 'Yes, loud and clear. 你好!', toUser: '' });
  say(bob.name, `the room got the message, code ${code}`);
  await received;
}

export async function useTopics(alice, bob, carol) {
  const open = [alice, bob, carol].map((participant) => {
    const opened = participant.next('OnDataChannelStateChanged', (_uid, _room, state) => state === channelOpen);
    participant.call('CreateDataChannel');
    return opened;
  });
  await Promise.all(open);
  bob.call('SubscribeData', { topic: 'agenda' });
  carol.call('SubscribeData', { topic: 'room/members' });
  const received = bob.next('OnDataMessageReceived');
  alice.call('SendCustomMessage', { msg: '1. Introductions 2. Pictures 3. Good byes', toUser: '#agenda' });
  await received;
}

/** Copies the pictures of `shown` for a while and tells the rate; resolves with the last ones. */
export async function watch(watcher, shown, milliseconds) {
  const views = shown.map((participant) => ({
    participant, frames: 0, last: null, picture: watcher.watch(participant.userId, camera, largestPicture),
  }));
  const begin = Date.now();
  let second = 1;
  while (Date.now() - begin < milliseconds) {
    for (const view of views) {
      const fetched = watcher.fetch(view.participant.userId, camera);
      if (fetched.ret !== 0) continue;
      view.frames++;
      view.last = fetched;
    }
    if (Date.now() - begin >= second * 1000) {
      const rates = views.map(({ participant, frames }) => `${participant.name} ${(frames / second).toFixed(1)}`);
      say(watcher.name, `frames per second: ${rates.join(', ')}`);
      second++;
    }
    await sleep(5);
  }
  const unseen = views.find(({ last }) => last === null);
  if (unseen) throw new Error(`${watcher.name} saw no picture of ${unseen.participant.name}`);
  return views.map(({ picture, last }) => ({ picture, width: last.width, height: last.height }));
}

export async function saveFiles(alice, bob, seen, outFolder) {
  const tell = (text, file) =>
    say(alice.name, `${text} out/${path.basename(file)} (${statSync(file).size} bytes)`);
  const sheet = path.join(outFolder, 'contact-sheet.png');
  writeContactSheet(sheet, seen);
  tell('everybody, from fetched bytes:', sheet);
  const assembled = path.join(outFolder, 'bob-assembled.png');
  writePicture(assembled, seen[0].picture, seen[0].width, seen[0].height);
  tell('Bob, from fetched bytes:', assembled);
  const snapshot = path.join(outFolder, 'bob-snapshot.png');
  const taken = alice.next('OnSnapshotTaken');
  alice.call('TakeSnapshot', { userId: bob.userId, srcType: camera, filePath: snapshot });
  const code = (await taken).at(-1);
  if (code !== 0) throw new Error(`the snapshot failed with ${code}`);
  tell('Bob, written by the engine:', snapshot);
}

export async function hostControl(alice, bob, carol) {
  const refused = bob.ask('KickOut', { userId: carol.userId });
  if (refused === 0) throw new Error('a member who is not the host could remove another');
  say(bob.name, `is not the host and may not remove Carol: code ${refused}`);
  const muted = carol.next('OnAudioStateChanged', (_uid, _room, who) => who === carol.userId);
  alice.call('MuteAudio', { userId: carol.userId, isEnable: true });
  await muted;
  await sleep(2200); // a whole reporting period of volumes without Carol
  const gone = bob.next('OnRoomMemberStateChange',
    (_uid, _room, who, state) => who === carol.userId && state === memberLeft);
  const removed = carol.next('OnRoomStateChange');
  alice.call('KickOut', { userId: carol.userId });
  await Promise.all([gone, removed]);
}

export async function sayGoodBye(alice, bob, carol) {
  const closed = bob.next('OnRoomStateChange');
  alice.call('CloseRoom');
  await closed;
  for (const participant of [alice, bob, carol]) {
    participant.call('UnInit');
    participant.end();
    say(participant.name, 'logged out');
  }
}
