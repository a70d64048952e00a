// Resident memory over time, and how steeply it rises.

export const megabytes = bytes => bytes / 1e6;

export function resident() {
  globalThis.gc?.();
  return process.memoryUsage.rss();
}

// The rise of the straight line closest to `samples`, [x, bytes] each, in bytes per x.
export function slope(samples) {
  const mean = index => samples.reduce((sum, sample) => sum + sample[index], 0) / samples.length;
  const [x, size] = [mean(0), mean(1)];
  const rise = samples.reduce((sum, [at, bytes]) => sum + (at - x) * (bytes - size), 0);
  return rise / samples.reduce((sum, [at]) => sum + (at - x) ** 2, 0);
}

const nobody = new Int32Array(new SharedArrayBuffer(4));

// Stops this thread altogether: no timer, no delivery, no poll.
export const stall = seconds => Atomics.wait(nobody, 0, 0, seconds * 1000);

// Samples once a second, stalled in between.
export function watch(seconds) {
  const samples = [];
  const start = performance.now();
  for (let i = 0; i < seconds; i++) {
    stall(1);
    samples.push([(performance.now() - start) / 1000, resident()]);
  }
  return samples;
}
