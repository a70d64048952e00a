// What the real engine answers where the scripted one is told what to say.
//
// The parameters are samples that suit no method in particular: number 1500, a user nobody knows, a
// file that does not exist. So many answers are refusals, each with the code that the engine's
// description gives: 1001 for a value out of range, 1002 before the login, 1004 outside rooms, 1005
// inside one, 1008 for an unknown member, 1009 for an unknown device, 1010 for what does not run,
// 1012 without a data channel, 1016 for a missing file.

// Whatever the state.
const always = {
  EnablePublish: 0, EnableSubscribe: 0, EnablePublishAudioStream: 0, EnablePublishVideoStream: 0,
  EnableSubscribeAudioStream: 0, EnableSubscribeVideoStream: 0, EnableLoopbackRecording: 0,
  EnableAudioVolumeIndication: 0, SetReconnectResumedMediaType: 0, EnableDualStreamMode: 0,
  EnableAINSMode: 0, LeaveRoom: 0, SetAudioCaptureDevice: 1009, SetSpeakerDevice: 1009,
  SetCameraDevice: 1009, SetVideoQuality: 1001, TakeSnapshot: 1001,
  SetRemoteDefaultVideoStreamType: 1001, SetRemoteVideoStreamType: 1001,
  SetAudioCaptureDeviceVolume: 1001, SetSpeakerDeviceVolume: 1001, SetScreenShareSceneMode: 1001,
  StartSpeakerDeviceTest: 1016, StopSpeakerDeviceTest: 1010, StopAudioDeviceLoopbackTest: 1010,
  StopPreview: 1010,
};

const inRoom = {
  StartPreview: 0, MuteRoom: 0, CloseRoom: 0, CreateDataChannel: 0, MuteAudio: 1008,
  MuteVideo: 1008, KickOut: 1008, SendCustomMessage: 1008, StartScreenShare: 1009,
  StopScreenShare: 1010, UpdateScreenShareSrcInfo: 1010, SubscribeData: 1012,
  UnsubscribeData: 1012, DeleteDataChannel: 1012, StartAudioDeviceLoopbackTest: 1005,
};

// The login completes on the engine's own thread, before the call or after it: the answers of one
// who is not logged in, and of one who is and has joined no room.
const loggingIn = {
  JoinRoom: [1002, 0], StartPreview: [1002, 0], StartAudioDeviceLoopbackTest: [1002, 0],
};
const kNeedsRoom = [1002, 1004];

const kVolume = 80;  // of the generated devices

// What the rules say of the engine's members is true for the one that the scripted engine was told
// of. In the real one a member is known when the room has been joined.
const loggingInMembers = { GetAttendeeInfo: -1, GetRoomAttendeeCount: 0 };

// All that script may get where the rules for the scripted engine give `ruled`.
export function answersOf(name, ruled, state) {
  if (state === 'login pending' && name in loggingInMembers && ruled !== -1 && ruled !== undefined) {
    return [loggingInMembers[name]];
  }
  if (ruled === 'volume') return [kVolume];
  if (ruled !== 'code') return [ruled];
  if (name in always) return [always[name]];
  if (state === 'in a room') return [inRoom[name]];
  return loggingIn[name] ?? kNeedsRoom;
}
