// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdio>
#include <string>

#include "foundation/mutex.h"
#include "platform/console_output.h"

namespace vrel::system {

/// Lines on a stream of the process; those of several threads do not mix. Each is flushed, so that it is
/// there should the program die. Any thread but the audio thread. A stream that cannot be written
/// loses the line: there is nowhere left to report it.
class StandardOutput final : public ConsoleOutput {
 public:
  /// The stream is borrowed.
  explicit StandardOutput(std::FILE* stream = stdout) : stream_(stream) {}

  void print(const std::string& line) override {
    const MutexLock lock(mutex_);
    std::fwrite(line.data(), 1, line.size(), stream_);
    std::fputc('\n', stream_);
    std::fflush(stream_);
  }

 private:
  Mutex mutex_;
  std::FILE* stream_ VREL_GUARDED_BY(mutex_);
};

}  // namespace vrel::system
