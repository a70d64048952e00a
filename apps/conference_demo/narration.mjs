// What a member's events are in words. Numbers are explained in docs/engine.md.
import path from 'node:path';

import { bar, say } from './transcript.mjs';

const loudest = 100;

const memberStates = new Map([
  [1, 'joined'], [2, 'left'], [3, 'is the host'], [4, 'started the camera'],
  [5, 'started a screen share'], [6, 'has new information'], [7, 'stopped the camera'],
  [8, 'stopped the screen share'],
]);
const roomStates = new Map([
  [1, 'joining'], [2, 'joined'], [3, 'left'], [4, 'closed by the host'], [5, 'removed by the host'],
  [6, 'logged in elsewhere'], [10, 'could not join'],
]);
const streamStates = new Map([[0, 'off'], [1, 'on'], [2, 'muted'], [3, 'muted by the host']]);
const channelStates = new Map([[1, 'opening'], [2, 'open'], [3, 'closed']]);

const named = (names, value) => names.get(value) ?? `state ${value}`;

function levels(volumes) {
  const members = Object.values(volumes);
  return members.length === 0
    ? 'silence'
    : members.map(({ uid, volume }) => `${uid} ${bar(volume, loudest, 12)}`).join('  ');
}

function topicMessage(text) {
  const message = text.startsWith('{"topic":"room/members"') ? JSON.parse(text) : null;
  if (message === null) return `topic message: ${text}`;
  return `topic ${message.topic}: ${message.members.map(({ id }) => id).join(', ')} (host ${message.host})`;
}

const describe = {
  OnRoomStateChange: (state) => `room: ${named(roomStates, state)}`,
  OnRoomMemberStateChange: (who, state) => `sees ${who}: ${named(memberStates, state)}`,
  OnAudioStateChanged: (who, state) => `sees ${who}: microphone ${named(streamStates, state)}`,
  OnCustomMessage: (message, from) => `reads "${message}" from ${from}`,
  OnActiveSpeaker: (who) => `active speaker: ${who}`,
  OnAudioVolumeIndication: levels,
  OnRtcStats: (sent, received, _lostOut, lostIn, delay) =>
    `sends ${(sent / 1000).toFixed(1)} Mbit/s, receives ${(received / 1000).toFixed(1)} Mbit/s, ` +
    `lost ${lostIn} %, delay ${delay} ms`,
  OnSnapshotTaken: (who, _type, file, width, height, code) =>
    `snapshot of ${who}: ${code === 0 ? `${width}x${height} in ${path.basename(file)}` : `error ${code}`}`,
  OnDataChannelStateChanged: (state) => `data channel: ${named(channelStates, state)}`,
  OnDataMessageReceived: topicMessage,
};

/** Adds lines about a member's events to the transcript. */
export function narrate(participant) {
  participant.on('any', (event, [, , ...values]) => {
    if (describe[event]) say(participant.name, describe[event](...values));
  });
}
