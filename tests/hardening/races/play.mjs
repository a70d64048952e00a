// Eight engine threads report and answer while script takes away what they need:
//
//   node play.mjs <kind> <rounds>
import fs from 'node:fs';
import { setTimeout as sleep } from 'node:timers/promises';
import { engine } from '../../script/support/scripted.mjs';
import { Participant, seen } from '../life/participant.mjs';

const [kind, rounds] = [process.argv[2], Number(process.argv[3])];
const kThreads = 8;

const room = { roomId: 'r', localUid: 'ann' };
const storm = { room, threads: kThreads, background: true };

const traffic = {
  events(count) {
    engine.fire('OnDataMessageReceived', ['data'], { ...storm, count });
  },
  pictures(count) {
    engine.fireFrame('ann', { width: 8, height: 8, streamType: 0 }, { ...storm, threads: 4, count });
    engine.fireFrame('ann', { width: 4, height: 8, streamType: 0 }, { ...storm, threads: 4, count });
  },
  members(count) {
    for (const state of [4, 7]) {
      engine.fire('OnRoomMemberStateChange', ['bob', state], { ...storm, threads: 4, count });
    }
    engine.fireFrame('bob', { width: 8, height: 4, streamType: 0 }, { ...storm, count });
  },
};

// Answers whatever login is held, from eight threads at once.
function answerLogins() {
  for (const { id } of engine.completions()) engine.complete(id, 0, { threads: kThreads, times: 2 });
}

async function started() {
  const participant = new Participant('ann');
  await participant.login();
  participant.json('JoinRoom', { roomId: 'r' });
  return participant;
}

const kinds = {
  async listeners() {
    const participant = await started();
    for (let i = 0; i < rounds; i++) {
      traffic.pictures(10);
      participant.listen();
      if (i % 3 === 0) participant.listen();
      if (i % 4 === 0) await sleep(0);
      participant.unlisten();
    }
    participant.end();
  },

  async bindings() {
    const participant = await started();
    for (let i = 0; i < rounds; i++) {
      traffic.pictures(10);
      traffic.members(5);
      for (const user of ['ann', 'bob']) {
        participant.call('BindingVideoFrame', user, 0, Buffer.alloc(i % 2 ? 96 : 10));
        participant.json('GetVideoFrame', { uid: user, forceGetFrame: true });
        participant.json('UnbindingVideoFrame', { uid: user });
      }
      if (i % 8 === 0) await sleep(0);
    }
    participant.end();
  },

  async polls() {
    const participant = await started();
    for (let i = 0; i < rounds; i++) {
      traffic.events(20);
      participant.poll();
      participant.send();
      if (i % 8 === 0) await sleep(0);
    }
    participant.end();
  },

  async unInit() {
    const participant = new Participant('ann');
    for (let i = 0; i < rounds; i++) {
      participant.init();
      for (const start of Object.values(traffic)) start(20);
      participant.listen();
      participant.send();
      if (i % 4 === 0) await sleep(0);
      participant.json('UnInit');
    }
    participant.end();
  },

  async destroy() {
    for (let i = 0; i < rounds; i++) {
      engine.setPlan('Init', { mode: i % 2 ? 'hold' : 'automatic' });
      const participant = new Participant('ann');
      participant.init();
      participant.listen();
      participant.call('BindingVideoFrame', 'ann', 0, Buffer.alloc(96));
      for (const start of Object.values(traffic)) start(20);
      participant.send();
      answerLogins();
      if (i % 4 === 0) await sleep(0);
      participant.end();
    }
  },
};

engine.setPlan('SendCustomMessage', { mode: 'automatic', late: true });
await kinds[kind]();
engine.join();
await sleep(5);
engine.reset();
const left = Object.values(engine.live()).reduce((sum, count) => sum + count, 0);
fs.writeFileSync(process.env.KAVRIN_REPORT, JSON.stringify({ ...seen, left }));
