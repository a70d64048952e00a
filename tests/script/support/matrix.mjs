// The table of results of all methods through every entry point in every state, as rules.
import { sampleValues } from './methods.mjs';

// What is there in each state: an engine, the room flag, the flag that UnInit asks for.
export const states = {
  'before Init': { engine: false, room: false, initialised: false },
  'login pending': { engine: true, room: false, initialised: true },
  'in a room': { engine: true, room: true, initialised: true },
  'after UnInit': { engine: false, room: true, initialised: false },
};

const rightArguments = {
  GetSDKVersion: () => ['/nonexistent', '1.0'],
  GetAttendeeInfo: () => ['ann'],
  BindingVideoFrame: () => ['ann', 0, Buffer.alloc(8)],
};

const argumentForms = {
  'right': name => (rightArguments[name] ?? (() => []))(),
  'one more': name => [...(rightArguments[name] ?? (() => []))(), 1],
};

// `logPath` is where Init puts its log.
const textForms = logPath => ({
  'good': method => JSON.stringify({
    ...sampleValues(method),
    ...(method.name === 'Init' && { logPath }),
  }),
  'empty': () => '',
  'bad': () => '{"',
});

// The functions of `addon` that take a method's name.
export const entriesOf = (addon, logPath) => ({
  execFun: { kind: 'A', forms: argumentForms,
    call: (handle, { name }, given) => addon.execFun(handle, name, given) },
  execJsonParamFun: { kind: 'J', forms: textForms(logPath),
    call: (handle, { name }, given) => addon.execJsonParamFun(handle, name, given) },
  execJsonParamFunWithCallback: { kind: 'K', forms: textForms(logPath),
    call: (handle, { name }, given) =>
      addon.execJsonParamFunWithCallback(handle, name, given, () => {}) },
});

// The rules of the argument-list methods: the result with the right arguments.
const listRules = {
  GetSDKVersion: () => 'text',
  BindingVideoFrame: () => 0,
  GetRoomAttendees: state => (state.engine ? 'array' : -1),
  GetRoomInfo: state => (state.engine ? 'object' : -1),
  GetAttendeeInfo: state => (state.engine ? 'object' : -1),
};
const enumeration = state => (state.engine ? 'array' : undefined);

// The rules of the JSON methods that do not just forward.
const textRules = {
  SetLogTag: (state, form) => (form === 'bad' ? -1 : 0),
  UnInit: state => (state.initialised ? 0 : -1),
  Init: (state, form) => (form === 'good' ? 0 : -1),
  JoinRoom: (state, form, { code }) => {
    if (form === 'empty') return -1;
    if (state.room) return 0;
    return state.engine && form === 'good' ? code : -1;
  },
  AsyncSendCustomMessage: (state, form) => (state.engine && form === 'good' ? 0 : -1),
  GetRoomAttendeeCount: state => (state.engine ? 1 : -1),
  GetLogPath: () => 'text',
  GetVideoFrame: (state, form) => (form === 'good' ? 'text' : -1),
  UnbindingVideoFrame: (state, form) => (form === 'good' ? 0 : -1),
  GetAudioCaptureDeviceVolume: (state, form, { volume }) => (state.engine ? volume : -1),
  GetSpeakerDeviceVolume: (state, form, { volume }) => (state.engine ? volume : -1),
};

// What script gets from a call. `answers` holds what the engine says: `code` and `volume`.
export function expected(method, entry, form, state, answers) {
  if (method.kind !== entry.kind) return -1;
  if (method.kind === 'A') {
    if (form === 'one more') return method.name === 'GetSDKVersion' ? -1 : undefined;
    return (listRules[method.name] ?? enumeration)(state);
  }
  const rule = textRules[method.name];
  if (rule) return rule(state, form, answers);
  if (!state.engine) return -1;
  return method.ignoresText || form === 'good' ? answers.code : -1;
}

// Texts, arrays and objects by their kind, anything else as it is.
export function kindOf(result) {
  if (typeof result === 'string') return 'text';
  if (Array.isArray(result)) return 'array';
  return typeof result === 'object' ? 'object' : result;
}
