// Installs what a fresh Debian machine lacks, or prints the one command that does.
import { spawnSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

export const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..');

const buildPackages = [
  'g++', 'cmake', 'ninja-build', 'pkg-config', 'rapidjson-dev', 'libxcb1-dev', 'libxcb-randr0-dev',
  'libgstreamer1.0-dev', 'libgstreamer-plugins-base1.0-dev', 'gstreamer1.0-plugins-base',
  'gstreamer1.0-plugins-good', 'libyuv-dev',
];
const testPackages = [
  'clang', 'libclang-rt-dev', 'clang-format', 'libgtest-dev', 'libbenchmark-dev', 'locales', 'xvfb',
];

const windowsPackages = ['g++-mingw-w64-x86-64-posix'];
// Wine loads libXinerama when it is there; without it there is one monitor only.
const windowsTestPackages = ['wine64', 'wine', 'libxinerama1', 'googletest', 'locales', 'xvfb'];

/** Runs a command in the repository, its output shown; ends the process when it fails. */
export function run(command, args, options = {}) {
  const result = spawnSync(command, args, { cwd: root, stdio: 'inherit', ...options });
  if (result.error) throw result.error;
  if (result.status !== 0) process.exit(result.status ?? 1);
}

function isInstalled(name) {
  const query = spawnSync('dpkg-query', ['-W', '-f', '${db:Status-Status}', name], { encoding: 'utf8' });
  return query.status === 0 && query.stdout === 'installed';
}

function installPackages(wanted) {
  const missing = wanted.filter((name) => !isInstalled(name));
  if (missing.length === 0) return;
  const install = ['install', '-y', '--no-install-recommends', ...missing];
  const sudo = process.getuid() === 0 ? [] : ['sudo', '-n'];
  if (sudo.length > 0 && spawnSync('sudo', ['-n', 'true']).status !== 0) {
    console.error('Some Debian packages are missing. Install them, then try again:\n');
    console.error(`  sudo apt-get update && sudo apt-get ${install.join(' ')}\n`);
    process.exit(1);
  }
  console.log(`Installing Debian packages: ${missing.join(' ')}`);
  const env = { ...process.env, DEBIAN_FRONTEND: 'noninteractive' };
  const apt = (args) => {
    const [command, ...rest] = [...sudo, 'apt-get', '-qq', ...args];
    run(command, rest, { env, stdio: ['ignore', 'ignore', 'inherit'] });
  };
  apt(['update']);
  apt(install);
}

function installModules() {
  const { devDependencies } = JSON.parse(readFileSync(path.join(root, 'package.json'), 'utf8'));
  const present = (name) => existsSync(path.join(root, 'node_modules', name));
  if (Object.keys(devDependencies).every(present)) return;
  run('npm', ['ci', '--no-audit', '--no-fund']);
}

/** Makes the machine ready to build and run; to test and to build for Windows as well when asked. */
export function setUp({ forTests = false, forWindows = false } = {}) {
  installPackages([
    ...buildPackages,
    ...(forTests ? testPackages : []),
    ...(forWindows ? windowsPackages : []),
    ...(forTests && forWindows ? windowsTestPackages : []),
  ]);
  installModules();
}
