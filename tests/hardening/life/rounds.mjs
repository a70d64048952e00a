// The lives that participants lead, one function per kind; each plays one round.
import { answerLate, below, chance, engine, flood, isScripted, Participant, sleep } from './participant.mjs';

// The scripted engine keeps its ended threads and a record of every call until it is told.
function tidyUp(round) {
  if (!isScripted || round % 20 !== 0) return;
  engine.join();
  engine.clearCalls();
}

async function live(participants) {
  const steps = below(4);
  for (let i = 0; i < steps; i++) {
    for (const each of participants) {
      each.poll();
      each.fetch();
      each.send();
    }
    await sleep(below(8));
  }
}

// Create, log in, join, and destroy at any moment.
export async function conference(round, prefix = '') {
  answerLate();
  const participants = ['ann', 'bob'].map(name => new Participant(`${prefix}${name}`));
  for (const each of participants) {
    if (chance(0.8)) await each.login();
    else each.init();
    each.enter(`room ${prefix}`);
    flood(each.id);
  }
  await live(participants);
  if (chance(0.5)) participants.reverse();
  for (const each of participants) each.end();
  tidyUp(round);
}

// Both environments of a process meet in one room.
export const meeting = round => conference(round, 'same ');

let poster = null;

// Listeners come and go while posts for them are on their way.
export async function listeners(round) {
  poster ??= new Participant('poster');
  if (round === 0) {
    await poster.login();
    poster.json('EnablePublish', { enableAudio: true, enableVideo: true });
    poster.json('JoinRoom', { roomId: 'room' });
    poster.json('StartPreview');
    poster.call('BindingVideoFrame', poster.id, 0, Buffer.alloc(10));
  }
  poster.listen();
  if (chance(0.3)) poster.listen();
  flood(poster.id);
  poster.fetch();
  poster.send();
  if (chance(0.7)) await sleep(below(3));
  poster.unlisten();
  poster.poll();
  tidyUp(round);
}

// Listeners that are gone are not called, however many posts were on their way.
export async function unheard(round) {
  answerLate();
  const participant = new Participant('unheard');
  await participant.login();
  participant.enter('room');
  let calls = 0;
  for (let i = 0; i < 5; i++) participant.send(() => { calls += 1; });
  flood(participant.id);
  participant.end();
  await sleep(3);
  if (calls > 0) throw new Error('a completion was delivered after destroyConfEngine');
  tidyUp(round);
}

export const finish = () => poster?.end();
