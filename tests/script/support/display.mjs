// A display of its own for a test: an X server without a screen to look at, and a few windows.
import { spawn, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import net from 'node:net';

export const displayServer = spawnSync('Xvfb', ['-help']).error ? null : 'Xvfb';

// Starts a server that ends with the test; returns its display name.
export async function startDisplay(t, { width, height }) {
  const screen = ['-screen', '0', `${width}x${height}x24`];
  const options = ['-displayfd', '3', ...screen, '-ac', '-nolisten', 'tcp'];
  // Without the sanitizers' run times that Node may have been given.
  const server = spawn(displayServer, options,
    { env: { ...process.env, LD_PRELOAD: '' }, stdio: ['ignore', 'ignore', 'ignore', 'pipe'] });
  t.after(async () => {
    server.kill();
    await once(server, 'exit');
  });
  const [number] = await once(server.stdio[3], 'data');
  return `:${String(number).trim()}`;
}

// A connection to a display that can make windows, in the words of the X protocol, version 11.
export class DisplayClient {
  static async connect(t, display) {
    const client = new DisplayClient();
    client.socket = net.connect(`/tmp/.X11-unix/X${display.slice(1)}`);
    t.after(() => client.socket.destroy());
    client.socket.write(Buffer.from([0x6c, 0, 11, 0, 0, 0, 0, 0, 0, 0, 0, 0]));
    const setup = await client.#read(reply => reply.length >= 8 + 4 * reply.readUInt16LE(6));
    if (setup[0] !== 1) throw new Error('the display refused the connection');
    const vendor = (setup.readUInt16LE(24) + 3) & ~3;
    client.resource = setup.readUInt32LE(12);
    client.root = setup.readUInt32LE(40 + vendor + 8 * setup[29]);
    return client;
  }

  // Makes a window and returns its id; not shown yet.
  createWindow({ x, y, width, height, parent = this.root }) {
    const id = ++this.resource;
    const request = Buffer.alloc(32);
    request.writeUInt8(1, 0);
    request.writeUInt16LE(8, 2);
    request.writeUInt32LE(id, 4);
    request.writeUInt32LE(parent, 8);
    request.writeInt16LE(x, 12);
    request.writeInt16LE(y, 14);
    request.writeUInt16LE(width, 16);
    request.writeUInt16LE(height, 18);
    request.writeUInt16LE(1, 22);
    this.socket.write(request);
    return id;
  }

  show(window) {
    this.#request(8, window);
  }

  hide(window) {
    this.#request(10, window);
  }

  destroy(window) {
    this.#request(4, window);
  }

  // Waits until the display has done everything asked for so far.
  async sync() {
    this.#request(14, this.root);
    await this.#read(reply => reply.length >= 32);
  }

  #request(operation, window) {
    const request = Buffer.alloc(8);
    request.writeUInt8(operation, 0);
    request.writeUInt16LE(2, 2);
    request.writeUInt32LE(window, 4);
    this.socket.write(request);
  }

  async #read(complete) {
    let reply = Buffer.alloc(0);
    do {
      const [data] = await once(this.socket, 'data');
      reply = Buffer.concat([reply, data]);
    } while (reply.length < 8 || !complete(reply));
    return reply;
  }
}
