// Eight engine threads report and answer while script takes away what they need:
//
//   node play.mjs <kind> <rounds>
//
// Writes what was seen to KAVRIN_REPORT.
import fs from 'node:fs';
import { setTimeout as sleep } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { Worker } from 'node:worker_threads';
import { asCommand, engine, until } from '../../script/support/scripted.mjs';
import { newFolder } from '../../script/support/workspace.mjs';
import { Participant, seen } from '../life/participant.mjs';
import { answerAtOnce, kThreads, traffic } from './traffic.mjs';

const [kind, rounds] = [process.argv[2], Number(process.argv[3])];
const workerFile = fileURLToPath(new URL('environment.mjs', import.meta.url));

// Rounds under one storm. Threads that have ended are joined between storms only.
const kRoundsOfStorm = 500;

const counts = { events: 0, pictures: 0, answers: 0, twice: 0 };

function poll(participant) {
  counts.events += participant.poll().length;
}

function fetch(participant, uid) {
  const { ret } = JSON.parse(participant.json('GetVideoFrame', { uid, forceGetFrame: true }));
  if (ret === 0) counts.pictures += 1;
}

async function oneStorm(count, start, round) {
  const participant = new Participant('ann');
  await participant.login();
  participant.json('JoinRoom', { roomId: 'r' });
  start();
  for (let i = 0; i < count; i++) {
    round(participant, i);
    if (i % 4 === 0) await sleep(i % 16 === 0 ? 2 : 0);
    if (i % 8 === 0) poll(participant);
  }
  participant.end();
  tidyUp();
}

async function underStorm(start, round) {
  for (let left = rounds; left > 0; left -= kRoundsOfStorm) {
    await oneStorm(Math.min(left, kRoundsOfStorm), start, round);
  }
}

// A callback that counts answers, and those that come again.
function once() {
  let answers = 0;
  return () => {
    answers += 1;
    counts[answers === 1 ? 'answers' : 'twice'] += 1;
  };
}

// Ends an engine in full swing, again and again.
async function inFullSwing(end) {
  for (let i = 0; i < rounds / 8; i++) {
    await end(i);
    if (i % 16 === 0) tidyUp();
  }
}

// The scripted engine keeps its ended threads and a record of every call until it is told.
function tidyUp() {
  engine.join();
  engine.clearCalls();
}

// Where an answer to a login calls its engine.
const kInside = 'EnableExternalRender';

// The answer to a login is half-way when its engine ends: UnInit lets its thread go on, slowly.
async function endInsideAnAnswer() {
  engine.setPlan('Init', { mode: 'automatic', late: true });
  engine.block(kInside);
  engine.addHook(kInside, { run: asCommand('pause', { ms: 2 }) });
  engine.addHook('UnInit', { run: asCommand('release', { operation: kInside }) });
  const participant = new Participant('ann');
  participant.init(once());
  await until(() => engine.waiting().includes(kInside), 'the answer');
  participant.end();
}

const kinds = {
  listeners: () => underStorm(() => traffic.reportedPictures(kThreads), (participant, i) => {
    if (i % 4 === 1) participant.unlisten();
    participant.listen();
    if (i % 3 === 0) participant.listen();
    if (i % 5 === 0) participant.send(once());
  }),

  bindings: () => underStorm(() => {
    traffic.pictures(4);
    traffic.member();
  }, (participant, i) => {
    for (const user of ['ann', 'bob']) {
      participant.call('BindingVideoFrame', user, 0, Buffer.alloc(i % 2 ? 96 : 10));
      fetch(participant, user);
      if (i % 4 === 0) participant.json('UnbindingVideoFrame', { uid: user });
    }
  }),

  polls: () => underStorm(() => traffic.events(kThreads), participant => {
    poll(participant);
    participant.send(once());
  }),

  answers: () => underStorm(() => traffic.events(2), participant => {
    engine.setPlan('SendCustomMessage', { mode: 'hold' });
    participant.send(once());
    engine.setPlan('SendCustomMessage', { mode: 'automatic', late: true });
    participant.send(once());
    answerAtOnce();
  }),

  // The log opens while eight threads of another engine write to it.
  async log() {
    const participant = new Participant('ann');
    await participant.login();
    traffic.loggedEvents(kThreads);
    await sleep(20);
    const folder = newFolder('logs');
    for (let i = 0; i < rounds / 8; i++) {
      const other = new Participant('bob');
      other.init(undefined, folder);
      poll(participant);
      await sleep(1);
      other.end();
    }
    participant.end();
  },

  logins: () => inFullSwing(async i => {
    if (i % 2 === 0) return endInsideAnAnswer();
    engine.setPlan('Init', { mode: 'hold' });
    const participant = new Participant('ann');
    participant.init(once());
    traffic.reportedPictures(kThreads);
    answerAtOnce();
    await sleep(1);
    participant.end();
  }),

  async unInit() {
    const participant = new Participant('ann');
    await inFullSwing(async i => {
      participant.init();
      traffic.everything();
      participant.listen();
      participant.send();
      await sleep(i % 4);
      poll(participant);
      participant.json('UnInit');
    });
    participant.end();
  },

  destroy: () => inFullSwing(async i => {
    engine.setPlan('SendCustomMessage', { mode: 'automatic', late: true, delayMs: i % 3 });
    engine.setPlan('Init', { mode: 'automatic', late: true, delayMs: i % 2 });
    const participant = new Participant('ann');
    participant.init();
    participant.listen();
    participant.call('BindingVideoFrame', 'ann', 0, Buffer.alloc(96));
    traffic.everything();
    for (let sent = 0; sent < 4; sent++) participant.send();
    await sleep(i % 4);
    fetch(participant, 'ann');
    poll(participant);
    participant.end();
  }),

  environments: () => inFullSwing(async i => {
    const worker = new Worker(workerFile);
    await new Promise((resolve, reject) => worker.once('message', resolve).once('error', reject));
    await sleep(i % 8);
    await worker.terminate();
  }),
};

engine.setPlan('SendCustomMessage', { mode: 'automatic', late: true });
await kinds[kind]();
engine.join();
await sleep(5);
engine.reset();
const left = Object.values(engine.live()).reduce((sum, count) => sum + count, 0);
fs.writeFileSync(process.env.KAVRIN_REPORT, JSON.stringify({ ...seen, ...counts, left }));
