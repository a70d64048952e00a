// A display with two monitors, 1024x768 and 800x600, without anything to see.
import { spawn } from 'node:child_process';

/** Resolves to {name, end()}; the caller ends it. */
export function startTwoMonitors() {
  const server = spawn('Xvfb', [
    '-displayfd', '3', '-screen', '0', '1024x768x24', '-screen', '1', '800x600x24',
    '+xinerama', '-extension', 'RANDR', '-nolisten', 'tcp',
  ], { stdio: ['ignore', 'ignore', 'ignore', 'pipe'] });
  return new Promise((resolve, reject) => {
    server.on('error', reject);
    server.on('exit', (code) => reject(new Error(`Xvfb ended with ${code}`)));
    let number = '';
    server.stdio[3].on('data', (text) => {
      number += text;
      if (number.includes('\n')) resolve({ name: `:${number.trim()}`, end: () => server.kill() });
    });
  });
}
