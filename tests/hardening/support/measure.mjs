// Time limits and sizes of the hardening tests. KAVRIN_LONG=1 asks for the long runs.
import { buildDir } from '../../script/support/paths.mjs';
import { sanitizersOf } from '../../script/support/sanitizers.mjs';

export const sanitizers = sanitizersOf(buildDir);
export const isSanitized = sanitizers[0] !== '';
export const isLong = process.env.KAVRIN_LONG === '1';

export const seconds = count => count * 1000;

// What a bounded run does and what a long one does.
export const rounds = (bounded, long) => (isLong ? long : bounded);

// How long a teardown may take, in milliseconds. A sanitizer makes everything slower, and so does
// a machine that runs other tests at the same time.
export const kTeardownLimitMs = isSanitized ? 10000 : 2000;
