// One engine object from its creation to UnInit: login, room, media, devices.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "conference/base/engine_log.h"
#include "conference/base/task_thread.h"
#include "conference/media/devices.h"
#include "conference/room/room_home.h"
#include "conference/session/capture_plan.h"
#include "conference/session/completions.h"
#include "conference/session/level_board.h"
#include "conference/session/local_media.h"
#include "conference/session/remote_media.h"
#include "conference/session/reporter.h"
#include "conference/session/roster_view.h"
#include "engine/engine_interface.h"
#include "support/thread_annotations.h"

namespace kavrin::conference {

// What an engine stands on; chosen once, when it is created.
struct Environment {
  std::shared_ptr<DeviceCatalog> devices;
  std::function<std::shared_ptr<RoomHome>(const std::string& rootHost)> homeFor;
};

// The member as the host's records show it.
KavrinConferenceEngineUser userOf(const MemberRecord& member);

// Threads
//  * Public functions: any thread, in any state, the callback thread included. None waits for
//    another thread, but for stop().
//  * loop_ is the callback thread: home events, timers and snapshots end there, and it alone calls
//    the host, always without a lock.
//  * local_ has a worker for devices, files_ one for image files; captures have threads of their
//    own, which only pass media on.
//  * mutex_ guards the state below. Locks are taken in the order mutex_, local or remote media,
//    home, task queue; never the other way round.
//
// Shutdown (stop): shut the reporter, log out, stop captures, close files_, close loop_, cancel
// completions. Afterwards every operation answers kStopped.
//
// The implementation is spread by subject: session_lifecycle.cpp, session_room.cpp,
// session_events.cpp, session_media.cpp, session_devices.cpp, session_timers.cpp,
// session_snapshots.cpp.
class Session : public std::enable_shared_from_this<Session> {
 public:
  using VideoOption = Kavrin::ConferenceEngine::VideoOption;
  using ConfRoom = Kavrin::ConferenceEngine::ConfRoom;
  using Completion = Completions::Completion;

  static std::shared_ptr<Session> create(KavrinConferenceEngineEvent* sink,
                                         Environment environment);
  Session(KavrinConferenceEngineEvent* sink, Environment environment);
  ~Session();

  // Lifecycle
  void setLogFolder(const std::string& folder) { log_.open(folder); }
  void setRootHost(const std::string& rootHost);
  void init(const std::string& userId, const std::string& name, const std::string& password,
            Completion completion);
  void stop();
  bool stopped() const;

  // Rooms and their host
  Code setExtendedInfo(const std::string& info);
  Code joinRoom(const std::string& roomId);
  Code leaveRoom();
  Code kickOut(const std::string& userId);
  Code muteRoom(bool enable);
  Code closeRoom();
  Code mute(const std::string& userId, MediaKind kind, bool enable);
  Roster attendees() const;
  void roomInfo(KavrinConferenceEngineInfo& info) const;
  void sendMessage(std::string text, const std::string& to, Completion completion);
  Code createDataChannel();
  Code subscribeData(const std::string& topic);
  Code unsubscribeData(const std::string& topic);
  Code deleteDataChannel();
  Code setReconnectResumedMedia(bool audio, bool video, bool share);

  // Media
  Code enablePublish(bool audio, bool video);
  Code enablePublishAudio(bool enable);
  Code enablePublishVideo(bool enable);
  Code enableSubscribe(bool audio, bool video);
  Code enableSubscribeAudio(const std::string& userId, bool enable);
  Code enableSubscribeVideo(const std::string& userId, bool enable, bool camera);
  Code setRemoteDefaultStream(std::int32_t type);
  Code setRemoteStream(const std::string& userId, std::int32_t type);
  Code enableExternalRender(bool enable);
  Code enableDualStream(bool enable);
  Code startPreview();
  Code stopPreview();
  Code setSceneMode(std::int32_t mode);
  Code startShare(const VideoOption& option);
  Code updateShare(const VideoOption& option);
  Code stopShare();
  Code takeSnapshot(const std::string& userId, std::int32_t type, const std::string& path);
  Code enableVolumeIndication(bool enable, std::int32_t cycleMs);

  // Devices
  Code listMicrophones(std::vector<Kavrin::ConferenceEngine::AudioDeviceInfo>& devices) const;
  Code listSpeakers(std::vector<Kavrin::ConferenceEngine::AudioDeviceInfo>& devices) const;
  Code listCameras(std::vector<Kavrin::ConferenceEngine::CameraDeviceInfo>& devices) const;
  Code listShareSources(
      std::vector<Kavrin::ConferenceEngine::ScreenShareDeviceInfo>& sources) const;
  Code setMicrophone(std::int32_t id);
  Code setSpeaker(std::int32_t id);
  Code setCamera(const VideoOption& option);
  Code setVideoQuality(std::int32_t quality);
  Code microphoneVolume(std::int32_t& volume) const;
  Code setMicrophoneVolume(std::int32_t volume);
  Code speakerVolume(std::int32_t& volume) const;
  Code setSpeakerVolume(std::int32_t volume);
  Code startSpeakerTest(const std::string& file);
  Code stopSpeakerTest();
  Code startLoopbackTest(std::int32_t intervalMs);
  Code stopLoopbackTest();
  Code enableNoiseSuppression(bool enable);
  Code enableLoopbackRecording(bool enable);

 private:
  enum class Phase { kIdle, kLoggingIn, kReady, kReplaced, kStopped };
  struct Snapshot {
    std::string userId;
    bool screen = false;
    std::int32_t type = 0;
    std::string path;
    Clock::time_point deadline;
  };
  friend class Inbox;

  // Runs `task` on the callback thread while this object lives.
  void post(std::function<void(Session&)> task);
  void postAt(Clock::time_point time, std::function<void(Session&)> task);
  template <typename Call>
  void report(Call&& call) {
    reporter_.report(std::forward<Call>(call));
  }
  void finishLater(Completions::Id id, Code code);

  // State checks
  Code alive() const KAVRIN_REQUIRES(mutex_);
  Code ready() const KAVRIN_REQUIRES(mutex_);
  Code inRoom() const KAVRIN_REQUIRES(mutex_);
  Code asHost() const KAVRIN_REQUIRES(mutex_);
  bool joined() const KAVRIN_REQUIRES(mutex_) { return stay_ != 0 && view_.stay() == stay_; }
  const MemberRecord* self() const KAVRIN_REQUIRES(mutex_) { return view_.find(userId_); }
  ConfRoom room() const;
  ConfRoom roomOf(Stay stay) const KAVRIN_REQUIRES(mutex_);

  Code beginLogin(const std::string& userId, const std::string& name, const std::string& password,
                  Completions::Id id);
  void endStay(RoomState state) KAVRIN_REQUIRES(mutex_);
  Code changeHost(const std::function<void(HomeLink&)>& request, const std::string& userId);

  // Home events, on the callback thread
  void handle(const HomeEvent& event);
  void on(Stay stay, const home_event::LoginDone& event);
  void on(Stay stay, const home_event::Replaced& event);
  void on(Stay stay, const home_event::Joined& event);
  void on(Stay stay, const home_event::JoinFailed& event);
  void on(Stay stay, const home_event::MemberJoined& event);
  void on(Stay stay, const home_event::MemberLeft& event);
  void on(Stay stay, const home_event::MemberChanged& event);
  void on(Stay stay, const home_event::RoomMuted& event);
  void on(Stay stay, const home_event::Out& event);
  void on(Stay stay, const home_event::Connection& event);
  void on(Stay stay, const home_event::Refused& event);
  void on(Stay stay, const home_event::Message& event);
  void on(Stay stay, const home_event::MessageDone& event);
  void on(Stay stay, const home_event::TopicMessage& event);
  void on(Stay stay, const home_event::Channel& event);
  void on(Stay stay, const home_event::Demand& event);
  void reportRoomState(Stay stay, RoomState state);
  void resumeMedia();
  void showMember(const MemberRecord& member);
  void learnAboutSelf(const MemberRecord& member) KAVRIN_REQUIRES(mutex_);
  void walk(const std::vector<RosterStep>& steps);
  void reportStep(const ConfRoom& room, const RosterStep& step, bool local);
  void forgetStopped(const RosterStep& step);
  void deliverPicture(const std::string& from, const PicturePtr& picture);
  bool mayShow(const std::string& from, const Picture& picture) const KAVRIN_REQUIRES(mutex_);

  // After a change of settings_, subscriptions_ or the room's situation
  void pushMedia() KAVRIN_REQUIRES(mutex_);
  void pushSubscriptions() KAVRIN_REQUIRES(mutex_);
  void replan() KAVRIN_REQUIRES(mutex_);
  Code changeMedia(const std::function<void(MediaSettings&)>& change);
  Code checkShare(const VideoOption& option, ShareRequest& request) const;

  // Timers, on the callback thread; each runs until its stay or its generation has passed
  void startRoomTimers(Stay stay);
  void levelStep(Stay stay);
  void statisticsStep(Stay stay, Clock::time_point since);
  void volumeStep(std::uint64_t generation, std::chrono::milliseconds cycle);
  void loopbackStep(std::uint64_t generation, std::chrono::milliseconds interval);
  void speakerTestStep(std::uint64_t generation, int step);
  std::map<std::string, double> audibleLoudness();
  // What local_ reports, on its threads
  void showPreview(const PicturePtr& picture);
  void showDevice(LocalMedia::Device device, DeviceState state);
  void playLoopback(const Sound& sound);

  void stepSnapshot(const Snapshot& snapshot);
  PicturePtr currentPicture(const Snapshot& snapshot) const KAVRIN_REQUIRES(mutex_);
  Code snapshotSource(const Snapshot& snapshot) const KAVRIN_REQUIRES(mutex_);
  void watch(const Snapshot& snapshot, bool on) KAVRIN_REQUIRES(mutex_);
  void finishSnapshot(const Snapshot& snapshot, Code code, int width, int height);

  const Environment environment_;
  Reporter reporter_;
  EngineLog log_;
  Completions completions_;
  const std::shared_ptr<TaskThread> loop_ = std::make_shared<TaskThread>();
  const std::shared_ptr<RemoteMedia> remote_ = std::make_shared<RemoteMedia>(loop_);
  TaskThread files_;

  Mutex stopMutex_;
  CondVar stopDone_;
  bool stopping_ KAVRIN_GUARDED_BY(stopMutex_) = false;
  bool stopFinished_ KAVRIN_GUARDED_BY(stopMutex_) = false;

  LevelBoard levels_;  // callback thread only

  mutable Mutex mutex_;
  Phase phase_ KAVRIN_GUARDED_BY(mutex_) = Phase::kIdle;
  std::string rootHost_ KAVRIN_GUARDED_BY(mutex_);
  std::string userId_ KAVRIN_GUARDED_BY(mutex_);
  std::string extendedInfo_ KAVRIN_GUARDED_BY(mutex_);
  Completions::Id loginId_ KAVRIN_GUARDED_BY(mutex_) = 0;
  std::shared_ptr<RoomHome> home_ KAVRIN_GUARDED_BY(mutex_);
  std::shared_ptr<HomeLink> link_ KAVRIN_GUARDED_BY(mutex_);

  Stay lastStay_ KAVRIN_GUARDED_BY(mutex_) = 0;
  Stay stay_ KAVRIN_GUARDED_BY(mutex_) = 0;  // of the room joined or being joined, else 0
  std::map<Stay, std::string> roomIds_ KAVRIN_GUARDED_BY(mutex_);  // of stays not yet reported over
  RoomState roomState_ KAVRIN_GUARDED_BY(mutex_) = RoomState::kNone;
  RosterView view_ KAVRIN_GUARDED_BY(mutex_);
  bool channelWanted_ KAVRIN_GUARDED_BY(mutex_) = false;
  std::set<std::string> topics_ KAVRIN_GUARDED_BY(mutex_);

  MediaSettings settings_ KAVRIN_GUARDED_BY(mutex_);
  SubscriptionPolicy subscriptions_ KAVRIN_GUARDED_BY(mutex_);
  RoomSituation situation_ KAVRIN_GUARDED_BY(mutex_);
  bool resumeAudio_ KAVRIN_GUARDED_BY(mutex_) = true;
  bool resumeVideo_ KAVRIN_GUARDED_BY(mutex_) = true;
  bool resumeShare_ KAVRIN_GUARDED_BY(mutex_) = true;
  int pendingSnapshots_ KAVRIN_GUARDED_BY(mutex_) = 0;

  std::int32_t speakerId_ KAVRIN_GUARDED_BY(mutex_) = 0;
  std::shared_ptr<SoundOutput> speaker_ KAVRIN_GUARDED_BY(mutex_);
  std::shared_ptr<class SoundFile> speakerTest_ KAVRIN_GUARDED_BY(mutex_);
  std::uint64_t volumeGeneration_ KAVRIN_GUARDED_BY(mutex_) = 0;
  std::uint64_t loopbackGeneration_ KAVRIN_GUARDED_BY(mutex_) = 0;
  std::uint64_t speakerTestGeneration_ KAVRIN_GUARDED_BY(mutex_) = 0;

  LocalMedia local_;  // The last member: stops first, while all it reports to still lives.
};

}  // namespace kavrin::conference
