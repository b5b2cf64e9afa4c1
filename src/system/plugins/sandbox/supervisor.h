// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "foundation/result.h"
#include "system/plugins/sandbox/guest_link.h"
#include "system/plugins/sandbox/messages.h"
#include "system/processes/file_descriptor.h"

namespace vrel::sandbox {

class Supervisor;

/// The program's hold on a guest. At its end the guest is asked to end, and is killed when it does not.
/// Released on any thread but the audio thread.
class Guest {
 public:
  Guest(std::shared_ptr<Supervisor> supervisor, std::shared_ptr<GuestLink> link, std::uint64_t key, int processId);
  ~Guest();
  Guest(const Guest&) = delete;
  Guest& operator=(const Guest&) = delete;

  [[nodiscard]] SharedBlock& block() const { return link_->block(); }
  [[nodiscard]] bool isDead() const noexcept { return link_->isDead(); }
  [[nodiscard]] int processId() const { return processId_; }

  /// See GuestLink. Main thread.
  [[nodiscard]] Result<Bytes> ask(MessageKind kind, Bytes body, MessageKind answer, GuestLink::Timeout timeout);
  [[nodiscard]] bool requestState();
  void request(MessageKind kind, Bytes body, MessageKind answer, GuestLink::Answered handler);

  /// Sends what has no answer. Any thread.
  void send(MessageKind kind, Bytes body) { sender()({kind, 0, std::move(body)}); }
  /// The same for an editor's end of a socket, which the guest gets.
  void attachEditor(FileDescriptor socket);

  [[nodiscard]] GuestLink& link() { return *link_; }

 private:
  [[nodiscard]] GuestLink::Send sender();

  const std::shared_ptr<Supervisor> supervisor_;
  const std::shared_ptr<GuestLink> link_;
  const std::uint64_t key_;
  const int processId_;
};

/// How many guests the program parks: the effects of two songs of 16 strips with two each, so that those of the next
/// song are still there when those of the last one come.
inline constexpr std::size_t mostParkedGuests = 64;

/// Starts guests, carries their messages, notices their deaths and ensures that nothing of them
/// remains. One thread does all this and never waits for a guest.
///
/// Life of a guest: it is started; it has all the time it wants to say `ready`; it serves until its
/// `Guest` is released; then it has `closingGrace` to end before it is killed. One that dies, closes
/// its socket or sends what it may not is killed and reaped at any time, and so is one that is hung (see GuestLink) or
/// does not come to the end of a preset within `presetGrace`.
///
/// With `mostParked`, one that is released in good health, with nothing owed, makes its plug-in once more, with its
/// default state, and is parked. An equal request gets it at once. All end when a request comes with another sample
/// rate, and beyond the limit the one that was released first.
///
/// Threads: `launch` from any but the audio thread. Callbacks and lines come on the supervisor's thread;
/// they must not wait for it.
/// Ownership: every Guest holds the supervisor. Its end waits for its guests' ends, bounded; released
/// on its own thread, it ends by itself soon after. Guests die with its thread, so also when
/// the whole program is killed.
class Supervisor : public std::enable_shared_from_this<Supervisor> {
 public:
  struct Settings {
    std::string helperPath;                       // of vrel-plugin-host
    std::function<void(const std::string&)> log;  // one line; may be empty
    std::chrono::milliseconds closingGrace = std::chrono::milliseconds(1000);
    std::size_t mostParked = 0;
    std::chrono::milliseconds remakingGrace = std::chrono::seconds(10);  // to make the plug-in once more
    std::chrono::milliseconds presetGrace = std::chrono::seconds(10);    // to use a preset
  };

  struct Ready {
    std::shared_ptr<Guest> guest;
    std::uint32_t outputChannelCount = 0;  // 1 or 2
  };

  struct Launch {
    InstantiateRequest request;
    std::function<void(Result<Ready>)> done;  // called once, also when the supervisor ends first
    // Called once, for a guest that was ready and not released, with how it ended: "was killed by signal 9".
    std::function<void(const std::string& how)> died;
  };

  [[nodiscard]] static Result<std::shared_ptr<Supervisor>> start(Settings settings);
  ~Supervisor();
  Supervisor(const Supervisor&) = delete;
  Supervisor& operator=(const Supervisor&) = delete;

  /// Returns at once.
  void launch(Launch launch);

  /// How many processes there are at this moment, those that are closing or parked included. Any thread.
  [[nodiscard]] std::size_t processCount() const;

  /// How many guests are ready for another request. Any thread.
  [[nodiscard]] std::size_t parkedCount() const;

  /// Where the variable VREL_PLUGIN_HOST of the environment says, or else beside the running program, or where the
  /// installation of a program in `bin` has it: `../libexec/vrel`.
  [[nodiscard]] static std::string defaultHelperPath();
  /// The same for a program in this folder.
  [[nodiscard]] static std::string helperPathFor(const std::filesystem::path& folder);

 private:
  friend class Guest;
  class Core;
  explicit Supervisor(std::shared_ptr<Core> core);

  const std::shared_ptr<Core> core_;
};

}  // namespace vrel::sandbox
