// A process that ends in one of many ways while its conference is in full swing.
//
//   node exit.mjs <way> <milliseconds>
//
// Writes the moment of the end, in milliseconds since the epoch, to KAVRIN_REPORT.
import fs from 'node:fs';
import { flood, Participant, sleep } from './participant.mjs';

const [way, delay] = [process.argv[2], Number(process.argv[3])];
const participant = new Participant('ann');

function note() {
  fs.writeFileSync(process.env.KAVRIN_REPORT, JSON.stringify({ at: Date.now() }));
}

const ways = {
  exit() {
    note();
    process.exit(0);
  },
  exitInCallback() {
    participant.send(() => ways.exit());
  },
  uncaught() {
    note();
    setImmediate(() => { throw new Error('the end'); });
  },
  rejected() {
    note();
    Promise.reject(new Error('the end'));
  },
  // Handles that nobody destroys may keep a process alive as long as something may call back, so
  // the natural end comes when they are destroyed.
  natural() {
    clearInterval(activity);
    participant.send();
    participant.end();
    note();
  },
  abandoned() {
    clearInterval(activity);
    participant.json('UnInit');
    note();
  },
};

let activity = null;

async function main() {
  if (delay % 3 === 0) participant.init();
  else await participant.login();
  participant.enter('room');
  activity = setInterval(() => {
    participant.send();
    participant.fetch();
    flood(participant.id);
  }, 2);
  await sleep(delay);
  ways[way]();
}

await main();
