// A two-party conference in one process, through the eight functions of the module alone.
import { mkdirSync, statSync } from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';

import { Participant } from './participant.mjs';
import { writePicture } from './picture.mjs';
import { bar, say, step } from './transcript.mjs';

const [root, outFolder] = process.argv.slice(2);
const library = path.join(root, 'build', 'release', 'dist');
const module = createRequire(import.meta.url)(path.join(library, 'KavrinConferenceNodeExt.node'));

const roomId = 'demo-room';
const camera = 0;
const cameraStarted = 4;
const largestPicture = (1920 * 1080 * 3) / 2;
const watchMs = 4000;
const steps = 7;

const memberStates = new Map([
  [1, 'joined'], [2, 'left'], [3, 'is the host'], [4, 'started the camera'], [5, 'started a screen share'],
  [7, 'stopped the camera'], [8, 'stopped the screen share'],
]);

function narrate(participant) {
  const { name } = participant;
  const describe = {
    OnRoomStateChange: (state) => `room state ${state}`,
    OnRoomMemberStateChange: (who, state) => `sees ${who}: ${memberStates.get(state) ?? `state ${state}`}`,
    OnCustomMessage: (message, from) => `reads "${message}" from ${from}`,
    OnActiveSpeaker: (who, volume) => `active speaker ${who} (${volume})`,
    OnAudioVolumeIndication: (volumes) =>
      Object.values(volumes).map(({ uid, volume }) => `${uid} ${bar(volume, 255)}`).join('  ') || 'silence',
    OnRtcStats: (sent, received, lostOut, lostIn, delay) =>
      `sends ${sent} kbit/s, receives ${received} kbit/s, lost ${lostOut}/${lostIn} %, delay ${delay} ms`,
    OnSnapshotTaken: (who, _type, file, width, height, code) =>
      `snapshot of ${who}: ${code === 0 ? `${width}x${height} in ${path.basename(file)}` : `error ${code}`}`,
  };
  participant.on('any', (event, [, , ...values]) => {
    if (describe[event]) say(name, describe[event](...values));
  });
}

async function logIn(participant) {
  const code = await participant.later('Init', {
    rootHost: 'demo.local', logPath: path.join(outFolder, 'logs'), puid: participant.userId,
    password: 'demo', name: participant.name,
  });
  if (code !== 0) throw new Error(`${participant.name}: login answered ${code}`);
  say(participant.name, `logged in as "${participant.userId}"`);
}

function join(participant) {
  participant.call('EnablePublish', { enableAudio: true, enableVideo: true });
  participant.call('EnableSubscribe', { enableAudio: true, enableVideo: true });
  participant.call('EnableAudioVolumeIndication', { isEnable: true, cycleTime: 1000 });
  participant.call('JoinRoom', { roomId, userExtendedInfo: JSON.stringify({ role: participant.name }) });
}

/** Resolves when `watcher` has been told that the camera of `shown` runs. */
function cameraOf(watcher, shown) {
  return watcher.next('OnRoomMemberStateChange',
    (_uid, _room, who, state) => who === shown.userId && state === cameraStarted);
}

async function chat(alice, bob) {
  const received = bob.next('OnCustomMessage');
  alice.call('SendCustomMessage', { msg: 'Hello Bob, can you see me?', toUser: bob.userId });
  await received;
  const answered = alice.next('OnCustomMessage');
  const code = await bob.later('AsyncSendCustomMessage', { msg: 'Yes, loud and clear. 你好!', toUser: '' });
  say(bob.name, `the room got the message, code ${code}`);
  await answered;
}

/** Copies pictures for a while and tells the rate; returns the last one. */
async function watch(watcher, shown) {
  const picture = watcher.watch(shown.userId, camera, largestPicture);
  const begin = Date.now();
  let last = null;
  let frames = 0;
  let second = 1;
  while (Date.now() - begin < watchMs) {
    const fetched = watcher.fetch(shown.userId, camera);
    if (fetched.ret === 0) {
      frames++;
      last = fetched;
    }
    if (Date.now() - begin >= second * 1000) {
      say(watcher.name, `has seen ${frames} frames of ${shown.name}, ${(frames / second).toFixed(1)} per second`);
      second++;
    }
    await sleep(5);
  }
  if (last === null) throw new Error(`${watcher.name} saw no picture of ${shown.name}`);
  return { picture, width: last.width, height: last.height };
}

function fileLine(file) {
  return `${path.relative(root, file)} (${statSync(file).size} bytes)`;
}

async function savePictures(alice, bob, seen) {
  const assembled = path.join(outFolder, 'bob-assembled.png');
  writePicture(assembled, seen.picture, seen.width, seen.height);
  const snapshot = path.join(outFolder, 'bob-snapshot.png');
  const taken = alice.next('OnSnapshotTaken');
  alice.call('TakeSnapshot', { userId: bob.userId, srcType: camera, filePath: snapshot });
  const code = (await taken).at(-1);
  if (code !== 0) throw new Error(`the snapshot failed with ${code}`);
  say(alice.name, `assembled from fetched bytes: ${fileLine(assembled)}`);
  say(alice.name, `written by the engine:        ${fileLine(snapshot)}`);
}

async function hold() {
  mkdirSync(path.join(outFolder, 'logs'), { recursive: true });
  const alice = new Participant(module, 'alice', 'Alice');
  const bob = new Participant(module, 'bob', 'Bob');
  const both = [alice, bob];
  step(1, steps, `Log in (engine ${alice.query('GetSDKVersion', library, '0.1.0')})`);
  await Promise.all(both.map(logIn));
  both.forEach(narrate);
  step(2, steps, `Join the room "${roomId}"`);
  const cameras = [cameraOf(alice, bob), cameraOf(bob, alice)];
  both.forEach(join);
  await Promise.all(cameras);
  step(3, steps, 'Roster');
  for (const user of alice.query('GetRoomAttendees')) {
    say(alice.name, `${user.m_pUserId} "${user.m_pUserName}" ${user.m_pUserExtInfo}`);
  }
  step(4, steps, 'Messages');
  await chat(alice, bob);
  step(5, steps, 'Pictures, volumes, statistics');
  const [seen] = await Promise.all([watch(alice, bob), watch(bob, alice)]);
  step(6, steps, 'Files');
  await savePictures(alice, bob, seen);
  step(7, steps, 'Good bye');
  const gone = alice.next('OnRoomMemberStateChange', (_uid, _room, _who, state) => state === 2);
  bob.call('LeaveRoom');
  await gone;
  alice.call('LeaveRoom');
  for (const participant of both) {
    participant.call('UnInit');
    participant.end();
    say(participant.name, 'logged out');
  }
}

hold().catch((error) => {
  say('', `failed: ${error.message}`);
  process.exit(1);
});
