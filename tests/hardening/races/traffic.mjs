// What the scripted engine's threads do while script takes away what they need. Those of a storm go
// on until UnInit turns them away.
import { engine } from '../../script/support/scripted.mjs';

export const kThreads = 8;

const room = { roomId: 'r', localUid: 'ann' };
const forever = { room, background: true, count: 1e9 };
const kCameraStarted = 4;
const kCameraStopped = 7;
const kLeft = 2;

// A poll must take events faster than they come, also where a sanitizer slows it down.
const calm = { ...forever, intervalUs: 1000 };
// Pictures replace each other, so there cannot be too many.
const dense = { ...forever, intervalUs: 50 };

const picture = (width, height) => ({ width, height, streamType: 0 });

export const traffic = {
  events(threads) {
    engine.fire('OnDataMessageReceived', ['data'], { ...calm, threads });
  },
  loggedEvents(threads) {
    engine.fire('OnVideoDeviceStateChange', [1], { ...calm, intervalUs: 200, threads });
  },
  // Of sizes that change, so that most of them are reported to listeners.
  pictures(threads, shape = dense) {
    engine.fireFrame('ann', picture(8, 8), { ...shape, threads: threads / 2 });
    engine.fireFrame('ann', picture(4, 8), { ...shape, threads: threads / 2 });
  },
  reportedPictures(threads) {
    traffic.pictures(threads, calm);
  },
  // A member who comes, goes and sends pictures all at once, on four threads.
  member() {
    for (const state of [kCameraStarted, kCameraStopped, kLeft]) {
      engine.fire('OnRoomMemberStateChange', ['bob', state], { ...calm, threads: 1 });
    }
    engine.fireFrame('bob', picture(8, 4), { ...dense, threads: 1 });
  },
  everything() {
    traffic.events(2);
    traffic.reportedPictures(2);
    traffic.member();
  },
};

// Gives every answer that is held, twice from each of eight threads.
export function answerAtOnce() {
  const more = { threads: kThreads, times: 2 };
  for (const { id } of engine.completions()) engine.complete(id, 0, more);
}
