// Paired measurement: the module's path and its floor take turns in the same run, because machines
// are shared and noisy. The figure is the ratio of each pair; reported are their median and, as the
// spread, what a tenth of them stay below and exceed.

/** Nanoseconds per operation of `body(count)`. */
function time(body, count) {
  const start = process.hrtime.bigint();
  body(count);
  return Number(process.hrtime.bigint() - start) / count;
}

// The value that `share` of the values do not exceed, between two of them if need be.
function quantile(values, share) {
  const sorted = [...values].sort((a, b) => a - b);
  const place = share * (sorted.length - 1);
  const below = Math.floor(place);
  const above = Math.ceil(place);
  return sorted[below] + (sorted[above] - sorted[below]) * (place - below);
}

/** The value in the middle. */
export const median = (values) => quantile(values, 0.5);

/** The figures of a row from its turns, {ours, floor} each, in nanoseconds per operation. */
export function summary(row, turns) {
  const ratios = turns.map(({ ours, floor }) => ours / floor);
  return {
    ...row, ratio: median(ratios), low: quantile(ratios, 0.1), high: quantile(ratios, 0.9),
    oursNs: median(turns.map(({ ours }) => ours)), floorNs: median(turns.map(({ floor }) => floor)),
    rounds: turns.length,
  };
}

/**
 * Runs both sides in turn, `count` operations each. `prepare` comes before each round and `reset` after
 * each side, both untimed.
 */
export function compare({
  count, ours, floor, rounds = 9, prepare = () => {}, reset = () => {}, ...row
}) {
  const turns = [];
  for (let round = -1; round < rounds; round++) {
    prepare();
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
