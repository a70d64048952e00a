// An environment beside the main one that plays rounds until it is done or terminated.
import { parentPort, workerData } from 'node:worker_threads';
import { seen } from './participant.mjs';
import * as kinds from './rounds.mjs';

parentPort.postMessage({ ...seen });
for (let round = 0; round < workerData.rounds; round++) {
  await kinds[workerData.kind](round);
  parentPort.postMessage({ ...seen });
}
