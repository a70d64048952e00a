// The paths that script can see, each beside its floor.
import { mkdtempSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { compare, compareAsync } from './measure.mjs';

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..');
const folder = path.join(root, 'build', 'release', 'bench_dist');
const require = createRequire(import.meta.url);
const module = require(path.join(folder, 'KavrinConferenceNodeExt.node'));
const addon = require(path.join(folder, 'bench_addon.node'));

const scratch = mkdtempSync(path.join(os.tmpdir(), 'kavrin-bench-'));
const handle = module.createConfEngine();
const rows = [];
const add = (row) => rows.push(compare(row));

function initialise(logPath) {
  const login = JSON.stringify({ rootHost: 'bench', logPath, puid: 'local', password: '', name: 'Bench' });
  module.execJsonParamFunWithCallback(handle, 'Init', login, () => {});
}

const muteParameters = JSON.stringify({ isEnable: true, userId: 'user1' });

function callRow(name, limit, count, floor) {
  add({
    name, limit, count,
    ours: (n) => { for (let i = 0; i < n; i++) module.execJsonParamFun(handle, 'MuteAudio', muteParameters); },
    floor: (n) => { for (let i = 0; i < n; i++) floor(handle, 'MuteAudio', muteParameters); },
  });
}

function bindStreams(width, height, streams) {
  addon.makePictures(width, height, streams);
  const size = (width * height * 3) / 2;
  return Array.from({ length: streams }, (_, stream) => {
    const buffer = Buffer.alloc(size);
    addon.announce(stream);
    module.execFun(handle, 'BindingVideoFrame', [`user${stream}`, 0, buffer]);
    return buffer;
  });
}

const fetchText = (stream) => JSON.stringify({ uid: `user${stream}`, videoSourceType: 0 });

// Rows without a limit show how a path grows. How fast a copy is depends on where the memory lies that
// either side happened to get, by up to a tenth, so every round has memory of its own.
function frameRow(name, width, height, streams, count, limit = 1.05) {
  const texts = Array.from({ length: streams }, (_, stream) => fetchText(stream));
  let buffers = [];
  const ours = (n) => {
    for (let i = 0; i < n; i++) {
      const stream = i % streams;
      addon.deliver(stream);
      module.execJsonParamFun(handle, 'GetVideoFrame', texts[stream]);
    }
  };
  const floor = (n) => {
    for (let i = 0; i < n; i++) {
      const stream = i % streams;
      addon.floorCopyIn(stream);
      addon.floorCopyOut(stream, buffers[stream]);
    }
  };
  const prepare = () => {
    for (let stream = 0; stream < streams; stream++) addon.withdraw(stream);
    buffers = bindStreams(width, height, streams);
    gc();
    ours(streams);
    floor(streams);
  };
  add({ name, limit, count, rounds: 21, prepare, ours, floor });
}

function idleFetchRow(streams) {
  bindStreams(64, 64, streams);
  const texts = Array.from({ length: streams }, (_, stream) => fetchText(stream));
  for (let stream = 0; stream < streams; stream++) {
    addon.deliver(stream);
    module.execJsonParamFun(handle, 'GetVideoFrame', texts[stream]);
  }
  add({
    name: `GetVideoFrame with nothing new, ${streams} streams`, limit: streams === 16 ? 1.3 : null, count: 100_000,
    ours: (n) => { for (let i = 0; i < n; i++) module.execJsonParamFun(handle, 'GetVideoFrame', texts[i % streams]); },
    floor: (n) => { for (let i = 0; i < n; i++) addon.floorCall(handle, 'GetVideoFrame', texts[i % streams]); },
  });
}

// Polls of few events are over soon and take more rounds. What they leave to the garbage collector is
// collected between turns.
function pollRow(events, rounds = 9) {
  const drain = () => module.loadNodeEvents(handle);
  addon.fireEvents(events, 1);
  add({
    name: `event, queued to script object, ${events} a poll`, limit: 1.15, count: events, rounds,
    ours: drain, floor: (n) => addon.floorEvents(n),
    reset: () => { drain(); gc(); addon.fireEvents(events, 1); },
  });
  drain();
}

// A post is done when script's callback has run, so this row turns the event loop.
async function postRow(inFlight) {
  const timed = (begin) => new Promise((resolve) => {
    let left = inFlight;
    const start = process.hrtime.bigint();
    begin(() => { if (--left === 0) resolve(Number(process.hrtime.bigint() - start) / inFlight); });
  });
  addon.announce(0);
  let listener = null;
  module.on(handle, 'onFrameSizeChanged', () => listener(), {});
  rows.push(await compareAsync({
    name: `post to callback, ${inFlight} in flight`, limit: 1.2, rounds: 99,
    ours: () => timed((done) => { listener = done; addon.fireSizeChanges(inFlight); }),
    floor: () => timed((done) => addon.floorPosts(inFlight, done)),
  }));
  module.off(handle, 'onFrameSizeChanged');
}

initialise('/nonexistent');
callRow('JSON method, no log open', 1.5, 100_000, addon.floorCall);
for (const streams of [1, 4, 16, 64]) idleFetchRow(streams);
frameRow('frame to script buffer, 720p warm', 1280, 720, 1, 500);
frameRow('frame to script buffer, 720p cold', 1280, 720, 32, 512);
frameRow('frame to script buffer, 1080p warm', 1920, 1080, 1, 300);
frameRow('frame to script buffer, 1080p cold', 1920, 1080, 16, 256);
for (const streams of [1, 4, 16, 64]) {
  frameRow(`frame to script buffer, 360p, ${streams} streams`, 640, 360, streams, 1024, null);
}
pollRow(100, 99);
pollRow(1000, 49);
pollRow(10_000, 49);
pollRow(100_000, 21);
pollRow(1_000_000, 11);
await postRow(1000);
addon.openFloorLog(path.join(scratch, 'floor.log'));
initialise(scratch);
callRow('JSON method, log open', 1.15, 10_000, addon.floorLoggedCall);
module.destroyConfEngine(handle);
rmSync(scratch, { recursive: true });
console.error(JSON.stringify(rows));
