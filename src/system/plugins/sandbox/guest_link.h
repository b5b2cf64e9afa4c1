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
/// Threads: `isDead`, `isBehind`, `isHung` and `block` for any, the block included, which alone counts what it missed.
/// `deliver` and `markDead` on the supervisor's thread, the rest on the main thread. The requests are under `mutex_`.
class GuestLink {
 public:
  /// How long a question waits for its answer; none is for as long as the guest lives.
  using Timeout = std::optional<std::chrono::milliseconds>;
  using Deadline = std::optional<std::chrono::steady_clock::time_point>;
  using Send = std::function<void(Message)>;

  explicit GuestLink(SharedMemory memory) : memory_(std::move(memory)) {}

  [[nodiscard]] SharedBlock& block() { return memory_.block(); }
  [[nodiscard]] bool isDead() const noexcept { return isDead_.load(std::memory_order_acquire); }

  /// A guest that has missed every block for so long is behind, and then hung, seconds of the device's time.
  static constexpr double behindSeconds = 0.1;
  static constexpr double hungSeconds = 2;

  /// What a block on a device has got of the guest. Wait-free.
  void blockAnswered() noexcept { missedSeconds_.store(0, std::memory_order_relaxed); }
  void blockMissed(double seconds) noexcept {
    missedSeconds_.store(missedSeconds_.load(std::memory_order_relaxed) + seconds, std::memory_order_relaxed);
  }
  [[nodiscard]] bool isBehind() const { return missedSeconds_.load(std::memory_order_relaxed) >= behindSeconds; }
  [[nodiscard]] bool isHung() const { return missedSeconds_.load(std::memory_order_relaxed) >= hungSeconds; }

  /// Whether an answer is due, and whether one has been for a long time.
  [[nodiscard]] bool owesAnswer();
  [[nodiscard]] bool owesAnswerSince(std::chrono::steady_clock::time_point time);

  /// Whether a preset that was to be used since then is not yet.
  [[nodiscard]] bool owesPresetSince(std::chrono::steady_clock::time_point time);

  /// Whether a request that changes the plug-in is not done yet. Any thread, the block included.
  [[nodiscard]] bool isChanging() const noexcept { return changes_.load(std::memory_order_acquire) > 0; }

  /// Asks for the plug-in's state and returns at once; whatever state came before is dropped. False, and nothing asked,
  /// for a guest that is dead or owes an answer.
  [[nodiscard]] bool requestState(const Send& send);

  /// The state that was asked for, once: waits for it until `deadline`, none is for as long as the guest lives.
  [[nodiscard]] std::optional<Bytes> takeState(Deadline deadline);

  /// Drops a state that has come or is to come: it is older than one that is given now.
  void forgetState();

  /// Sends a request and waits for its answer, of the kind `answer`. Fails when the guest is dead or out
  /// of timeout. A guest that still owes an answer is given further requests without waiting.
  [[nodiscard]] Result<Bytes> ask(const Send& send, MessageKind kind, Bytes body, MessageKind answer, Timeout timeout);

  /// Sends a request that changes the plug-in, and returns at once. The handler gets the answer, of the kind `answer`,
  /// or why there is none; once, on the supervisor's thread or before this returns, or never when the guest is released
  /// first.
  using Answered = std::function<void(Result<Bytes>)>;
  void request(const Send& send, MessageKind kind, Bytes body, MessageKind answer, Answered handler);
  /// Who gets what the plug-in sends to its editor, on the supervisor's thread; null for nobody. After the call the
  /// earlier one is not called any more.
  using AtomListener = std::function<void(const Bytes& atom)>;
  void setAtomListener(AtomListener listener);
  void passAtom(const Bytes& atom);

  /// The same for what it reports of its parameters without a port.
  void setValuesListener(AtomListener listener);
  void passValues(const Bytes& values);

  /// Gives an answer to whoever waits for it. False for one that nobody can have asked for.
  [[nodiscard]] bool deliver(Message message);

  /// From now on the guest is dead: nobody waits for it any more, the block least of all.
  void markDead();

 private:
  SharedMemory memory_;
  std::atomic<bool> isDead_{false};
  std::atomic<double> missedSeconds_{0};
  std::atomic<std::uint32_t> changes_{0};  // requests to be answered with `done` or `presetUsed`

  Mutex mutex_;
  std::condition_variable answered_;
  std::uint32_t lastRequest_ VREL_GUARDED_BY(mutex_) = 0;
  struct Owed {
    MessageKind answer;
    std::chrono::steady_clock::time_point since = std::chrono::steady_clock::now();
  };
  std::map<std::uint32_t, Owed> owed_ VREL_GUARDED_BY(mutex_);          // by request, what is to come
  std::map<std::uint32_t, Answered> handlers_ VREL_GUARDED_BY(mutex_);  // by request
  std::optional<std::uint32_t> awaited_ VREL_GUARDED_BY(mutex_);        // the request that somebody waits for
  std::optional<Bytes> answer_ VREL_GUARDED_BY(mutex_);
  std::optional<std::uint32_t> stateRequest_ VREL_GUARDED_BY(mutex_);  // whose answer goes into `state_`
  std::optional<Bytes> state_ VREL_GUARDED_BY(mutex_);

  Mutex atomMutex_;
  AtomListener atomListener_ VREL_GUARDED_BY(atomMutex_);
  AtomListener valuesListener_ VREL_GUARDED_BY(atomMutex_);
};

}  // namespace vrel::sandbox
