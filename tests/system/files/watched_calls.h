// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "system/files/file_calls.h"

namespace vrel::system {

/// The calls of the system, each of which is announced before it is made, and may be refused.
class WatchedCalls : public FileCalls {
 public:
  /// Receives the name of each call before it is made and returns the error with which it fails instead; 0: it is made.
  std::function<int(const std::string& call)> before;
  std::size_t mostBytesPerWrite = SIZE_MAX;

  int open(const char* path, int flags, mode_t mode) override {
    return refused("open") ? -1 : FileCalls::open(path, flags, mode);
  }
  int fstat(int file, struct stat* status) override { return refused("fstat") ? -1 : FileCalls::fstat(file, status); }
  ssize_t read(int file, void* bytes, std::size_t count) override {
    return refused("read") ? -1 : FileCalls::read(file, bytes, count);
  }
  ssize_t write(int file, const void* bytes, std::size_t count) override {
    return refused("write") ? -1 : FileCalls::write(file, bytes, std::min(count, mostBytesPerWrite));
  }
  int fallocate(int file, int mode, off_t length) override {
    return refused("fallocate") ? -1 : FileCalls::fallocate(file, mode, length);
  }
  int ftruncate(int file, off_t length) override {
    return refused("ftruncate") ? -1 : FileCalls::ftruncate(file, length);
  }
  int fchmod(int file, mode_t mode) override { return refused("fchmod") ? -1 : FileCalls::fchmod(file, mode); }
  int fsync(int file) override { return refused("fsync") ? -1 : FileCalls::fsync(file); }
  int close(int file) override {
    const bool fails = refused("close");
    const int result = FileCalls::close(file);  // also where it fails, as on a real system
    return fails ? failAgain() : result;
  }
  int rename(const char* from, const char* to) override { return refused("rename") ? -1 : FileCalls::rename(from, to); }
  int unlink(const char* path) override { return refused("unlink") ? -1 : FileCalls::unlink(path); }
  int mkdir(const char* path, mode_t mode) override { return refused("mkdir") ? -1 : FileCalls::mkdir(path, mode); }
  int rmdir(const char* path) override { return refused("rmdir") ? -1 : FileCalls::rmdir(path); }

 private:
  bool refused(const std::string& call) {
    code_ = before ? before(call) : 0;
    errno = code_;
    return code_ != 0;
  }
  int failAgain() const {
    errno = code_;
    return -1;
  }

  int code_ = 0;
};

}  // namespace vrel::system
