// Loads the module for a while and reports resident memory: node play.mjs <kind> <parameters, JSON>
import fs from 'node:fs';
import { engine, isScripted, Participant, sleep } from '../life/participant.mjs';
import { resident, slope, stall, watch } from './samples.mjs';

const [kind, parameters] = [process.argv[2], JSON.parse(process.argv[3])];

const kQueueLimit = 1_000_000;
const kWidth = 1920;
const kHeight = 1080;
const kPicturesPerSecond = 30;
const members = ['me', 'ann', 'bob', 'eve'];
const room = { roomId: 'room', localUid: 'me' };

async function inRoom() {
  const participant = new Participant('me');
  await participant.login();
  participant.json('JoinRoom', { roomId: room.roomId });
  return participant;
}

const fireEvents = more => engine.fire('OnDataMessageReceived', ['data'], { room, ...more });

function receivePictures(participant, seconds) {
  for (const member of members) {
    engine.fire('OnRoomMemberStateChange', [member, 4], { room });
    participant.call('BindingVideoFrame', member, 0, Buffer.alloc(kWidth * kHeight * 1.5));
    engine.fireFrame(member, { width: kWidth, height: kHeight, streamType: 0 }, {
      room, background: true,
      count: kPicturesPerSecond * seconds, intervalUs: 1e6 / kPicturesPerSecond,
    });
  }
}

// 0 when there is a new picture of the member.
const fetch = (participant, uid) =>
  JSON.parse(participant.json('GetVideoFrame', { uid, videoSourceType: 0 })).ret;

// A sample every twentieth of the way, which is done in `step`s.
async function sampled(count, step) {
  const samples = [];
  for (let i = 0; i < count; i++) {
    await step(i);
    if (i % Math.ceil(count / 20) === 0) samples.push([i, resident()]);
  }
  // What is set up once, by the module and by Node, is there by half of the way.
  return { slope: slope(samples.slice(samples.length / 2)), samples };
}

// Lets completions and deliveries run, and the scripted engine forget its notes.
async function breathe() {
  await sleep(0);
  if (!isScripted) return;
  engine.join();
  engine.clearCalls();
}

const kinds = {
  // Bytes of a queued event, and what half as many more events than the bound take.
  async queue() {
    const participant = await inRoom();
    const before = resident();
    fireEvents({ count: kQueueLimit + 1 });
    const full = resident();
    fireEvents({ count: kQueueLimit / 2 });
    const beyond = resident() - full;
    participant.end();
    return { bytesPerEvent: (full - before) / kQueueLimit, beyond };
  },

  // Nobody polls and nobody fetches. The queue is filled at once and then pushed on: after `settle`
  // seconds memory is watched for `watched` seconds.
  async stalled({ threads, eventsPerSecond, settle, watched }) {
    const participant = await inRoom();
    participant.listen();
    const seconds = settle + watched;
    const burst = Math.ceil((kQueueLimit + 1) / threads);
    const paced = (eventsPerSecond * seconds) / threads;
    const start = performance.now();
    fireEvents({
      background: true, threads, burst,
      count: burst + paced, intervalUs: 1e6 * threads / eventsPerSecond,
    });
    receivePictures(participant, seconds);
    stall(settle);
    const samples = watch(watched);
    engine.join();
    const took = (performance.now() - start) / 1000;
    const events = participant.poll().length;
    const fetched = members.map(member => fetch(participant, member));
    participant.end();
    return {
      slope: slope(samples), samples, events, fetched,
      eventsPerSecond: paced * threads / took,
      picturesPerSecond: kPicturesPerSecond * seconds / took,
    };
  },

  // One engine joins and leaves, over and over.
  async joins({ count }) {
    const participant = await inRoom();
    const result = await sampled(count, async i => {
      participant.json('LeaveRoom');
      participant.json('JoinRoom', { roomId: `room ${i % 7}` });
      if (i % 16 > 0) return;
      await breathe();
      participant.poll();
    });
    participant.end();
    return result;
  },

  // A new handle for every join.
  handles({ count }) {
    return sampled(count, async i => {
      const participant = await inRoom();
      participant.listen();
      participant.end();
      if (i % 16 === 0) await breathe();
    });
  },
};

fs.writeFileSync(process.env.KAVRIN_REPORT, JSON.stringify(await kinds[kind](parameters)));
