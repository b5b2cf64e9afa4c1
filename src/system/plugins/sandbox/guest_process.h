// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "foundation/result.h"
#include "system/plugins/sandbox/file_descriptor.h"
#include "system/plugins/scratch_folder.h"

namespace vrel::sandbox {

/// The descriptor on which a guest finds its socket.
inline constexpr int guestSocketNumber = 3;

/// One process of the helper program, from its start to the moment when nothing is left of it.
///
/// It is killed by the system when the thread that started it ends, so that thread must live as long as
/// the program. It shares no descriptor with the program but its standard error and its end of the
/// socket, is in a process group of its own (a terminal's interrupt is not for it), and has a folder of
/// its own for temporary files. Not thread-safe.
class GuestProcess {
 public:
  struct Ended {
    std::string words;  // how, e.g. "was killed by signal 9"
  };

  /// Starts `program` and gives it `memory`. `socket` gets the host's end, which does not block.
  [[nodiscard]] static Result<GuestProcess> start(const std::string& program, const FileDescriptor& memory,
                                                  FileDescriptor& socket);

  /// Kills what still runs and waits for its end.
  ~GuestProcess();
  GuestProcess(GuestProcess&& other) noexcept;
  GuestProcess& operator=(GuestProcess&&) = delete;

  [[nodiscard]] pid_t id() const { return id_; }

  /// Becomes readable when the process has ended.
  [[nodiscard]] int endDescriptor() const { return end_.get(); }

  /// Kills the process and all that it has started, also when it is stopped.
  void kill() const;

  /// Takes the ended process away; none while it runs. Removes its temporary files.
  [[nodiscard]] std::optional<Ended> reap();

 private:
  GuestProcess(pid_t id, FileDescriptor end, std::optional<ScratchFolder> folder);

  pid_t id_ = -1;  // -1 when nothing is left
  FileDescriptor end_;
  std::optional<ScratchFolder> folder_;  // none where none could be made
};

}  // namespace vrel::sandbox
