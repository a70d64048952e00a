// Where media comes from and where sound goes: the seam behind which generated devices stand now
// and real ones can take their place.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "conference/media/picture.h"

namespace kavrin::conference {

// A running capture. Pictures or sounds reach the consumer on a thread of the source; after the
// destructor has returned, none does. The consumer must not destroy the source.
class Capture {
 public:
  virtual ~Capture() = default;
};

using PictureConsumer = std::function<void(PicturePtr)>;
using SoundConsumer = std::function<void(SoundPtr)>;

struct AudioDeviceEntry {
  std::int32_t id = 0;
  std::string guid;
  std::string name;
};

struct CameraEntry {
  std::int32_t id = 0;
  std::string guid;
  std::string name;
};

struct ShareEntry {
  std::int32_t id = 0;
  bool window = false;
  std::string name;
  int width = 0;   // pixels
  int height = 0;  // pixels
};

// What of a screen or window is captured.
struct ShareRequest {
  std::int32_t id = 0;
  bool window = false;
  int left = 0;    // of the rectangle shared, pixels
  int top = 0;     // pixels
  int width = 0;   // pixels, 0 for all that is left of the source
  int height = 0;  // pixels
  int frameRate = 0;
  std::vector<std::int32_t> excludedWindows;

  bool operator==(const ShareRequest&) const = default;
};

// Takes the sound of other members and of tests. Threads: any.
class SoundOutput {
 public:
  virtual ~SoundOutput() = default;
  // `gain` 0.0 to 1.0.
  virtual void play(const Sound& sound, double gain) = 0;
  // Mean square of what was played since the last call, 0 when nothing was.
  virtual double takeMeanSquare() = 0;
};

// All devices of a machine. Threads: any; the functions do not block longer than opening a device
// takes. Captures that cannot be opened are null.
class DeviceCatalog {
 public:
  virtual ~DeviceCatalog() = default;

  virtual std::vector<CameraEntry> cameras() const = 0;
  virtual std::vector<AudioDeviceEntry> microphones() const = 0;
  virtual std::vector<AudioDeviceEntry> speakers() const = 0;
  virtual std::vector<ShareEntry> shareSources() const = 0;

  // `userId` tells apart the members' generated media; real devices ignore it.
  virtual std::unique_ptr<Capture> openCamera(std::int32_t id, const VideoFormat& format,
                                              const std::string& userId,
                                              PictureConsumer consumer) = 0;
  virtual std::unique_ptr<Capture> openMicrophone(std::int32_t id, const std::string& userId,
                                                  SoundConsumer consumer) = 0;
  virtual std::unique_ptr<Capture> openShare(const ShareRequest& request,
                                             PictureConsumer consumer) = 0;
  virtual std::unique_ptr<SoundOutput> openSpeaker(std::int32_t id) = 0;
  // One picture of the source as it looks now, or null.
  virtual PicturePtr shareThumbnail(std::int32_t id, bool window, int width, int height) = 0;
};

}  // namespace kavrin::conference
