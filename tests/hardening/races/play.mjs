// Eight engine threads report and answer while script takes away what they need:
//
//   node play.mjs <kind> <rounds>
import fs from 'node:fs';
import { setTimeout as sleep } from 'node:timers/promises';
import { engine } from '../../script/support/scripted.mjs';
import { Participant, seen } from '../life/participant.mjs';

const [kind, rounds] = [process.argv[2], Number(process.argv[3])];
const kThreads = 8;

// Endless: the threads stop when UnInit turns them away.
const room = { roomId: 'r', localUid: 'ann' };
const storm = { room, background: true, count: 1e9, intervalUs: 30 };
const picture = (width, height) => ({ width, height, streamType: 0 });

const traffic = {
  events(threads) {
    engine.fire('OnDataMessageReceived', ['data'], { ...storm, threads });
  },
  pictures(threads) {
    engine.fireFrame('ann', picture(8, 8), { ...storm, threads: threads / 2 });
    engine.fireFrame('ann', picture(4, 8), { ...storm, threads: threads / 2 });
  },
  members() {
    for (const state of [4, 7]) {
      engine.fire('OnRoomMemberStateChange', ['bob', state], { ...storm, threads: 2 });
    }
    engine.fireFrame('bob', picture(8, 4), { ...storm, threads: 2 });
  },
};

// Answers whatever login is held, from eight threads at once.
function answerLogins() {
  for (const { id } of engine.completions()) engine.complete(id, 0, { threads: kThreads, times: 2 });
}

// Rounds of one participant under a storm that lasts from the first to the last.
async function underStorm(start, round) {
  const participant = new Participant('ann');
  await participant.login();
  participant.json('JoinRoom', { roomId: 'r' });
  start();
  for (let i = 0; i < rounds; i++) {
    round(participant, i);
    if (i % 4 === 0) await sleep(0);
    if (i % 16 === 0) participant.poll();
  }
  participant.end();
}

const kinds = {
  listeners: () => underStorm(() => traffic.pictures(kThreads), (participant, i) => {
    participant.listen();
    if (i % 3 === 0) participant.listen();
    participant.unlisten();
  }),

  bindings: () => underStorm(() => {
    traffic.pictures(2);
    traffic.members();
  }, (participant, i) => {
    for (const user of ['ann', 'bob']) {
      participant.call('BindingVideoFrame', user, 0, Buffer.alloc(i % 2 ? 96 : 10));
      participant.json('GetVideoFrame', { uid: user, forceGetFrame: true });
      participant.json('UnbindingVideoFrame', { uid: user });
    }
  }),

  polls: () => underStorm(() => traffic.events(kThreads), participant => {
    participant.poll();
    participant.send();
  }),

  async unInit() {
    const participant = new Participant('ann');
    for (let i = 0; i < rounds / 8; i++) {
      participant.init();
      traffic.events(2);
      traffic.pictures(2);
      traffic.members();
      participant.listen();
      participant.send();
      await sleep(i % 4);
      participant.json('UnInit');
    }
    participant.end();
  },

  async destroy() {
    for (let i = 0; i < rounds / 8; i++) {
      engine.setPlan('Init', { mode: i % 2 ? 'hold' : 'automatic' });
      const participant = new Participant('ann');
      participant.init();
      participant.listen();
      participant.call('BindingVideoFrame', 'ann', 0, Buffer.alloc(96));
      traffic.events(2);
      traffic.pictures(2);
      traffic.members();
      participant.send();
      answerLogins();
      await sleep(i % 4);
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
