// Every named method: its entry point, its JSON keys in the order of reading, and what the engine
// gets. Tests derive their expectations from this table.

const isEnable = [['isEnable', 'boolean']];
const enableAndUser = [['isEnable', 'boolean'], ['userId', 'string']];
const audioAndVideo = [['enableAudio', 'boolean'], ['enableVideo', 'boolean']];
const deviceRecord = [
  ['deviceId', 'integer'], ['guid', 'string'], ['deviceType', 'integer'], ['nX', 'integer'],
  ['nY', 'integer'], ['nWidth', 'integer'], ['nHeight', 'integer'], ['resolution', 'integer'],
  ['fps', 'integer'], ['bitrate', 'integer'], ['excludeWindowList', 'list'],
];
const integer = key => [[key, 'integer']];
const text = key => [[key, 'string']];
const videoOption = v => [{
  deviceId: v.deviceId, deviceType: v.deviceType, left: v.nX, top: v.nY, width: v.nWidth,
  height: v.nHeight, resolution: v.resolution, frameRate: v.fps, bitRate: v.bitrate,
  excludedWindows: v.excludeWindowList,
}];
const inOrder = keys => v => keys.map(([key]) => v[key]);

// A JSON method whose result is the code of the engine operation of the same name.
const forward = (name, keys, toEngine = inOrder(keys)) =>
  ({ name, kind: 'J', keys, toEngine, operation: name });
// The same for a method that does not look at its text.
const plain = (name, more = {}) =>
  ({ name, kind: 'J', keys: [], toEngine: () => [], operation: name, ignoresText: true, ...more });
const list = (name, count, more = {}) => ({ name, kind: 'A', count, ...more });

export const methods = [
  { name: 'SetLogTag', kind: 'J', keys: text('tag') },
  list('GetSDKVersion', 2),
  {
    name: 'Init', kind: 'K', operation: 'Init',
    keys: ['rootHost', 'logPath', 'puid', 'password', 'name'].map(key => [key, 'string']),
    toEngine: v => [v.puid, v.name, v.password],
  },
  plain('UnInit'),
  forward('EnablePublish', audioAndVideo),
  forward('EnableSubscribe', audioAndVideo),
  list('EnumAudioCaptureDevice', 0),
  list('EnumSpeakerDevice', 0),
  list('EnumCameraDevice', 0),
  list('EnumScreenAndWindow', 0),
  forward('SetAudioCaptureDevice', integer('id')),
  forward('SetSpeakerDevice', integer('id')),
  forward('SetVideoQuality', integer('videoQuality')),
  forward('SetCameraDevice', deviceRecord, videoOption),
  {
    name: 'JoinRoom', kind: 'J', operation: 'JoinRoom',
    keys: [['roomId', 'string'], ['userExtendedInfo', 'string']], toEngine: v => [v.roomId],
  },
  plain('LeaveRoom'),
  forward('StartScreenShare', deviceRecord, videoOption),
  plain('StopScreenShare', { returnLevel: 'DEBUG' }),
  forward('EnablePublishAudioStream', isEnable),
  forward('EnablePublishVideoStream', isEnable),
  forward('EnableSubscribeAudioStream', enableAndUser, v => [v.userId, v.isEnable]),
  forward('EnableSubscribeVideoStream', [...enableAndUser, ['isVideoCamera', 'boolean']],
    v => [v.userId, v.isEnable, v.isVideoCamera]),
  forward('EnableLoopbackRecording', isEnable),
  forward('EnableAudioVolumeIndication', [...isEnable, ['cycleTime', 'integer']],
    v => [v.isEnable, Math.max(v.cycleTime, 1000)]),
  forward('MuteAudio', enableAndUser, v => [v.userId, v.isEnable]),
  forward('MuteVideo', enableAndUser, v => [v.userId, v.isEnable]),
  forward('KickOut', text('userId')),
  forward('MuteRoom', isEnable),
  plain('CloseRoom'),
  list('GetRoomAttendees', 0),
  {
    name: 'SendCustomMessage', kind: 'J', operation: 'SendCustomMessage',
    keys: [['msg', 'string'], ['toUser', 'string']], toEngine: v => [v.msg, v.toUser || null],
  },
  {
    name: 'AsyncSendCustomMessage', kind: 'K', operation: 'SendCustomMessage',
    keys: [['msg', 'string'], ['toUser', 'string']], toEngine: v => [v.msg, v.toUser || null],
  },
  list('GetRoomInfo', 0),
  list('GetAttendeeInfo', 1),
  { name: 'GetRoomAttendeeCount', kind: 'J', keys: [], ignoresText: true },
  { name: 'GetLogPath', kind: 'J', keys: [], ignoresText: true },
  forward('UpdateScreenShareSrcInfo', deviceRecord, videoOption),
  plain('StartPreview'),
  plain('StopPreview'),
  forward('SetReconnectResumedMediaType',
    [['audio', 'boolean'], ['video', 'boolean'], ['share', 'boolean']]),
  forward('TakeSnapshot', [['userId', 'string'], ['srcType', 'integer'], ['filePath', 'string']]),
  forward('SetRemoteDefaultVideoStreamType', integer('streamType')),
  forward('EnableDualStreamMode', isEnable),
  forward('SetRemoteVideoStreamType', [['userId', 'string'], ['streamType', 'integer']]),
  {
    name: 'GetVideoFrame', kind: 'J',
    keys: [['uid', 'string'], ['videoSourceType', 'integer'], ['forceGetFrame', 'boolean']],
  },
  list('BindingVideoFrame', 3),
  {
    name: 'UnbindingVideoFrame', kind: 'J',
    keys: [['uid', 'string'], ['videoSourceType', 'integer'], ['forceGetFrame', 'boolean']],
  },
  plain('CreateDataChannel'),
  forward('SubscribeData', text('topic')),
  plain('DeleteDataChannel'),
  plain('GetAudioCaptureDeviceVolume', { volume: true }),
  forward('SetAudioCaptureDeviceVolume', integer('volume')),
  plain('GetSpeakerDeviceVolume', { volume: true }),
  forward('SetSpeakerDeviceVolume', integer('volume')),
  forward('StartSpeakerDeviceTest', text('filePath')),
  plain('StopSpeakerDeviceTest'),
  forward('StartAudioDeviceLoopbackTest', integer('interval')),
  plain('StopAudioDeviceLoopbackTest'),
  forward('SetScreenShareSceneMode', integer('sceneMode')),
  forward('EnableAINSMode', isEnable),
  forward('UnsubscribeData', text('topic')),
];

// Methods that pass decoded keys to one engine operation and return its code.
export const forwarders = methods.filter(
  method => method.kind === 'J' && method.operation === method.name && !method.ignoresText &&
    !['JoinRoom', 'SendCustomMessage'].includes(method.name));

// Methods that call one engine operation without arguments and return its code.
export const plainCalls = methods.filter(
  method => method.ignoresText && method.operation && !method.volume && method.name !== 'UnInit');

export const initialValues = { string: '', integer: 0, boolean: false, list: [] };

// One value for every key: texts and numbers that differ from each other and from the initial ones.
export function sampleValues(method) {
  const keys = method.keys ?? [];
  return Object.fromEntries(keys.map(([key, type], index) => [key, sample(type, key, index)]));
}

function sample(type, key, index) {
  switch (type) {
    case 'string': return `${key} — text`;
    case 'integer': return 1500 + index;
    case 'boolean': return true;
    default: return [7, 8, 9];
  }
}

// The arguments that the engine gets for a JSON text with these members.
export function engineArguments(method, values) {
  const all = method.keys.map(([key, type]) => [key, values[key] ?? initialValues[type]]);
  return method.toEngine(Object.fromEntries(all));
}

export const badTypeText = { string: 'not string', integer: 'not integer',
  boolean: 'not bool or integer', list: 'not array' };
