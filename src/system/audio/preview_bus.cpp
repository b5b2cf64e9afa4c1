// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/preview_bus.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "platform/audio_file.h"
#include "system/audio/player_node.h"

namespace vrel::audio {

/// What sounds, for the main thread and the queue. A turn is one `play` or `stop`: work of the queue that comes after
/// a later turn does nothing.
struct PreviewBus::Voice {
  Voice(std::shared_ptr<PlayerFeeder> feeder, std::shared_ptr<AudioConverterFactory> converters,
        const std::shared_ptr<RenderCounters>& counters)
      : node(std::move(feeder), std::move(converters), counters) {}

  PlayerNode node;
  std::atomic<std::uint64_t> turn{0};

  void play(std::uint64_t asked, const std::shared_ptr<AVAudioFile>& file, std::int64_t from, std::uint32_t frames) {
    if (turn.load() != asked) {
      return;
    }
    node.stop();
    node.scheduleSegment(file, from, frames, [] {});
    if (turn.load() == asked) {
      node.play();
    }
  }

  void stop(std::uint64_t asked) {
    if (turn.load() == asked) {
      node.stop();
    }
  }
};

class PreviewBus::Player final : public AVAudioPlayer {
 public:
  Player(std::shared_ptr<Voice> voice, DispatchQueue& queue, std::shared_ptr<AVAudioFile> file)
      : voice_(std::move(voice)), queue_(queue), file_(std::move(file)) {}
  ~Player() override {
    if (isPlaying_) {
      Player::stop();
    }
  }
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  void setCurrentTime(double seconds) override {
    const double frame = seconds * file_->processingFormat().sampleRate;
    from_ = frame > 0 ? std::llround(std::min(frame, static_cast<double>(file_->length()))) : 0;
  }

  void prepareToPlay() override {
    queue_.async([voice = voice_] { voice->node.prepareWithFrameCount(0); });
  }

  void play() override {
    isPlaying_ = true;
    const std::int64_t frames =
        std::min<std::int64_t>(file_->length() - from_, std::numeric_limits<std::uint32_t>::max());
    if (frames > 0) {
      queue_.async([voice = voice_, asked = ++voice_->turn, file = file_, from = from_, frames] {
        voice->play(asked, file, from, static_cast<std::uint32_t>(frames));
      });
    }
  }

  // At once, and once more behind a `play` that is under way.
  void stop() override {
    isPlaying_ = false;
    const std::uint64_t asked = ++voice_->turn;
    voice_->node.stop();
    queue_.async([voice = voice_, asked] { voice->stop(asked); });
  }

 private:
  const std::shared_ptr<Voice> voice_;
  DispatchQueue& queue_;
  const std::shared_ptr<AVAudioFile> file_;
  std::int64_t from_ = 0;
  bool isPlaying_ = false;
};

PreviewBus::PreviewBus(const Collaborators& collaborators)
    : device_(collaborators.device),
      files_(collaborators.files),
      counters_(collaborators.counters),
      feeder_(std::make_shared<PlayerFeeder>()),
      voice_(std::make_shared<Voice>(feeder_, collaborators.converters, counters_)),
      processor_(voice_->node.processor()),
      queue_(collaborators.queues.makeSerialQueue("vrel.preview")) {}

PreviewBus::~PreviewBus() {
  ++voice_->turn;
}

Result<std::unique_ptr<AVAudioPlayer>> PreviewBus::makePlayer(const std::string& path) {
  auto file = files_.openForReading(path);
  if (!file) {
    return file.error();
  }
  if (device_->isRealTime() && feeder_->startThread()) {
    RenderCounters::add(counters_->refusedNodes);  // it will only play what is read when it starts
  }
  isInUse_ = true;
  return std::unique_ptr<AVAudioPlayer>(std::make_unique<Player>(voice_, *queue_, std::move(file).value()));
}

Outcome PreviewBus::start(BlockRenderer& renderer) {
  if (!device_->isRunning()) {
    processor_->prepare(device_->sampleRate());
    engine_ = &renderer;
  }
  return device_->start(*this);
}

void PreviewBus::renderWithEvents(float* left, float* right, std::uint32_t frameCount,
                                  std::span<DeviceEvent> events) noexcept {
  engine_->renderWithEvents(left, right, frameCount, events);
  if (!isInUse_.load(std::memory_order_relaxed)) {
    return;
  }
  const AudioThreadScope audioThread;
  for (std::uint32_t done = 0; done < frameCount; done += maximumBlockFrames) {
    addPreview(left + done, right + done, std::min(frameCount - done, maximumBlockFrames));
  }
}

void PreviewBus::addPreview(float* left, float* right, std::uint32_t frameCount) noexcept {
  ProcessBlock block;
  block.frameCount = frameCount;
  block.output = {{samples_[0].data(), samples_[1].data()}, maximumStreamChannels};
  processor_->process(block);
  for (std::uint32_t frame = 0; frame < frameCount; ++frame) {
    left[frame] += samples_[0][frame];
    right[frame] += samples_[1][frame];
  }
}

}  // namespace vrel::audio
