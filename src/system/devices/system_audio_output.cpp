// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/system_audio_output.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "platform/dispatch.h"

namespace vrel::system {

SystemAudioOutput::SystemAudioOutput(SystemAudioHardware& hardware, MainQueue& mainQueue, LineBlock log,
                                     std::chrono::milliseconds watchTick)
    : hardware_(hardware),
      mainQueue_(mainQueue),
      log_(std::move(log)),
      watch_(
          hardware, handover_,
          [this] {
            mainQueue_.async([this, life = life_.watch()] {
              if (life.isAlive()) {
                attend();
              }
            });
          },
          watchTick) {
  static_cast<void>(SystemAudioOutput::prepare());
}

SystemAudioOutput::~SystemAudioOutput() {
  SystemAudioOutput::stop();
  watch_.end();
}

Outcome SystemAudioOutput::prepare() {
  if (const auto choice = hardware_.choice(); choice.revision != revision_) {
    revision_ = choice.revision;
    choose(choice);
  } else if (pending_) {
    adoptPending();
  }
  return {};
}

void SystemAudioOutput::choose(const OutputChoice& choice) {
  if (session_ && watch_.isStalled()) {
    const auto chosen = choice.deviceUID.value_or(session_->deviceUID);
    if (chosen == session_->deviceUID || hardware_.isAvoided(chosen)) {
      return;  // its server answers nobody, and would hold us up
    }
    close(std::exchange(session_, nullptr));
  }
  if (session_ && !session_->stream->lossReason() &&
      choice.deviceUID.value_or(session_->deviceUID) == session_->deviceUID) {
    const auto frames = hardware_.blockFrames(session_->deviceUID);
    if (!frames || session_->stream->changeBlockFrames(*frames)) {
      showState();
      return;
    }
  }
  // Closed first: it may be the same card.
  stop();
  if (session_) {
    formerUnderruns_ += session_->stream->underruns();
    session_.reset();
  }
  auto opened = hardware_.open(choice);
  if (opened) {
    use(std::make_shared<OutputSession>(handover_, std::move(opened).value()));
  } else {
    say(opened.error().description);
    showState(opened.error().description);
  }
}

void SystemAudioOutput::adoptPending() {
  auto session = std::exchange(pending_, nullptr);
  if (session->stream->lossReason()) {
    watch_.close(std::move(session));
    watch_.follow(session_, formerUID_);
    return;
  }
  stop();
  if (session_) {
    close(std::exchange(session_, nullptr));
  }
  use(std::move(session));
}

void SystemAudioOutput::use(Session session) {
  session_ = std::move(session);
  formerUID_ = session_->deviceUID;
  blockFrames_ = session_->stream->blockFrames();
  showState();
  const double sampleRate = session_->stream->sampleRate();
  if (std::exchange(sampleRate_, sampleRate) != sampleRate) {
    sampleRateChanged.emit(sampleRate);
  }
}

std::uint32_t SystemAudioOutput::blockFrames() const {
  return session_ ? session_->stream->blockFrames() : blockFrames_;
}

Outcome SystemAudioOutput::start(audio::BlockRenderer& renderer) {
  if (isRunning()) {
    return Error{"the audio output is in use by another engine"};
  }
  static_cast<void>(prepare());
  if (Outcome failure = watch_.begin()) {
    return failure;
  }
  renderer_ = &renderer;
  handover_.give(renderer);
  if (session_ && !session_->isStarted) {
    const Outcome failure = session_->stream->start(session_->port);
    session_->isStarted = !failure;
    if (failure) {
      lose(failure->description);
    }
  }
  if (session_) {
    handover_.select(session_->port);
  } else if (!null_) {
    playToNobody();
  }
  watch_.follow(session_, formerUID_);
  return {};
}

void SystemAudioOutput::stop() {
  if (session_ && watch_.isStalled()) {
    close(std::exchange(session_, nullptr));
  }
  watch_.pause();
  const bool wasHeard = isHeard() && isRunning();
  handover_.withdraw();
  if (wasHeard) {
    awaitSilence(*session_);
  }
  if (session_ && std::exchange(session_->isStarted, false)) {
    session_->stream->stop();
    if (const auto reason = session_->stream->lossReason()) {
      release(*reason);  // what hangs in it must be free to end
    }
  }
  if (pending_) {
    watch_.close(std::exchange(pending_, nullptr));
  }
  null_.reset();
  renderer_ = nullptr;
}

void SystemAudioOutput::attend() {
  watch_.takeNotice();
  if (!isRunning()) {
    return;
  }
  if (session_) {
    if (const auto reason = session_->stream->lossReason()) {
      lose(*reason);
    } else {
      bridgeStall(watch_.isStalled());
    }
  }
  if (auto found = watch_.takeFound()) {
    moveTo(std::move(found));
  }
}

void SystemAudioOutput::lose(const std::string& reason) {
  if (!null_) {
    playToNobody();
    say("Audio output device lost: " + session_->deviceName + ": " + reason);
  }
  release(reason);
  watch_.follow(nullptr, formerUID_);
}

void SystemAudioOutput::release(const std::string& reason) {
  blockFrames_ = session_->stream->blockFrames();
  close(std::exchange(session_, nullptr));
  showState(reason);
}

void SystemAudioOutput::bridgeStall(bool isStalled) {
  if (isStalled && !null_) {
    const std::string reason = "it asks for no more sound";
    session_->port.noteGap();
    hardware_.avoid(session_->deviceUID, session_->life);
    playToNobody();
    say("Audio output device lost: " + session_->deviceName + ": " + reason);
    showState(reason);
  } else if (!isStalled && null_) {
    hardware_.avoid(session_->deviceUID, {});
    handover_.select(session_->port);
    null_.reset();
    sayDevice();
    showState();
  }
}

void SystemAudioOutput::moveTo(Session session) {
  if (session->stream->lossReason()) {
    watch_.close(std::move(session));
    watch_.follow(session_, formerUID_);
    return;
  }
  if (session->stream->sampleRate() != sampleRate_) {
    pending_ = std::move(session);
    if (rateHandler_) {
      rateHandler_();
    }
    return;
  }
  const bool wasHeard = isHeard();
  handover_.select(session->port);
  null_.reset();
  auto former = std::exchange(session_, nullptr);
  use(std::move(session));
  if (former) {
    if (wasHeard) {
      awaitSilence(*former);
    }
    close(std::move(former));
  }
  sayDevice();
  watch_.follow(session_, formerUID_);
}

void SystemAudioOutput::playToNobody() {
  null_ = std::make_unique<NullSession>(handover_, sampleRate_, blockFrames());
  if (const Outcome failure = null_->device.start(null_->port)) {
    say(failure->description);
  }
  handover_.select(null_->port);
}

void SystemAudioOutput::awaitSilence(const OutputSession& session) const {
  // The edge, and what a device may have taken ahead.
  const std::uint64_t blocks = 4 + audio::SoftEdges::edgeFrames / std::max(blockFrames(), 1U);
  const auto target = session.port.blocks() + blocks;
  const std::chrono::duration<double> longest(2 * static_cast<double>(blocks) * blockFrames() / sampleRate_);
  const auto limit = std::chrono::steady_clock::now() + longest;
  while (session.port.blocks() < target && !session.stream->lossReason() && std::chrono::steady_clock::now() < limit) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void SystemAudioOutput::close(Session session) {
  formerUnderruns_ += session->stream->underruns();
  watch_.close(std::move(session));
}

std::uint64_t SystemAudioOutput::underruns() const {
  return formerUnderruns_ + (session_ ? session_->stream->underruns() : 0);
}

void SystemAudioOutput::sayDevice() const {
  const std::string line = "Audio output device: " + session_->deviceName;
  if (infoLog_) {
    infoLog_(line);
  } else {
    say(line);
  }
}

void SystemAudioOutput::say(const std::string& line) const {
  if (log_) {
    log_(line);
  }
}

void SystemAudioOutput::showState(const std::string& reason) {
  OutputState state;
  state.device = isHeard() ? session_->deviceName : std::string();
  const auto awaited = hardware_.awaitedName(formerUID_);
  state.awaited = awaited == state.device ? std::string() : awaited;
  state.reason = reason;
  state_.set(std::move(state));
}

}  // namespace vrel::system
