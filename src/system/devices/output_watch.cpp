// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/output_watch.h"

#include <optional>
#include <system_error>
#include <utility>

#include "system/devices/bounded_call.h"

namespace vrel::system {
namespace {

constexpr int ticksUntilStalled = 5;
constexpr int ticksBetweenLooks = 10;
constexpr int ticksBetweenLooksWhenLost = 5;
constexpr std::chrono::milliseconds longestClose{500};

}  // namespace

OutputWatch::OutputWatch(SystemAudioHardware& hardware, audio::RenderHandover& handover, std::function<void()> notice,
                         std::chrono::milliseconds tick)
    : hardware_(hardware), handover_(handover), notice_(std::move(notice)), tick_(tick) {}

OutputWatch::~OutputWatch() {
  end();
}

Outcome OutputWatch::begin() {
  if (thread_.joinable()) {
    return {};
  }
  {
    const MutexLock lock(mutex_);
    isEnding_ = false;
  }
  try {
    thread_ = std::thread([this] { run(); });
  } catch (const std::system_error& failure) {
    return Error{std::string("the audio output has no thread: ") + failure.what()};
  }
  return {};
}

void OutputWatch::end() {
  {
    const MutexLock lock(mutex_);
    isEnding_ = true;
  }
  changed_.notify_all();
  if (thread_.joinable()) {
    thread_.join();
  }
  std::vector<Session> closing;
  {
    const MutexLock lock(mutex_);
    closing.swap(closing_);
  }
  closeAll(std::move(closing));
}

void OutputWatch::follow(Session session, std::string deviceUID) {
  const MutexLock lock(mutex_);
  ++generation_;
  isFollowing_ = true;
  session_ = std::move(session);
  deviceUID_ = std::move(deviceUID);
  isStalled_ = false;
  if (found_) {
    closing_.push_back(std::move(found_));
  }
}

void OutputWatch::pause() {
  follow(nullptr, {});
  const MutexLock lock(mutex_);
  isFollowing_ = false;
}

void OutputWatch::close(Session session) {
  {
    const MutexLock lock(mutex_);
    if (session_ == session) {
      session_ = nullptr;  // whoever closes it has it to itself
      isFollowing_ = false;
    }
    closing_.push_back(std::move(session));
  }
  changed_.notify_all();
}

OutputWatch::Session OutputWatch::takeFound() {
  const MutexLock lock(mutex_);
  auto found = std::move(found_);
  found_ = nullptr;
  isFollowing_ = isFollowing_ && !found;
  return found;
}

void OutputWatch::run() {
  while (auto task = nextTask()) {
    carryOut(std::move(*task));
  }
}

std::optional<OutputWatch::Task> OutputWatch::nextTask() {
  MutexLock lock(mutex_);
  changed_.wait_for(lock.native(), tick_, [this]() VREL_REQUIRES(mutex_) { return isEnding_ || !closing_.empty(); });
  if (isEnding_) {
    return std::nullopt;
  }
  return Task{.generation = generation_,
              .isFollowing = isFollowing_,
              .hasFound = found_ != nullptr,
              .session = session_,
              .deviceUID = deviceUID_,
              .closing = std::exchange(closing_, {})};
}

void OutputWatch::carryOut(Task task) {
  closeAll(std::move(task.closing));
  if (task.generation != watchedGeneration_) {
    watchedGeneration_ = task.generation;
    lastBlocks_ = 0;
    ticksWithoutBlocks_ = 0;
    ticksSinceLook_ = 0;
  }
  if (!task.isFollowing) {
    return;
  }
  examine(task);
  if (task.hasFound) {
    return;
  }
  if (auto found = lookFor(task.session, task.deviceUID)) {
    {
      const MutexLock lock(mutex_);
      if (task.generation != generation_ || !isFollowing_) {
        closing_.push_back(std::move(found));  // overtaken
        return;
      }
      found_ = std::move(found);
    }
    notify();
  }
}

// What a server holds up is left behind, and ends with it.
void OutputWatch::closeAll(std::vector<Session> sessions) {
  for (auto& session : sessions) {
    session->port.retire();
    const auto held = std::make_shared<Session>(std::move(session));
    static_cast<void>(endsWithin(longestClose, [held] { held->reset(); }));
  }
}

void OutputWatch::examine(const Task& task) {
  if (!task.session) {
    return;
  }
  const auto blocks = task.session->port.blocks();
  ticksWithoutBlocks_ = blocks == lastBlocks_ ? ticksWithoutBlocks_ + 1 : 0;
  lastBlocks_ = blocks;
  const bool isLost = task.session->stream->lossReason().has_value();
  bool isNews = false;
  {
    const MutexLock lock(mutex_);
    if (task.generation != generation_) {
      return;  // whether it is stalled is nothing of what is followed now
    }
    isNews = isStalled_.exchange(hasNoBlocks()) != hasNoBlocks() || isLost;
  }
  if (isNews) {
    notify();
  }
}

bool OutputWatch::hasNoBlocks() const {
  return ticksWithoutBlocks_ >= ticksUntilStalled;
}

OutputWatch::Session OutputWatch::lookFor(const Session& present, const std::string& deviceUID) {
  if (++ticksSinceLook_ < (present ? ticksBetweenLooks : ticksBetweenLooksWhenLost)) {
    return nullptr;
  }
  ticksSinceLook_ = 0;
  auto opened = hardware_.lookFor({.deviceUID = present ? present->deviceUID : deviceUID,
                                   .stream = present ? present->stream.get() : nullptr,
                                   .isHung = present && hasNoBlocks()});
  if (!opened) {
    return nullptr;
  }
  auto session = std::make_shared<OutputSession>(handover_, std::move(*opened));
  if (session->stream->start(session->port)) {
    return nullptr;
  }
  session->isStarted = true;
  return session;
}

void OutputWatch::notify() {
  if (!isNoticed_.exchange(true)) {
    notice_();
  }
}

}  // namespace vrel::system
