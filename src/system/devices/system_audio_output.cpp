// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/system_audio_output.h"

#include <chrono>
#include <system_error>
#include <utility>

#include "platform/dispatch.h"

namespace vrel::system {

SystemAudioOutput::SystemAudioOutput(SystemAudioHardware& hardware, MainQueue& mainQueue, LostBlock onLost)
    : hardware_(hardware), mainQueue_(mainQueue), onLost_(std::move(onLost)) {
  // A failure shows at the start, where there is someone to report it to.
  static_cast<void>(SystemAudioOutput::prepare());
}

SystemAudioOutput::~SystemAudioOutput() {
  close();
}

bool SystemAudioOutput::isLost() const {
  return opened_.stream && opened_.stream->lossReason();
}

Outcome SystemAudioOutput::prepare() {
  const auto choice = hardware_.choice();
  if (opened_.stream && !isLost() && choice.deviceUID.value_or(opened_.deviceUID) == opened_.deviceUID &&
      (!choice.frames || opened_.stream->changeBlockFrames(*choice.frames))) {
    return {};
  }
  close();
  auto opened = hardware_.open(choice);
  if (!opened) {
    return opened.error();
  }
  opened_ = std::move(opened).value();
  blockFrames_ = opened_.stream->blockFrames();
  const double sampleRate = opened_.stream->sampleRate();
  if (std::exchange(sampleRate_, sampleRate) != sampleRate) {
    sampleRateChanged.emit(sampleRate);
  }
  return {};
}

std::uint32_t SystemAudioOutput::blockFrames() const {
  return opened_.stream && !isLost() ? opened_.stream->blockFrames() : blockFrames_;
}

Outcome SystemAudioOutput::start(audio::BlockRenderer& renderer) {
  if (isRunning()) {
    return Error{"the audio output is in use by another engine"};
  }
  stop();
  if (Outcome failure = prepare()) {
    return failure;
  }
  if (Outcome failure = opened_.stream->start(renderer)) {
    return Error{"no audio output device " + opened_.deviceUID + ": " + failure->description};
  }
  isStarted_ = true;
  {
    const MutexLock lock(mutex_);
    isWatchEnding_ = false;
  }
  try {
    watch_ = std::thread([this, &stream = *opened_.stream, name = opened_.deviceName] { watch(stream, name); });
  } catch (const std::system_error& failure) {
    stop();
    return Error{std::string("cannot start the thread of the audio output: ") + failure.what()};
  }
  return {};
}

void SystemAudioOutput::stop() {
  stopWatch();
  if (std::exchange(isStarted_, false)) {
    opened_.stream->stop();
  }
}

void SystemAudioOutput::close() {
  stop();
  if (opened_.stream) {
    formerUnderruns_ += opened_.stream->underruns();
  }
  opened_ = {};
}

std::uint64_t SystemAudioOutput::underruns() const {
  return formerUnderruns_ + (opened_.stream ? opened_.stream->underruns() : 0);
}

void SystemAudioOutput::watch(const OutputStream& stream, const std::string& deviceName) {
  constexpr auto interval = std::chrono::milliseconds(100);
  MutexLock lock(mutex_);
  while (!watchEnds_.wait_for(lock.native(), interval, [this]() VREL_REQUIRES(mutex_) { return isWatchEnding_; })) {
    const auto reason = stream.lossReason();
    if (!reason) {
      continue;
    }
    mainQueue_.async([this, life = life_.watch(), line = "Audio output device lost: " + deviceName + ": " + *reason] {
      if (life.isAlive() && onLost_) {
        onLost_(line);
      }
    });
    return;
  }
}

void SystemAudioOutput::stopWatch() {
  {
    const MutexLock lock(mutex_);
    isWatchEnding_ = true;
  }
  watchEnds_.notify_all();
  if (watch_.joinable()) {
    watch_.join();
  }
}

}  // namespace vrel::system
