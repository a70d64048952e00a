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

function summary({ name, limit }, turns) {
  const ratios = turns.map(({ ours, floor }) => ours / floor);
  return {
    name, limit, ratio: median(ratios), low: Math.min(...ratios), high: Math.max(...ratios),
    oursNs: median(turns.map(({ ours }) => ours)), floorNs: median(turns.map(({ floor }) => floor)),
    rounds: turns.length,
  };
}

/** Runs both sides in turn, `count` operations each; `reset` tidies up untimed after each. */
export function compare({ count, ours, floor, rounds = 9, reset = () => {}, ...row }) {
  const turns = [];
  for (let round = -1; round < rounds; round++) {
    const turn = {};
    for (const side of round % 2 === 0 ? ['ours', 'floor'] : ['floor', 'ours']) {
      turn[side] = time(side === 'ours' ? ours : floor, count);
      reset();
    }
    if (round >= 0) turns.push(turn); // the first turn warms caches and compilers up
  }
  return summary(row, turns);
}

/** The same for sides that measure themselves and resolve with nanoseconds per operation. */
export async function compareAsync({ ours, floor, rounds = 9, ...row }) {
  const turns = [];
  for (let round = -1; round < rounds; round++) {
    const turn = { floor: await floor(), ours: await ours() };
    if (round >= 0) turns.push(turn);
  }
  return summary(row, turns);
}
