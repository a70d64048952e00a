// Paired measurement: the module's path and its floor take turns in the same run, because machines
// are shared and noisy. The figure is the ratio of each pair; their median and spread are reported.

/** Nanoseconds per operation of `body(count)`. */
function time(body, count) {
  const start = process.hrtime.bigint();
  body(count);
  return Number(process.hrtime.bigint() - start) / count;
}

function median(values) {
  const sorted = [...values].sort((a, b) => a - b);
  const middle = sorted.length >> 1;
  return sorted.length % 2 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

/** Runs both sides in turn; `reset` tidies up untimed after each. */
export function compare({ name, limit, count, ours, floor, rounds = 9, reset = () => {} }) {
  const ratios = [];
  const times = { ours: [], floor: [] };
  for (let round = -1; round < rounds; round++) {
    const oursFirst = round % 2 === 0;
    const turn = {};
    for (const side of oursFirst ? ['ours', 'floor'] : ['floor', 'ours']) {
      turn[side] = time(side === 'ours' ? ours : floor, count);
      reset();
    }
    if (round < 0) continue; // warms caches and compilers up
    times.ours.push(turn.ours);
    times.floor.push(turn.floor);
    ratios.push(turn.ours / turn.floor);
  }
  return {
    name, limit, ratio: median(ratios), low: Math.min(...ratios), high: Math.max(...ratios),
    oursNs: median(times.ours), floorNs: median(times.floor), rounds,
  };
}
