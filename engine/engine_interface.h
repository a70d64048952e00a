// The conference engine library as this module knows it.
//
// Everything that crosses the border to the engine library is declared here and nowhere else: the
// records, the callback interface that the library calls (KavrinConferenceEngineEvent), the engine
// object with its operations (KavrinConferenceEngine) and three static functions. The library is
// found at load time by its file name beside the module; whoever replaces that file replaces the
// engine. That is why the order of virtual functions and the offsets of fields below are fixed:
// they are a binary contract, checked at the end of this file and in the tests.
//
// Conventions
//  * Texts are NUL-terminated 8-bit strings in UTF-8 and stay valid until the call returns. The
//    log folder alone is in the system's code page.
//  * Booleans are one byte; integers are signed 32-bit unless declared otherwise.
//  * Result codes: 0 is success; the meaning of other values belongs to the library.
//
// Threads
//  * The module calls every operation from the script thread.
//  * The library calls the callback interface and completion functions on threads of its own,
//    possibly several at once. After UnInit has returned it calls neither.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#if defined(_WIN32) && defined(KAVRIN_ENGINE_LIBRARY)
#define KAVRIN_ENGINE_API __declspec(dllexport)
#elif defined(_WIN32)
#define KAVRIN_ENGINE_API __declspec(dllimport)
#else
#define KAVRIN_ENGINE_API __attribute__((visibility("default")))
#endif

namespace Kavrin::ConferenceEngine {

// Bytes reserved for a device text, the terminating NUL included.
inline constexpr std::size_t kDeviceTextSize = 256;

// An audio capture device or a speaker.
struct AudioDeviceInfo {
  std::int32_t id;               // device index
  char guid[kDeviceTextSize];    // NUL-terminated
  char name[kDeviceTextSize];    // NUL-terminated
  std::uint8_t isSystemDefault;  // non-zero for the system's default device
  std::int32_t type;             // device type code
};

struct CameraDeviceInfo {
  std::int32_t id;             // device index
  char name[kDeviceTextSize];  // NUL-terminated
  char guid[kDeviceTextSize];  // NUL-terminated
};

// Value of ScreenShareDeviceInfo::type for an application window; every other value is a screen.
inline constexpr std::int32_t kShareSourceWindow = 2;

// A screen or a window that can be shared.
struct ScreenShareDeviceInfo {
  std::int32_t id;                   // screen id, or the native window handle
  std::int32_t type;                 // kShareSourceWindow or a screen
  char name[kDeviceTextSize];        // NUL-terminated; for a screen, the display device's name
  std::uint16_t thumbnailWidth;      // pixels
  std::uint16_t thumbnailHeight;     // pixels
  unsigned char* thumbnailData;      // allocated by the engine with new[]; the caller of
                                     // EnumScreenAndWindow releases it with delete[]
  std::int32_t thumbnailDataLength;  // bytes
};

// What to capture and how: a camera, or a screen or window to share.
class KAVRIN_ENGINE_API VideoOption {
 public:
  VideoOption();
  VideoOption(const VideoOption& other);
  VideoOption& operator=(const VideoOption& other);
  ~VideoOption();

  std::int32_t deviceId;
  std::int32_t deviceType;
  std::int32_t left;                          // of the source rectangle, pixels
  std::int32_t top;                           // pixels
  std::int32_t width;                         // pixels
  std::int32_t height;                        // pixels
  std::int32_t resolution;                    // resolution code of the engine
  std::int32_t frameRate;                     // frames per second
  std::int32_t bitRate;                       // engine's unit
  std::vector<std::int32_t> excludedWindows;  // window handles left out of a shared screen
};

// The room a callback belongs to, and who the local user is in it.
struct ConfRoom {
  std::string m_roomId;
  std::string m_localUid;
};

// Transport statistics of one reporting period.
struct RtcStatistics {
  std::uint16_t m_nTxBitrate;         // kbit/s
  std::uint16_t m_nRxBitrate;         // kbit/s
  std::uint16_t m_nTxPacketLossRate;  // percent
  std::uint16_t m_nRxPacketLossRate;  // percent
  std::uint16_t m_nNetDelay;          // milliseconds
};

// Loudness of one member, an entry of OnAudioVolumeIndication.
struct VolumeIndication {
  std::string m_uid;
  std::uint32_t m_volume;
};

// A picture as OnRoomMemberVideoFrame receives it: I420, planes Y, U, V one after the other
// without padding, width * height * 3 / 2 bytes. The bytes belong to the engine and are valid
// during the callback only.
struct VideoFrame {
  std::uint16_t width;       // pixels
  std::uint16_t height;      // pixels
  std::uint32_t streamType;  // 0 camera, 1 camera (small stream), 2 screen share
  const unsigned char* data;
};

// What one fetch of a picture found.
struct FrameInfo {
  std::int32_t ret;
  std::int32_t yStride;   // bytes
  std::int32_t width;     // pixels
  std::int32_t height;    // pixels
  std::int32_t rotation;  // degrees
};

}  // namespace Kavrin::ConferenceEngine

// A member of a room. The texts belong to the object and may be null; construction, copy and
// destruction are the library's.
class KAVRIN_ENGINE_API KavrinConferenceEngineUser {
 public:
  KavrinConferenceEngineUser();
  KavrinConferenceEngineUser(const char* name, const char* id, const char* extendedInfo);
  KavrinConferenceEngineUser(const KavrinConferenceEngineUser& other);
  KavrinConferenceEngineUser& operator=(const KavrinConferenceEngineUser& other);
  ~KavrinConferenceEngineUser();

  char* m_pUserName;
  char* m_pUserId;
  char* m_pUserExtInfo;
  std::uint8_t m_audioState;
  std::uint8_t m_cameraState;
  std::uint8_t m_screenShareState;
};

// State of the current room with its members. Construction, copy and destruction are the
// library's.
class KAVRIN_ENGINE_API KavrinConferenceEngineInfo {
 public:
  KavrinConferenceEngineInfo();
  KavrinConferenceEngineInfo(const KavrinConferenceEngineInfo& other);
  KavrinConferenceEngineInfo& operator=(const KavrinConferenceEngineInfo& other);
  ~KavrinConferenceEngineInfo();

  // Number of members held.
  std::int32_t UserCount() const;
  // The member at `index`, 0 <= index < UserCount(); valid as long as this object is unchanged.
  const KavrinConferenceEngineUser& UserAt(std::int32_t index) const;
  void AddUser(const KavrinConferenceEngineUser& user);

  std::int32_t m_conferenceState;
  std::int32_t m_audioState;
  std::int32_t m_videoState;
  std::int32_t m_shareState;
  std::string m_roomId;

 private:
  std::vector<KavrinConferenceEngineUser> m_users;
};

// Callbacks of the engine, called on its threads. The slot order is binary contract; there is no
// virtual destructor, because the engine never deletes the object that it calls.
class KavrinConferenceEngineEvent {
 public:
  using ConfRoom = Kavrin::ConferenceEngine::ConfRoom;

  virtual void OnRtcStats(const ConfRoom& room,
                          const Kavrin::ConferenceEngine::RtcStatistics& stats) = 0;
  virtual void OnAudioStateChanged(const ConfRoom& room, const char* pUsername,
                                   std::int32_t aState) = 0;
  virtual void OnVideoStateChanged(const ConfRoom& room, const char* pUsername, std::int32_t vType,
                                   std::int32_t vState, std::int32_t stateError) = 0;
  virtual void OnActiveSpeaker(const ConfRoom& room, const char* pUsername,
                               std::int32_t volume) = 0;
  virtual void OnRoomMemberStateChange(const ConfRoom& room, const char* pUsername,
                                       std::int32_t userState) = 0;
  virtual void OnRoomStateChange(const ConfRoom& room, std::int32_t roomState) = 0;
  virtual void OnRoomMemberVideoFrame(const ConfRoom& room, const char* pUsername,
                                      const Kavrin::ConferenceEngine::VideoFrame& frame) = 0;
  virtual void OnRoomError(const ConfRoom& room, std::int32_t errCode, const char* reason) = 0;
  virtual void OnCustomMessage(const ConfRoom& room, const char* msg, const char* text2,
                               const char* text3) = 0;
  virtual void OnAudioDeviceStateChange(std::int32_t devType, std::int32_t devState) = 0;
  virtual void OnAudioDefaultDeviceChanged(std::int32_t devType) = 0;
  virtual void OnVideoDeviceStateChange(std::int32_t devState) = 0;
  virtual void OnNetworkQuality(const ConfRoom& room, const char* pUsername,
                                std::uint32_t txQualityValue, std::int32_t rxQualityValue) = 0;
  virtual void OnSnapshotTaken(const ConfRoom& room, const char* pUsername, std::int32_t srcType,
                               const char* pFilepath, std::int32_t width, std::int32_t height,
                               std::int32_t errCode) = 0;
  virtual void OnAudioVolumeIndication(
      const ConfRoom& room,
      const std::vector<Kavrin::ConferenceEngine::VolumeIndication>& volumes) = 0;
  virtual void OnAudioDeviceVolumeChanged(std::int32_t devType, std::int32_t volume,
                                          bool muted) = 0;
  virtual void OnDataMessageReceived(const ConfRoom& room, const char* message) = 0;
  virtual void OnDataChannelStateChanged(const ConfRoom& room, std::int32_t state,
                                         const char* text) = 0;

 protected:
  KavrinConferenceEngineEvent() = default;
  KavrinConferenceEngineEvent(const KavrinConferenceEngineEvent&) = default;
  KavrinConferenceEngineEvent& operator=(const KavrinConferenceEngineEvent&) = default;
  ~KavrinConferenceEngineEvent() = default;
};

// The engine object. Created and destroyed by the static functions only. Before DestroyConfEngine
// its owner calls UnInit. The slot order is binary contract.
class KAVRIN_ENGINE_API KavrinConferenceEngine {
 public:
  using InitCompletion = std::function<void(std::int32_t code)>;
  using MessageCompletion = std::function<void(std::int32_t code, const char* text)>;
  using AudioDevices = std::vector<Kavrin::ConferenceEngine::AudioDeviceInfo>;
  using CameraDevices = std::vector<Kavrin::ConferenceEngine::CameraDeviceInfo>;
  using ShareSources = std::vector<Kavrin::ConferenceEngine::ScreenShareDeviceInfo>;
  using Users = std::vector<KavrinConferenceEngineUser>;
  using VideoOption = Kavrin::ConferenceEngine::VideoOption;

  // A new engine object that reports to `sink`; the sink is borrowed and must outlive it. The
  // caller owns the result and gives it back to DestroyConfEngine.
  static KavrinConferenceEngine* CreateConfEngine(KavrinConferenceEngineEvent* sink);
  static void DestroyConfEngine(KavrinConferenceEngine* engine);
  // Writes the library's version into `buffer` of `size` bytes, NUL-terminated; the buffer stays
  // as it is when the library has no version to give.
  static void GetSDKVersion(char* buffer, std::uint16_t size);

  virtual void Reserved0() = 0;                         // slot 0
  virtual void SetLogFilePath(const char* folder) = 0;  // slot 1
  virtual void SetRootHost(const char* rootHost) = 0;   // slot 2
  virtual void Init(const char* userId, const char* name, const char* password,
                    InitCompletion completion) = 0;                        // slot 3
  virtual std::int32_t UnInit() = 0;                                       // slot 4
  virtual std::int32_t SetUserExtendedInfo(const char* info) = 0;          // slot 5
  virtual std::int32_t EnablePublish(bool audio, bool video) = 0;          // slot 6
  virtual std::int32_t EnableSubscribe(bool audio, bool video) = 0;        // slot 7
  virtual std::int32_t EnableExternalRender(bool enable) = 0;              // slot 8
  virtual std::int32_t EnumAudioCaptureDevice(AudioDevices& devices) = 0;  // slot 9
  virtual std::int32_t EnumSpeakerDevice(AudioDevices& devices) = 0;       // slot 10
  virtual std::int32_t EnumCameraDevice(CameraDevices& devices) = 0;       // slot 11
  virtual std::int32_t EnumScreenAndWindow(ShareSources& sources) = 0;     // slot 12
  virtual std::int32_t SetReconnectResumedMediaType(bool audio, bool video,
                                                    bool share) = 0;             // slot 13
  virtual std::int32_t SetAudioCaptureDevice(std::int32_t id) = 0;               // slot 14
  virtual std::int32_t SetSpeakerDevice(std::int32_t id) = 0;                    // slot 15
  virtual std::int32_t GetAudioCaptureDeviceVolume(std::int32_t* volume) = 0;    // slot 16
  virtual std::int32_t SetAudioCaptureDeviceVolume(std::int32_t volume) = 0;     // slot 17
  virtual std::int32_t GetSpeakerDeviceVolume(std::int32_t* volume) = 0;         // slot 18
  virtual std::int32_t SetSpeakerDeviceVolume(std::int32_t volume) = 0;          // slot 19
  virtual std::int32_t StartSpeakerDeviceTest(const char* soundFile) = 0;        // slot 20
  virtual std::int32_t StopSpeakerDeviceTest() = 0;                              // slot 21
  virtual std::int32_t StartAudioDeviceLoopbackTest(std::int32_t interval) = 0;  // slot 22
  virtual std::int32_t StopAudioDeviceLoopbackTest() = 0;                        // slot 23
  virtual std::int32_t SetVideoQuality(std::int32_t quality) = 0;                // slot 24
  virtual std::int32_t SetCameraDevice(const VideoOption& option) = 0;           // slot 25
  virtual void Reserved26() = 0;                                                 // slot 26
  virtual std::int32_t StartPreview() = 0;                                       // slot 27
  virtual std::int32_t StopPreview() = 0;                                        // slot 28
  virtual std::int32_t SetRemoteDefaultVideoStreamType(
      const std::int32_t& streamType) = 0;                     // slot 29
  virtual std::int32_t EnableDualStreamMode(bool enable) = 0;  // slot 30
  virtual std::int32_t SetRemoteVideoStreamType(const char* userId,
                                                const std::int32_t& streamType) = 0;     // slot 31
  virtual std::int32_t EnableAINSMode(bool enable) = 0;                                  // slot 32
  virtual std::int32_t JoinRoom(const char* roomId) = 0;                                 // slot 33
  virtual std::int32_t LeaveRoom() = 0;                                                  // slot 34
  virtual std::int32_t SetScreenShareSceneMode(const std::int32_t& mode) = 0;            // slot 35
  virtual std::int32_t UpdateScreenShareSrcInfo(const VideoOption& option) = 0;          // slot 36
  virtual std::int32_t StartScreenShare(const VideoOption& option) = 0;                  // slot 37
  virtual std::int32_t StopScreenShare() = 0;                                            // slot 38
  virtual std::int32_t EnablePublishAudioStream(bool enable) = 0;                        // slot 39
  virtual std::int32_t EnablePublishVideoStream(bool enable) = 0;                        // slot 40
  virtual std::int32_t EnableSubscribeAudioStream(const char* userId, bool enable) = 0;  // slot 41
  virtual std::int32_t EnableSubscribeVideoStream(const char* userId, bool enable,
                                                  bool cameraStream) = 0;  // slot 42
  virtual std::int32_t EnableLoopbackRecording(bool enable) = 0;           // slot 43
  virtual std::int32_t EnableAudioVolumeIndication(bool enable,
                                                   std::int32_t cycleMs) = 0;  // slot 44
  virtual std::int32_t TakeSnapshot(const char* userId, std::int32_t srcType,
                                    const char* filePath) = 0;          // slot 45
  virtual std::int32_t MuteAudio(const char* userId, bool enable) = 0;  // slot 46
  virtual std::int32_t MuteVideo(const char* userId, bool enable) = 0;  // slot 47
  virtual std::int32_t KickOut(const char* userId) = 0;                 // slot 48
  virtual std::int32_t MuteRoom(bool enable) = 0;                       // slot 49
  virtual std::int32_t CloseRoom() = 0;                                 // slot 50
  // The members of the current room. The list belongs to the engine and is valid until the next
  // call of an operation.
  virtual const Users& GetRoomAttendees() = 0;                     // slot 51
  virtual void GetRoomInfo(KavrinConferenceEngineInfo& info) = 0;  // slot 52
  // `toUser` null sends to the whole room. The completion is called at most once, on any thread.
  virtual void SendCustomMessage(const char* msg, const char* toUser,
                                 MessageCompletion completion) = 0;  // slot 53
  virtual std::int32_t CreateDataChannel() = 0;                      // slot 54
  virtual std::int32_t SubscribeData(const char* topic) = 0;         // slot 55
  virtual std::int32_t UnsubscribeData(const char* topic) = 0;       // slot 56
  virtual std::int32_t DeleteDataChannel() = 0;                      // slot 57

 protected:
  KavrinConferenceEngine() = default;
  KavrinConferenceEngine(const KavrinConferenceEngine&) = default;
  KavrinConferenceEngine& operator=(const KavrinConferenceEngine&) = default;
  ~KavrinConferenceEngine() = default;
};

namespace Kavrin::ConferenceEngine::layout {

static_assert(offsetof(AudioDeviceInfo, id) == 0);
static_assert(offsetof(AudioDeviceInfo, guid) == 4);
static_assert(offsetof(AudioDeviceInfo, name) == 260);
static_assert(offsetof(AudioDeviceInfo, isSystemDefault) == 516);
static_assert(offsetof(AudioDeviceInfo, type) == 520);
static_assert(sizeof(AudioDeviceInfo) == 524);

static_assert(offsetof(CameraDeviceInfo, id) == 0);
static_assert(offsetof(CameraDeviceInfo, name) == 4);
static_assert(offsetof(CameraDeviceInfo, guid) == 260);
static_assert(sizeof(CameraDeviceInfo) == 516);

static_assert(offsetof(ScreenShareDeviceInfo, id) == 0);
static_assert(offsetof(ScreenShareDeviceInfo, type) == 4);
static_assert(offsetof(ScreenShareDeviceInfo, name) == 8);
static_assert(offsetof(ScreenShareDeviceInfo, thumbnailWidth) == 264);
static_assert(offsetof(ScreenShareDeviceInfo, thumbnailHeight) == 266);
static_assert(offsetof(ScreenShareDeviceInfo, thumbnailData) == 272);
static_assert(offsetof(ScreenShareDeviceInfo, thumbnailDataLength) == 280);
static_assert(sizeof(ScreenShareDeviceInfo) == 288);

static_assert(offsetof(VideoOption, deviceId) == 0);
static_assert(offsetof(VideoOption, deviceType) == 4);
static_assert(offsetof(VideoOption, left) == 8);
static_assert(offsetof(VideoOption, top) == 12);
static_assert(offsetof(VideoOption, width) == 16);
static_assert(offsetof(VideoOption, height) == 20);
static_assert(offsetof(VideoOption, resolution) == 24);
static_assert(offsetof(VideoOption, frameRate) == 28);
static_assert(offsetof(VideoOption, bitRate) == 32);
static_assert(offsetof(VideoOption, excludedWindows) == 40);

static_assert(offsetof(ConfRoom, m_roomId) == 0);
static_assert(offsetof(ConfRoom, m_localUid) == sizeof(std::string));

static_assert(offsetof(RtcStatistics, m_nTxBitrate) == 0);
static_assert(offsetof(RtcStatistics, m_nRxBitrate) == 2);
static_assert(offsetof(RtcStatistics, m_nTxPacketLossRate) == 4);
static_assert(offsetof(RtcStatistics, m_nRxPacketLossRate) == 6);
static_assert(offsetof(RtcStatistics, m_nNetDelay) == 8);
static_assert(sizeof(RtcStatistics) == 10);

static_assert(offsetof(VolumeIndication, m_uid) == 0);
static_assert(offsetof(VolumeIndication, m_volume) == sizeof(std::string));

static_assert(offsetof(VideoFrame, width) == 0);
static_assert(offsetof(VideoFrame, height) == 2);
static_assert(offsetof(VideoFrame, streamType) == 4);
static_assert(offsetof(VideoFrame, data) == 8);
static_assert(sizeof(VideoFrame) == 16);

static_assert(offsetof(FrameInfo, ret) == 0);
static_assert(offsetof(FrameInfo, yStride) == 4);
static_assert(offsetof(FrameInfo, width) == 8);
static_assert(offsetof(FrameInfo, height) == 12);
static_assert(offsetof(FrameInfo, rotation) == 16);
static_assert(sizeof(FrameInfo) == 20);

static_assert(offsetof(KavrinConferenceEngineUser, m_pUserName) == 0);
static_assert(offsetof(KavrinConferenceEngineUser, m_pUserId) == 8);
static_assert(offsetof(KavrinConferenceEngineUser, m_pUserExtInfo) == 16);
static_assert(offsetof(KavrinConferenceEngineUser, m_audioState) == 24);
static_assert(offsetof(KavrinConferenceEngineUser, m_cameraState) == 25);
static_assert(offsetof(KavrinConferenceEngineUser, m_screenShareState) == 26);
static_assert(sizeof(KavrinConferenceEngineUser) == 32);

static_assert(sizeof(bool) == 1);

}  // namespace Kavrin::ConferenceEngine::layout
