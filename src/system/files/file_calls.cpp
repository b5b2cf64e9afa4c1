// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/files/file_calls.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace vrel::system {

int FileCalls::open(const char* path, int flags, mode_t mode) {
  return ::open(path, flags, mode);
}

int FileCalls::fstat(int file, struct stat* status) {
  return ::fstat(file, status);
}

ssize_t FileCalls::read(int file, void* bytes, std::size_t count) {
  return ::read(file, bytes, count);
}

ssize_t FileCalls::write(int file, const void* bytes, std::size_t count) {
  return ::write(file, bytes, count);
}

int FileCalls::fallocate(int file, int mode, off_t length) {
  return ::fallocate(file, mode, 0, length);
}

int FileCalls::ftruncate(int file, off_t length) {
  return ::ftruncate(file, length);
}

int FileCalls::fchmod(int file, mode_t mode) {
  return ::fchmod(file, mode);
}

int FileCalls::fsync(int file) {
  return ::fsync(file);
}

int FileCalls::close(int file) {
  return ::close(file);
}

int FileCalls::rename(const char* from, const char* to) {
  return std::rename(from, to);
}

int FileCalls::unlink(const char* path) {
  return ::unlink(path);
}

int FileCalls::mkdir(const char* path, mode_t mode) {
  return ::mkdir(path, mode);
}

int FileCalls::rmdir(const char* path) {
  return ::rmdir(path);
}

}  // namespace vrel::system
