// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/rt_audio_stream.h"

#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "system/devices/bounded_call.h"

namespace vrel::system {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t usualFrames = 128;
constexpr unsigned usualRate = 48000;

// A device that keeps silent for this long, or fails this often, does not come back. A sound server may take its
// time for the first blocks.
constexpr auto longestSilence = std::chrono::milliseconds(800);
constexpr auto longestStart = std::chrono::seconds(8);
constexpr std::uint32_t firstBlocks = 32;
constexpr std::uint32_t mostFaults = 16;

// What the performer waits at most for a list, for a device that is to play, and for one that is to be silent.
constexpr auto longestLook = std::chrono::seconds(2);
constexpr auto longestOpen = std::chrono::seconds(2);
constexpr auto longestEnd = std::chrono::milliseconds(500);

// RtAudio reports errors of its own thread without naming the stream; there is one at a time.
std::atomic<std::uint32_t> faults{0};

void noteFault(RtAudioError::Type /*type*/, const std::string& /*text*/) {
  faults.fetch_add(1, std::memory_order_relaxed);
}

/// RtAudio would do the same, and write to the terminal.
void hurry() {
  constexpr int priority = 70;
  sched_param parameters{};
  parameters.sched_priority = priority;
  pthread_setschedparam(pthread_self(), SCHED_RR, &parameters);
}

std::vector<AudioDeviceDescription> listedBy(RtAudio& library) {
  std::vector<AudioDeviceDescription> devices;
  try {
    const unsigned count = library.getDeviceCount();
    for (unsigned index = 0; index < count; ++index) {
      const auto info = library.getDeviceInfo(index);
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

/// Makes a call that a sound server may hold up; false, and the library stuck, when it takes too long.
bool callWithin(std::chrono::milliseconds limit, const std::shared_ptr<RtAudioLibrary>& library,
                const std::function<void()>& work) {
  const std::unique_lock lock(library->calls, limit);
  if (!lock || !endsWithin(limit, work)) {
    library->isStuck = true;
    return false;
  }
  return true;
}

}  // namespace

std::vector<AudioDeviceDescription> listDevices(const std::shared_ptr<RtAudioLibrary>& library) {
  const auto list = std::make_shared<std::vector<AudioDeviceDescription>>();
  if (library->isStuck || !callWithin(longestLook, library, [list, library] { *list = listedBy(library->audio); })) {
    return {};
  }
  return std::move(*list);
}

/// What RtAudio's thread uses. It lives until RtAudio has released it.
struct RtAudioStream::Session {
  Session(std::shared_ptr<RtAudioLibrary> itsLibrary, double buffered)
      : library(std::move(itsLibrary)), leastBuffered(buffered) {}

  [[nodiscard]] Outcome open(const std::string& deviceName, std::optional<std::uint32_t> frames);
  [[nodiscard]] Outcome openDevice(unsigned device, const RtAudio::DeviceInfo& info, std::uint32_t frames);
  static int fill(void* output, void* input, unsigned frames, double time, RtAudioStreamStatus status, void* session);
  void render(float* output, unsigned frames);

  /// Once it has returned, the renderer is not called any more.
  void takeRenderer();

  const std::shared_ptr<RtAudioLibrary> library;
  const double leastBuffered;
  bool isOpen = false;
  double sampleRate = usualRate;
  unsigned blockFrames = usualFrames;
  unsigned channels = 2;
  std::vector<float> stereo;  // for a device with one channel
  std::atomic<audio::BlockRenderer*> renderer{nullptr};
  std::atomic<bool> isRendering{false};
  std::atomic<Clock::rep> lastBlock{0};
  std::atomic<std::uint32_t> blocks{0};
  std::atomic<const char*> loss{nullptr};  // in words; it stays
  std::atomic<std::uint64_t> underruns{0};
};

int RtAudioStream::Session::fill(void* output, void* /*input*/, unsigned frames, double /*time*/,
                                 RtAudioStreamStatus status, void* session) {
  auto& self = *static_cast<Session*>(session);
  if (self.blocks.fetch_add(1, std::memory_order_relaxed) == 0) {
    hurry();
  }
  self.lastBlock.store(Clock::now().time_since_epoch().count(), std::memory_order_relaxed);
  if ((status & RTAUDIO_OUTPUT_UNDERFLOW) != 0) {
    self.underruns.fetch_add(1, std::memory_order_relaxed);
  }
  self.render(static_cast<float*>(output), frames);
  return 0;
}

void RtAudioStream::Session::render(float* output, unsigned frames) {
  // In one order with takeRenderer: either it sees that a block is under way, or the block sees that nobody renders.
  isRendering = true;
  audio::BlockRenderer* const current = renderer;
  float* const left = channels == 1 ? stereo.data() : output;
  float* const right = left + frames;
  if (current != nullptr) {
    current->render(left, right, frames);
  } else {
    std::fill(left, right + frames, 0.0F);
  }
  isRendering = false;
  for (unsigned frame = 0; channels == 1 && frame < frames; ++frame) {
    output[frame] = 0.5F * (left[frame] + right[frame]);
  }
}

void RtAudioStream::Session::takeRenderer() {
  renderer = nullptr;
  while (isRendering) {
    std::this_thread::yield();
  }
}

RtAudioStream::RtAudioStream(std::shared_ptr<RtAudioLibrary> library, double leastBuffered)
    : session_(std::make_shared<Session>(std::move(library), leastBuffered)) {}

RtAudioStream::~RtAudioStream() {
  stop();
  if (session_->library->isStuck || !session_->isOpen) {
    return;
  }
  const auto close = [session = session_] { session->library->audio.closeStream(); };
  static_cast<void>(callWithin(longestEnd, session_->library, close));
}

Outcome RtAudioStream::Session::open(const std::string& deviceName, std::optional<std::uint32_t> frames) {
  auto& audio = library->audio;
  try {
    const unsigned count = audio.getDeviceCount();
    for (unsigned index = 0; index < count; ++index) {
      const auto info = audio.getDeviceInfo(index);
      if (info.probed && info.name == deviceName && info.outputChannels > 0) {
        return openDevice(index, info, frames.value_or(usualFrames));
      }
    }
  } catch (const std::exception& failure) {
    return Error{failure.what()};
  }
  return Error{"it is no longer connected"};
}

Outcome RtAudioStream::Session::openDevice(unsigned device, const RtAudio::DeviceInfo& info, std::uint32_t frames) {
  auto& audio = library->audio;
  channels = std::min(2U, info.outputChannels);
  const auto& rates = info.sampleRates;
  const bool hasUsual = std::find(rates.begin(), rates.end(), usualRate) != rates.end();
  const unsigned rate = hasUsual || info.preferredSampleRate == 0 ? usualRate : info.preferredSampleRate;
  blockFrames = frames;
  RtAudio::StreamParameters parameters;
  parameters.deviceId = device;
  parameters.nChannels = channels;
  RtAudio::StreamOptions options;
  options.flags = RTAUDIO_NONINTERLEAVED;
  options.numberOfBuffers = std::max(2U, static_cast<unsigned>(leastBuffered * rate) / blockFrames);
  options.streamName = "vrel";
  audio.openStream(&parameters, nullptr, RTAUDIO_FLOAT32, rate, &blockFrames, &Session::fill, this, &options,
                   noteFault);
  isOpen = audio.isStreamOpen();
  if (!isOpen) {
    return Error{"it cannot be opened"};
  }
  sampleRate = audio.getStreamSampleRate();
  if (channels == 1) {
    stereo.resize(std::size_t{2} * blockFrames);
  }
  return {};
}

Outcome RtAudioStream::open(const std::string& deviceName, std::optional<std::uint32_t> frames) {
  const auto outcome = std::make_shared<Outcome>();
  const auto open = [session = session_, outcome, deviceName, frames] { *outcome = session->open(deviceName, frames); };
  if (!callWithin(longestOpen, session_->library, open)) {
    return Error{"it does not respond"};
  }
  return *outcome;
}

double RtAudioStream::sampleRate() const {
  return session_->sampleRate;
}

std::uint32_t RtAudioStream::blockFrames() const {
  return session_->blockFrames;
}

Outcome RtAudioStream::start(audio::BlockRenderer& renderer) {
  auto& session = *session_;
  faults = 0;
  session.blocks = 0;
  session.loss = nullptr;
  session.lastBlock = Clock::now().time_since_epoch().count();
  session.renderer = &renderer;
  Outcome outcome;
  try {
    session.library->audio.startStream();
    if (!session.library->audio.isStreamRunning()) {
      outcome = Error{"it failed to start"};
    }
  } catch (const std::exception& failure) {
    outcome = Error{failure.what()};
  }
  if (outcome) {
    session.takeRenderer();
  }
  return outcome;
}

void RtAudioStream::stop() {
  session_->takeRenderer();
  if (session_->library->isStuck || !session_->library->audio.isStreamRunning()) {
    return;
  }
  const auto abort = [session = session_] {
    auto& library = session->library->audio;
    try {
      library.abortStream();  // what is still to be heard is silence, and may never be taken
    } catch (const std::exception&) {
      library.closeStream();
    }
  };
  static_cast<void>(callWithin(longestEnd, session_->library, abort));
}

std::optional<std::string> RtAudioStream::lossReason() const {
  auto& session = *session_;
  if (session.library->isStuck) {
    session.loss = "it does not respond";
  } else if (session.renderer != nullptr && session.loss == nullptr) {
    const Clock::duration last(session.lastBlock.load(std::memory_order_relaxed));
    const auto silence = Clock::now().time_since_epoch() - last;
    const auto longest = session.blocks < firstBlocks ? Clock::duration(longestStart) : Clock::duration(longestSilence);
    if (faults.load(std::memory_order_relaxed) >= mostFaults) {
      session.loss = "it reports errors";
    } else if (silence > longest) {
      session.loss = "it stopped requesting audio";
    }
  }
  const char* const loss = session.loss;
  return loss != nullptr ? std::optional<std::string>(loss) : std::nullopt;
}

std::optional<std::string> RtAudioStream::systemDefault() {
  // A sound server has a default that a person changes; ALSA has none, and its list is not for a show.
  return session_->library->audio.getCurrentApi() == RtAudio::LINUX_PULSE
             ? defaultOutput(listDevices(session_->library))
             : std::nullopt;
}

std::uint64_t RtAudioStream::underruns() const {
  return session_->underruns.load(std::memory_order_relaxed);
}

}  // namespace vrel::system
