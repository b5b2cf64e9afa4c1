// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

namespace vrel::system {

/// The system calls by which files are read and written, with the system's own semantics. Tests replace it by one that
/// fails, or ends the program, at any of them.
class FileCalls {
 public:
  virtual ~FileCalls() = default;

  virtual int open(const char* path, int flags, mode_t mode);
  virtual int fstat(int file, struct stat* status);
  virtual ssize_t read(int file, void* bytes, std::size_t count);
  virtual ssize_t write(int file, const void* bytes, std::size_t count);
  virtual int fallocate(int file, int mode, off_t length);  // from the start of the file
  virtual int ftruncate(int file, off_t length);
  virtual int fchmod(int file, mode_t mode);
  virtual int fsync(int file);
  virtual int close(int file);
  virtual int rename(const char* from, const char* to);
  virtual int unlink(const char* path);
  virtual int mkdir(const char* path, mode_t mode);
  virtual int rmdir(const char* path);
};

}  // namespace vrel::system
