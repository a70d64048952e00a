// Takes single files out of npm packages whose contents are known in advance.
import { spawnSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, readdirSync, readFileSync, renameSync, rmSync } from 'node:fs';
import path from 'node:path';

function check(command, args) {
  const result = spawnSync(command, args, { encoding: 'utf8', timeout: 300_000 });
  if (result.status === 0) return;
  throw new Error(`${command} ${args.join(' ')}: ${result.error ?? result.stderr}`);
}

/**
 * Fetches `file` of the package `name@version` to the path `target`, unless it is there already.
 * `integrity` is the package's digest as a lock file of npm's shows it; another package is refused.
 */
export function fetchFromPackage({ name, version, integrity, file, target }) {
  if (existsSync(target)) return;
  const download = `${target}.download`;
  rmSync(download, { recursive: true, force: true });
  mkdirSync(download, { recursive: true });
  check('npm', ['pack', `${name}@${version}`, '--silent', '--pack-destination', download]);
  const archive = path.join(download, readdirSync(download)[0]);
  const digest = createHash('sha512').update(readFileSync(archive)).digest('base64');
  if (`sha512-${digest}` !== integrity) throw new Error(`${name}@${version} is not the known one`);
  check('tar', ['-xzf', archive, '-C', download, `package/${file}`]);
  renameSync(path.join(download, 'package', file), target);
  rmSync(download, { recursive: true });
}
