// The parameters of the methods that take a JSON text: one record per set of keys, with its keys in
// the order of reading. The initial values are what a method uses when a key is missing.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "engine/json_reader.h"

namespace kavrin {

struct LogTagParameters {
  std::string tag;

  static constexpr std::array<Field<LogTagParameters>, 1> kFields{
      {{"tag", &LogTagParameters::tag}}};
};

struct InitParameters {
  std::string rootHost;
  std::string logPath;
  std::string puid;
  std::string password;
  std::string name;

  static constexpr std::array<Field<InitParameters>, 5> kFields{
      {{"rootHost", &InitParameters::rootHost},
       {"logPath", &InitParameters::logPath},
       {"puid", &InitParameters::puid},
       {"password", &InitParameters::password},
       {"name", &InitParameters::name}}};
};

// A camera, or a screen or window to share.
struct DeviceParameters {
  std::int32_t deviceId = 0;
  std::string guid;  // read, but not passed on to the engine
  std::int32_t deviceType = 0;
  std::int32_t left = 0;  // of the source rectangle, pixels
  std::int32_t top = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t resolution = 0;
  std::int32_t frameRate = 0;
  std::int32_t bitRate = 0;
  IntegerList excludedWindows;

  static constexpr std::array<Field<DeviceParameters>, 11> kFields{
      {{"deviceId", &DeviceParameters::deviceId},
       {"guid", &DeviceParameters::guid},
       {"deviceType", &DeviceParameters::deviceType},
       {"nX", &DeviceParameters::left},
       {"nY", &DeviceParameters::top},
       {"nWidth", &DeviceParameters::width},
       {"nHeight", &DeviceParameters::height},
       {"resolution", &DeviceParameters::resolution},
       {"fps", &DeviceParameters::frameRate},
       {"bitrate", &DeviceParameters::bitRate},
       {"excludeWindowList", &DeviceParameters::excludedWindows}}};
};

struct JoinParameters {
  std::string roomId;
  std::string userExtendedInfo;

  static constexpr std::array<Field<JoinParameters>, 2> kFields{
      {{"roomId", &JoinParameters::roomId},
       {"userExtendedInfo", &JoinParameters::userExtendedInfo}}};
};

struct SwitchParameters {
  bool isEnable = false;

  static constexpr std::array<Field<SwitchParameters>, 1> kFields{
      {{"isEnable", &SwitchParameters::isEnable}}};
};

// A switch for one member.
struct UserSwitchParameters {
  bool isEnable = false;
  std::string userId;

  static constexpr std::array<Field<UserSwitchParameters>, 2> kFields{
      {{"isEnable", &UserSwitchParameters::isEnable}, {"userId", &UserSwitchParameters::userId}}};
};

// A switch for one video stream of one member.
struct UserVideoSwitchParameters {
  bool isEnable = false;
  std::string userId;
  bool isVideoCamera = false;

  static constexpr std::array<Field<UserVideoSwitchParameters>, 3> kFields{
      {{"isEnable", &UserVideoSwitchParameters::isEnable},
       {"userId", &UserVideoSwitchParameters::userId},
       {"isVideoCamera", &UserVideoSwitchParameters::isVideoCamera}}};
};

struct MediaSwitchParameters {
  bool enableAudio = false;
  bool enableVideo = false;

  static constexpr std::array<Field<MediaSwitchParameters>, 2> kFields{
      {{"enableAudio", &MediaSwitchParameters::enableAudio},
       {"enableVideo", &MediaSwitchParameters::enableVideo}}};
};

struct VolumeIndicationParameters {
  bool isEnable = false;
  std::int32_t cycleTime = 0;  // milliseconds

  static constexpr std::array<Field<VolumeIndicationParameters>, 2> kFields{
      {{"isEnable", &VolumeIndicationParameters::isEnable},
       {"cycleTime", &VolumeIndicationParameters::cycleTime}}};
};

struct UserParameters {
  std::string userId;

  static constexpr std::array<Field<UserParameters>, 1> kFields{
      {{"userId", &UserParameters::userId}}};
};

struct MessageParameters {
  std::string msg;
  std::string toUser;

  static constexpr std::array<Field<MessageParameters>, 2> kFields{
      {{"msg", &MessageParameters::msg}, {"toUser", &MessageParameters::toUser}}};
};

struct SnapshotParameters {
  std::string userId;
  std::int32_t srcType = 0;
  std::string filePath;

  static constexpr std::array<Field<SnapshotParameters>, 3> kFields{
      {{"userId", &SnapshotParameters::userId},
       {"srcType", &SnapshotParameters::srcType},
       {"filePath", &SnapshotParameters::filePath}}};
};

struct UserStreamTypeParameters {
  std::string userId;
  std::int32_t streamType = 0;

  static constexpr std::array<Field<UserStreamTypeParameters>, 2> kFields{
      {{"userId", &UserStreamTypeParameters::userId},
       {"streamType", &UserStreamTypeParameters::streamType}}};
};

// A picture to fetch, or a binding to end.
struct FrameParameters {
  std::string uid;
  std::int32_t videoSourceType = 0;
  bool forceGetFrame = false;

  static constexpr std::array<Field<FrameParameters>, 3> kFields{
      {{"uid", &FrameParameters::uid},
       {"videoSourceType", &FrameParameters::videoSourceType},
       {"forceGetFrame", &FrameParameters::forceGetFrame}}};
};

struct TopicParameters {
  std::string topic;

  static constexpr std::array<Field<TopicParameters>, 1> kFields{
      {{"topic", &TopicParameters::topic}}};
};

struct SoundFileParameters {
  std::string filePath;

  static constexpr std::array<Field<SoundFileParameters>, 1> kFields{
      {{"filePath", &SoundFileParameters::filePath}}};
};

struct ResumedMediaParameters {
  bool audio = false;
  bool video = false;
  bool share = false;

  static constexpr std::array<Field<ResumedMediaParameters>, 3> kFields{
      {{"audio", &ResumedMediaParameters::audio},
       {"video", &ResumedMediaParameters::video},
       {"share", &ResumedMediaParameters::share}}};
};

struct DeviceIdParameters {
  std::int32_t id = 0;

  static constexpr std::array<Field<DeviceIdParameters>, 1> kFields{
      {{"id", &DeviceIdParameters::id}}};
};

struct StreamTypeParameters {
  std::int32_t streamType = 0;

  static constexpr std::array<Field<StreamTypeParameters>, 1> kFields{
      {{"streamType", &StreamTypeParameters::streamType}}};
};

struct VideoQualityParameters {
  std::int32_t videoQuality = 0;

  static constexpr std::array<Field<VideoQualityParameters>, 1> kFields{
      {{"videoQuality", &VideoQualityParameters::videoQuality}}};
};

struct VolumeParameters {
  std::int32_t volume = 0;

  static constexpr std::array<Field<VolumeParameters>, 1> kFields{
      {{"volume", &VolumeParameters::volume}}};
};

struct LoopbackTestParameters {
  std::int32_t interval = 0;

  static constexpr std::array<Field<LoopbackTestParameters>, 1> kFields{
      {{"interval", &LoopbackTestParameters::interval}}};
};

struct SceneModeParameters {
  std::int32_t sceneMode = 0;

  static constexpr std::array<Field<SceneModeParameters>, 1> kFields{
      {{"sceneMode", &SceneModeParameters::sceneMode}}};
};

}  // namespace kavrin
