// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/guest_link.h"

#include <algorithm>
#include <utility>

#include "system/plugins/sandbox/word_wait.h"

namespace vrel::sandbox {
namespace {

constexpr bool isOfAChange(MessageKind answer) {
  return answer == MessageKind::done || answer == MessageKind::presetUsed;
}

const Error guestIsDead{"its process has ended"};

}  // namespace

Result<Bytes> GuestLink::ask(const Send& send, MessageKind kind, Bytes body, MessageKind answer, Timeout timeout) {
  const Error& dead = guestIsDead;
  const Error slow{"it does not respond"};
  MutexLock lock(mutex_);
  if (isDead()) {
    return dead;
  }
  const bool isLate = !owed_.empty();
  const std::uint32_t request = ++lastRequest_;
  owed_.emplace(request, Owed{answer});
  changes_ += isOfAChange(answer) ? 1U : 0U;
  send({kind, request, std::move(body)});
  if (isLate) {
    return slow;
  }
  awaited_ = request;
  answer_.reset();
  const auto isOver = [this]() VREL_REQUIRES(mutex_) { return answer_.has_value() || isDead(); };
  if (timeout) {
    answered_.wait_for(lock.native(), *timeout, isOver);
  } else {
    answered_.wait(lock.native(), isOver);
  }
  awaited_.reset();
  if (!answer_) {
    return isDead() ? dead : slow;
  }
  Bytes result = *std::move(answer_);
  answer_.reset();
  return result;
}

bool GuestLink::owesAnswer() {
  const MutexLock lock(mutex_);
  return !owed_.empty();
}

bool GuestLink::owesAnswerSince(std::chrono::steady_clock::time_point time) {
  const MutexLock lock(mutex_);
  return !owed_.empty() && owed_.begin()->second.since <= time;
}

bool GuestLink::requestState(const Send& send) {
  const MutexLock lock(mutex_);
  if (isDead() || !owed_.empty()) {
    return false;
  }
  stateRequest_ = ++lastRequest_;
  state_.reset();
  owed_.emplace(*stateRequest_, Owed{MessageKind::state});
  send({MessageKind::captureState, *stateRequest_});
  return true;
}

std::optional<Bytes> GuestLink::takeState(Deadline deadline) {
  MutexLock lock(mutex_);
  const auto isOver = [this]() VREL_REQUIRES(mutex_) { return state_.has_value() || !stateRequest_ || isDead(); };
  if (deadline) {
    answered_.wait_until(lock.native(), *deadline, isOver);
  } else {
    answered_.wait(lock.native(), isOver);
  }
  return std::exchange(state_, std::nullopt);
}

void GuestLink::forgetState() {
  const MutexLock lock(mutex_);
  stateRequest_.reset();
  state_.reset();
}

void GuestLink::setAtomListener(AtomListener listener) {
  const MutexLock lock(atomMutex_);
  atomListener_ = std::move(listener);
}

void GuestLink::passAtom(const Bytes& atom) {
  const MutexLock lock(atomMutex_);
  if (atomListener_) {
    atomListener_(atom);
  }
}

void GuestLink::setValuesListener(AtomListener listener) {
  const MutexLock lock(atomMutex_);
  valuesListener_ = std::move(listener);
}

void GuestLink::passValues(const Bytes& values) {
  const MutexLock lock(atomMutex_);
  if (valuesListener_) {
    valuesListener_(values);
  }
}

void GuestLink::request(const Send& send, MessageKind kind, Bytes body, MessageKind answer, Answered handler) {
  {
    const MutexLock lock(mutex_);
    if (!isDead()) {
      const std::uint32_t request = ++lastRequest_;
      owed_.emplace(request, Owed{answer});
      handlers_.emplace(request, std::move(handler));
      changes_ += isOfAChange(answer) ? 1U : 0U;
      send({kind, request, std::move(body)});
      return;
    }
  }
  handler(guestIsDead);
}

bool GuestLink::owesPresetSince(std::chrono::steady_clock::time_point time) {
  const MutexLock lock(mutex_);
  return std::any_of(owed_.begin(), owed_.end(), [&](const auto& each) {
    return each.second.answer == MessageKind::presetUsed && each.second.since <= time;
  });
}

bool GuestLink::deliver(Message message) {
  Answered handler;
  {
    const MutexLock lock(mutex_);
    const auto owed = owed_.find(message.request);
    if (owed == owed_.end() || owed->second.answer != message.kind) {
      return false;
    }
    changes_ -= isOfAChange(owed->second.answer) ? 1U : 0U;
    owed_.erase(owed);
    if (auto found = handlers_.extract(message.request)) {
      handler = std::move(found.mapped());
    } else if (stateRequest_ == message.request) {
      stateRequest_.reset();
      state_ = std::move(message.body);
      answered_.notify_all();
    } else if (awaited_ == message.request) {
      answer_ = std::move(message.body);
      answered_.notify_all();
    }
  }
  if (handler) {
    handler(std::move(message.body));
  }
  return true;
}

void GuestLink::markDead() {
  std::map<std::uint32_t, Answered> handlers;
  {
    const MutexLock lock(mutex_);
    isDead_.store(true, std::memory_order_release);
    handlers.swap(handlers_);
  }
  answered_.notify_all();
  post(block().answer, endOfBlocks);
  for (const auto& [request, handler] : handlers) {
    handler(guestIsDead);
  }
}

}  // namespace vrel::sandbox
