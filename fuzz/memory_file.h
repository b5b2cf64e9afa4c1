// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

/// A file in memory with a path, for readers that take only paths.
class MemoryFile {
 public:
  MemoryFile(const std::uint8_t* data, std::size_t size) : file_(::memfd_create("fuzz", MFD_CLOEXEC)) {
    isWhole_ = file_ >= 0 && ::write(file_, data, size) == static_cast<ssize_t>(size);
  }
  ~MemoryFile() { ::close(file_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  [[nodiscard]] bool isWhole() const { return isWhole_; }
  [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(file_); }

 private:
  int file_;
  bool isWhole_ = false;
};
