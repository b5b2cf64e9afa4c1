// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdio>
#include <mutex>
#include <string>

#include "platform/console_output.h"

namespace vrel::system {

/// Lines on a stream of the process, whole ones whoever writes them. Each is flushed, so that it is
/// there should the program die. Any thread but the audio thread. A stream that can not be written
/// loses the line: there is nowhere left to tell it.
class StandardOutput final : public ConsoleOutput {
 public:
  /// The stream is borrowed.
  explicit StandardOutput(std::FILE* stream = stdout) : stream_(stream) {}

  void print(const std::string& line) override {
    const std::lock_guard lock(mutex_);
    std::fwrite(line.data(), 1, line.size(), stream_);
    std::fputc('\n', stream_);
    std::fflush(stream_);
  }

 private:
  std::mutex mutex_;
  std::FILE* stream_;
};

}  // namespace vrel::system
