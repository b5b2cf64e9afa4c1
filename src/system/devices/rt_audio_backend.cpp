// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/rt_audio_backend.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <utility>

#include "system/devices/alsa_silence.h"

namespace vrel::system {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t usualFrames = 128;
constexpr unsigned usualRate = 48000;

// A device that keeps silent for this long, or fails this often, does not come back.
constexpr auto longestSilence = std::chrono::milliseconds(800);
constexpr std::uint32_t mostFaults = 16;

// RtAudio tells faults of its own thread without saying of which stream; there is one at a time.
std::atomic<std::uint32_t> faults{0};

void noteFault(RtAudioError::Type /*type*/, const std::string& /*text*/) {
  faults.fetch_add(1, std::memory_order_relaxed);
}

class RtAudioStream final : public OutputStream {
 public:
  explicit RtAudioStream(RtAudio& library) : library_(library) {}
  ~RtAudioStream() override {
    stop();
    library_.closeStream();
  }
  RtAudioStream(const RtAudioStream&) = delete;
  RtAudioStream& operator=(const RtAudioStream&) = delete;

  [[nodiscard]] Outcome open(unsigned device, const RtAudio::DeviceInfo& info, std::uint32_t frames);

  [[nodiscard]] double sampleRate() const override { return sampleRate_; }
  [[nodiscard]] std::uint32_t blockFrames() const override { return blockFrames_; }
  [[nodiscard]] bool changeBlockFrames(std::uint32_t frames) override { return frames == blockFrames_; }
  [[nodiscard]] Outcome start(audio::BlockRenderer& renderer) override;
  void stop() override;
  [[nodiscard]] std::optional<std::string> lossReason() const override;
  [[nodiscard]] std::uint64_t underruns() const override { return underruns_.load(std::memory_order_relaxed); }

 private:
  static int fill(void* output, void* input, unsigned frames, double time, RtAudioStreamStatus status, void* stream);
  void renderMono(float* output, unsigned frames) const;

  RtAudio& library_;
  double sampleRate_ = usualRate;
  unsigned blockFrames_ = usualFrames;
  unsigned channels_ = 2;
  mutable std::vector<float> sides_;          // both, for a device with one channel
  audio::BlockRenderer* renderer_ = nullptr;  // written while the stream stands
  std::atomic<bool> isRunning_{false};
  std::atomic<Clock::rep> lastBlock_{0};
  std::atomic<std::uint64_t> underruns_{0};
};

Outcome RtAudioStream::open(unsigned device, const RtAudio::DeviceInfo& info, std::uint32_t frames) {
  channels_ = std::min(2U, info.outputChannels);
  const auto& rates = info.sampleRates;
  const bool hasUsual = std::find(rates.begin(), rates.end(), usualRate) != rates.end();
  const unsigned rate = hasUsual || info.preferredSampleRate == 0 ? usualRate : info.preferredSampleRate;
  sampleRate_ = rate;
  blockFrames_ = frames;
  RtAudio::StreamParameters parameters;
  parameters.deviceId = device;
  parameters.nChannels = channels_;
  RtAudio::StreamOptions options;
  options.flags = RTAUDIO_NONINTERLEAVED | RTAUDIO_SCHEDULE_REALTIME;
  options.numberOfBuffers = 2;
  options.priority = 70;
  options.streamName = "vrel";
  try {
    library_.openStream(&parameters, nullptr, RTAUDIO_FLOAT32, rate, &blockFrames_, &RtAudioStream::fill, this,
                        &options, noteFault);
    sampleRate_ = library_.getStreamSampleRate();
  } catch (const std::exception& failure) {
    return Error{failure.what()};
  }
  if (!library_.isStreamOpen()) {
    return Error{"it can not be opened"};
  }
  if (channels_ == 1) {
    sides_.resize(std::size_t{2} * blockFrames_);
  }
  return {};
}

Outcome RtAudioStream::start(audio::BlockRenderer& renderer) {
  renderer_ = &renderer;
  faults = 0;
  lastBlock_ = Clock::now().time_since_epoch().count();
  try {
    library_.startStream();
  } catch (const std::exception& failure) {
    return Error{failure.what()};
  }
  isRunning_ = library_.isStreamRunning();
  return isRunning_ ? Outcome() : Error{"it does not start"};
}

void RtAudioStream::stop() {
  isRunning_ = false;
  if (!library_.isStreamRunning()) {
    return;
  }
  try {
    library_.abortStream();  // what is still to be heard is silence, and may never be taken
  } catch (const std::exception&) {
    library_.closeStream();
  }
}

std::optional<std::string> RtAudioStream::lossReason() const {
  if (!isRunning_) {
    return std::nullopt;
  }
  if (faults.load(std::memory_order_relaxed) >= mostFaults) {
    return "it fails";
  }
  const Clock::duration last(lastBlock_.load(std::memory_order_relaxed));
  const bool isSilent = Clock::now().time_since_epoch() - last > longestSilence;
  return isSilent ? std::optional<std::string>("it asks for no more sound") : std::nullopt;
}

int RtAudioStream::fill(void* output, void* /*input*/, unsigned frames, double /*time*/, RtAudioStreamStatus status,
                        void* stream) {
  auto& self = *static_cast<RtAudioStream*>(stream);
  self.lastBlock_.store(Clock::now().time_since_epoch().count(), std::memory_order_relaxed);
  if ((status & RTAUDIO_OUTPUT_UNDERFLOW) != 0) {
    self.underruns_.fetch_add(1, std::memory_order_relaxed);
  }
  auto* const left = static_cast<float*>(output);
  if (self.channels_ == 1) {
    self.renderMono(left, frames);
  } else {
    self.renderer_->render(left, left + frames, frames);
  }
  return 0;
}

void RtAudioStream::renderMono(float* output, unsigned frames) const {
  float* const left = sides_.data();
  float* const right = left + frames;
  renderer_->render(left, right, frames);
  for (unsigned frame = 0; frame < frames; ++frame) {
    output[frame] = 0.5F * (left[frame] + right[frame]);
  }
}

}  // namespace

RtAudioBackend::RtAudioBackend(RtAudio::Api api) : api_(api) {
  silenceAlsa();
}

std::string RtAudioBackend::uidPrefix() const {
  return RtAudio::getApiName(api_);
}

std::vector<AudioDeviceDescription> RtAudioBackend::devices() {
  std::vector<AudioDeviceDescription> devices;
  try {
    if (!library_) {
      library_ = std::make_unique<RtAudio>(api_);
      library_->showWarnings(false);
    }
    const unsigned count = library_->getDeviceCount();
    for (unsigned index = 0; index < count; ++index) {
      const auto info = library_->getDeviceInfo(index);
      if (info.probed && !info.name.empty()) {
        devices.push_back({.name = info.name,
                           .title = info.name,
                           .outputChannels = info.outputChannels,
                           .isDefaultOutput = info.isDefaultOutput});
      }
    }
  } catch (const std::exception&) {
    // A list that breaks off ends where it broke.
  }
  return devices;
}

Result<std::unique_ptr<OutputStream>> RtAudioBackend::open(const std::string& deviceName,
                                                           std::optional<std::uint32_t> frames) {
  if (devices().empty()) {
    return Error{"it is not there any more"};
  }
  try {
    const unsigned count = library_->getDeviceCount();
    for (unsigned index = 0; index < count; ++index) {
      const auto info = library_->getDeviceInfo(index);
      if (!info.probed || info.name != deviceName || info.outputChannels == 0) {
        continue;
      }
      auto stream = std::make_unique<RtAudioStream>(*library_);
      if (Outcome failure = stream->open(index, info, frames.value_or(usualFrames))) {
        return *failure;
      }
      return std::unique_ptr<OutputStream>(std::move(stream));
    }
  } catch (const std::exception& failure) {
    return Error{failure.what()};
  }
  return Error{"it is not there any more"};
}

}  // namespace vrel::system
