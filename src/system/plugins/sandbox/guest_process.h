// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "foundation/result.h"
#include "system/plugins/scratch_folder.h"
#include "system/processes/file_descriptor.h"

namespace vrel::sandbox {

/// The descriptor on which a guest finds its socket.
inline constexpr int guestSocketNumber = 3;

/// What a process of the helper program is: the sound half of a plug-in, or its editor.
enum class ProcessRole { plugin, editor };

/// The word on the helper's command line, behind the program's number.
inline constexpr const char* editorRoleName = "editor";

/// What ends a keeper and all that it keeps; see guest_keeper.h.
inline constexpr int keeperEndSignal = SIGUSR1;

/// What a guest may have of private memory: three quarters of the machine's. What it asks for beyond that is refused.
[[nodiscard]] std::uint64_t guestMemoryBytes();

/// No such bound under a sanitizer, which takes all addresses for books of its own.
#if defined(__has_feature)
inline constexpr bool isGuestMemoryBounded = !(__has_feature(address_sanitizer) || __has_feature(thread_sanitizer));
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isGuestMemoryBounded = false;
#else
inline constexpr bool isGuestMemoryBounded = true;
#endif

/// What of a guest's log is logged, in lines of the plug-in's log and in what it prints, each.
inline constexpr std::size_t guestLogBytes = std::size_t{64} << 10U;

/// A guest with its keeper, the process that this one starts: from its start to the moment when nothing is left of it,
/// nor of what it has started.
///
/// It ends when the thread that started it ends, so that thread must live as long as the program. It shares no
/// descriptor with the program but its standard error and its end of the socket, is in a process group of its own (a
/// terminal's interrupt is not for it), and has a folder of its own for temporary files. Sound halves that ask Qt for a
/// display get one that nobody sees. Not thread-safe.
class GuestProcess {
 public:
  struct Ended {
    std::string words;     // how, e.g. "was killed by signal 9"
    bool isCrash = false;  // by a signal
  };

  /// Starts `program` and gives it `memory`; an editor gets none. `socket` gets the host's end, which does not block.
  [[nodiscard]] static Result<GuestProcess> start(const std::string& program, ProcessRole role,
                                                  const FileDescriptor* memory, FileDescriptor& socket);

  /// Kills what still runs and waits for its end.
  ~GuestProcess();
  GuestProcess(GuestProcess&& other) noexcept;
  GuestProcess& operator=(GuestProcess&&) = delete;

  /// Becomes readable when the process has ended.
  [[nodiscard]] int endDescriptor() const { return end_.get(); }

  /// Has the keeper kill the guest and all that it has started, also when any of them is stopped.
  void kill() const;

  /// Kills the keeper, with the guest, when that did not help.
  void killKeeper() const;

  /// Takes the ended process away; none while it runs. Removes its temporary files.
  [[nodiscard]] std::optional<Ended> reap();

 private:
  GuestProcess(pid_t id, FileDescriptor end, std::optional<ScratchFolder> folder);

  pid_t id_ = -1;  // of the keeper; -1 when nothing is left
  FileDescriptor end_;
  std::optional<ScratchFolder> folder_;  // none where none could be made
};

}  // namespace vrel::sandbox
