// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>

#include "foundation/mutex.h"
#include "foundation/result.h"
#include "system/plugins/sandbox/messages.h"
#include "system/plugins/sandbox/shared_memory.h"

namespace vrel::sandbox {

/// What the supervisor's thread and the threads of a unit know of one guest together.
///
/// Threads: `isDead` and `block` for any, the block included. `ask` on the main thread. The rest on
/// the supervisor's. The requests are under `mutex_`.
class GuestLink {
 public:
  /// How long a question waits for its answer; none is for as long as the guest lives.
  using Timeout = std::optional<std::chrono::milliseconds>;
  using Send = std::function<void(Message)>;

  explicit GuestLink(SharedMemory memory) : memory_(std::move(memory)) {}

  [[nodiscard]] SharedBlock& block() { return memory_.block(); }
  [[nodiscard]] bool isDead() const noexcept { return isDead_.load(std::memory_order_acquire); }

  /// Sends a request and waits for its answer, of the kind `answer`. Fails when the guest is dead or out
  /// of timeout. A guest that still owes an answer is given further requests without waiting, but is not
  /// asked for what only an answer could give.
  [[nodiscard]] Result<Bytes> ask(const Send& send, MessageKind kind, Bytes body, MessageKind answer, Timeout timeout);

  /// Gives an answer to whoever waits for it. False for one that nobody can have asked for.
  [[nodiscard]] bool deliver(Message message);

  /// From now on the guest is dead: nobody waits for it any more, the block least of all.
  void markDead();

 private:
  SharedMemory memory_;
  std::atomic<bool> isDead_{false};

  Mutex mutex_;
  std::condition_variable answered_;
  std::uint32_t lastRequest_ VREL_GUARDED_BY(mutex_) = 0;
  std::map<std::uint32_t, MessageKind> owed_ VREL_GUARDED_BY(mutex_);  // by request, what is to come
  std::optional<std::uint32_t> awaited_ VREL_GUARDED_BY(mutex_);       // the request that somebody waits for
  std::optional<Bytes> answer_ VREL_GUARDED_BY(mutex_);
};

}  // namespace vrel::sandbox
