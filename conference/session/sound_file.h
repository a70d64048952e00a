// Plays a sound file in real time.
#pragma once

#include <memory>
#include <string>

#include "conference/gst/sample_pipeline.h"
#include "conference/media/devices.h"

namespace kavrin::conference {

// Threads: create and destroy on any one thread at a time; the consumer is called on a streaming
// thread and no more once the destructor has returned.
class SoundFile {
 public:
  // Null when the file cannot be read as sound. Takes up to half a second to find out.
  static std::unique_ptr<SoundFile> play(const std::string& path, SoundConsumer consumer);
  // True once the end has been reached.
  bool ended() { return pipeline_->ended(); }

 private:
  explicit SoundFile(std::unique_ptr<SamplePipeline> pipeline) : pipeline_(std::move(pipeline)) {}

  const std::unique_ptr<SamplePipeline> pipeline_;
};

}  // namespace kavrin::conference
