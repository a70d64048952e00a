// The way of a picture to script, here and in other modules: processor time of the whole process per
// picture that arrived, at 30 pictures a second and 720p or 1080p.
//
//   node measure.mjs <module> <width> <height> <folder of the peers' modules>
import { createRequire } from 'node:module';
import path from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { fileURLToPath, pathToFileURL } from 'node:url';

const [name, width, height] = [process.argv[2], Number(process.argv[3]), Number(process.argv[4])];
const peers = createRequire(path.join(process.argv[5] ?? '.', 'node_modules', 'any.js'));
const picture = new Uint8ClampedArray((width * height * 3) / 2).fill(128);

const kWarmUp = 30; // pictures
const kPictures = 150;
const kIntervalMs = 1000 / 30;

// Each gives {send, close}; what is sent comes back by `arrived(bytes)`.
const modules = {
  // What the loop itself costs.
  nothing: (arrived) => ({ send: () => arrived(picture.length), close() {} }),

  ours(arrived) {
    const folder = fileURLToPath(new URL('../../build/release/bench_dist/', import.meta.url));
    const require = createRequire(import.meta.url);
    const module = require(path.join(folder, 'KavrinConferenceNodeExt.node'));
    const engine = require(path.join(folder, 'bench_addon.node'));
    const handle = module.createConfEngine();
    const login = { rootHost: 'bench', logPath: '/nonexistent', puid: 'local', password: '', name: 'B' };
    module.execJsonParamFunWithCallback(handle, 'Init', JSON.stringify(login), () => {});
    engine.makePictures(width, height, 1);
    engine.announce(0);
    const buffer = Buffer.alloc(picture.length);
    module.execFun(handle, 'BindingVideoFrame', ['user0', 0, buffer]);
    const request = JSON.stringify({ uid: 'user0', videoSourceType: 0 });
    return {
      send() {
        engine.deliver(0);
        const { ret } = JSON.parse(module.execJsonParamFun(handle, 'GetVideoFrame', request));
        if (ret === 0) arrived(buffer.length);
      },
      close: () => module.destroyConfEngine(handle),
    };
  },

  '@roamhq/wrtc': (arrived) => {
    const { nonstandard: { RTCVideoSource, RTCVideoSink } } = peers('@roamhq/wrtc');
    const source = new RTCVideoSource();
    const track = source.createTrack();
    const sink = new RTCVideoSink(track);
    sink.onframe = ({ frame }) => arrived(frame.data.length);
    return {
      send: () => source.onFrame({ width, height, data: picture }),
      close() {
        sink.stop();
        track.stop();
      },
    };
  },

  async '@livekit/rtc-node'(arrived) {
    const entry = pathToFileURL(peers.resolve('@livekit/rtc-node'));
    const { LocalVideoTrack, VideoBufferType, VideoFrame, VideoSource, VideoStream } = await import(entry);
    const source = new VideoSource(width, height);
    const track = LocalVideoTrack.createVideoTrack('camera', source);
    const reader = new VideoStream(track).getReader();
    const frame = new VideoFrame(new Uint8Array(picture.buffer), width, height, VideoBufferType.I420);
    const read = ({ done, value }) => {
      if (done) return undefined;
      arrived(value.frame.data.length);
      return reader.read().then(read);
    };
    reader.read().then(read);
    // The track and the stream end when they are collected, so they are held.
    return { send: () => source.captureFrame(frame), close: () => source.close(), held: [track, reader] };
  },
};

async function sendAll(send, count) {
  const start = performance.now();
  for (let i = 0; i < count; i++) {
    send();
    await sleep(Math.max(0, start + (i + 1) * kIntervalMs - performance.now()));
  }
}

let arrived = 0;
const peer = await modules[name]((bytes) => {
  if (bytes < picture.length) throw new Error(`a picture of ${bytes} bytes`);
  arrived++;
});
await sendAll(peer.send, kWarmUp);
arrived = 0;
const before = process.cpuUsage();
await sendAll(peer.send, kPictures);
const { user, system } = process.cpuUsage(before);
console.error(JSON.stringify([{ name, width, height, arrived, sent: kPictures, cpuUs: (user + system) / arrived }]));
await peer.close();
process.exit(0); // peers keep threads that would wait for more
