// An environment that is terminated while eight engine threads report to it.
import { parentPort } from 'node:worker_threads';
import { Participant } from '../life/participant.mjs';
import { traffic } from './traffic.mjs';

const participant = new Participant('ann');
await participant.login();
participant.listen();
participant.call('BindingVideoFrame', 'ann', 0, Buffer.alloc(96));
traffic.everything();
parentPort.postMessage('ready');
setInterval(() => {
  participant.send();
  participant.listen();
  participant.fetch();
  participant.poll();
}, 1);
