// Writes docs/methods.md from the method table, or checks with --check that it is up to date.
import { readFileSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';

import { root } from '../setup.mjs';

const page = path.join(root, 'docs', 'methods.md');
const { text } = createRequire(import.meta.url)(path.join(root, 'build/release/scripted/method_docs.node'));

if (!process.argv.includes('--check')) {
  writeFileSync(page, text);
} else if (readFileSync(page, 'utf8') !== text) {
  console.error('docs/methods.md differs from the method table; run: node tools/method_docs/write.mjs');
  process.exit(1);
}
