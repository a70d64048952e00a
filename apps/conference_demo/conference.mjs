// A conference of three members in one process, through the eight functions of the module alone.
import { mkdirSync } from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';

import { narrate } from './narration.mjs';
import { Participant } from './participant.mjs';
import {
  chat, hostControl, join, logIn, saveFiles, sayGoodBye, showRoster, useTopics, watch,
} from './scenes.mjs';
import { say, step } from './transcript.mjs';

const [root, outFolder] = process.argv.slice(2);
const library = path.join(root, 'build', 'release', 'dist');
const module = createRequire(import.meta.url)(path.join(library, 'KavrinConferenceNodeExt.node'));

const roomId = 'demo-room';
const watchMs = 4000;
const logFolder = path.join(outFolder, 'logs');

async function hold() {
  mkdirSync(logFolder, { recursive: true });
  const [alice, bob, carol] = ['Alice', 'Bob', 'Carol']
    .map((name) => new Participant(module, name.toLowerCase(), name));
  const everybody = [alice, bob, carol];
  let seen = [];
  const scenes = [
    [`Log in (engine ${alice.query('GetSDKVersion', library, '0.1.0')})`,
      () => Promise.all(everybody.map((participant) => logIn(participant, logFolder)))],
    [`Join the room "${roomId}"`, () => { everybody.forEach(narrate); return join(everybody, roomId); }],
    ['Roster', () => showRoster(alice)],
    ['Messages', () => chat(alice, bob, carol)],
    ['Topics', () => useTopics(alice, bob, carol)],
    ['Pictures, volumes, statistics', async () => {
      alice.call('StartPreview');
      [seen] = await Promise.all([watch(alice, [bob, carol, alice], watchMs), watch(bob, [alice], watchMs)]);
    }],
    ['Files', () => saveFiles(alice, bob, seen, outFolder)],
    ['The host decides', () => hostControl(alice, bob, carol)],
    ['Good bye', () => sayGoodBye(alice, bob, carol)],
  ];
  for (const [index, [title, play]] of scenes.entries()) {
    step(index + 1, scenes.length, title);
    await play();
  }
}

hold().catch((error) => {
  say('', `failed: ${error.message}`);
  process.exit(1);
});
