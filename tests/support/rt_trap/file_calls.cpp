// SPDX-License-Identifier: GPL-3.0-or-later

// Files and logs. The printing functions are here because the C library writes, and locks, internally.

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

#include "trap.h"

using vrel::rt_trap::check;
using vrel::rt_trap::Real;

namespace {

constinit Real<int(const char*, int, mode_t)> realOpen{"open"};
constinit Real<int(int, const char*, int, mode_t)> realOpenAt{"openat"};
constinit Real<int(int)> realClose{"close"};
constinit Real<ssize_t(int, void*, size_t)> realRead{"read"};
constinit Real<ssize_t(int, const void*, size_t)> realWrite{"write"};
constinit Real<size_t(const void*, size_t, size_t, std::FILE*)> realFileWrite{"fwrite"};
constinit Real<int(const char*, std::FILE*)> realFilePuts{"fputs"};
constinit Real<int(const char*)> realPuts{"puts"};
constinit Real<int(std::FILE*, const char*, std::va_list)> realPrint{"vfprintf"};

// The mode is passed only where a file may be created; elsewhere forwarding an unset value is harmless.
mode_t modeOf(int flags, std::va_list list) {
  const bool given = (flags & (O_CREAT | O_TMPFILE)) != 0;
  return given ? va_arg(list, mode_t) : mode_t{0};
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  check("open");
  std::va_list list;
  va_start(list, flags);
  const mode_t mode = modeOf(flags, list);
  va_end(list);
  return realOpen(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
  check("open64");
  std::va_list list;
  va_start(list, flags);
  const mode_t mode = modeOf(flags, list);
  va_end(list);
  return realOpen(path, flags | O_LARGEFILE, mode);
}

int openat(int folder, const char* path, int flags, ...) {
  check("openat");
  std::va_list list;
  va_start(list, flags);
  const mode_t mode = modeOf(flags, list);
  va_end(list);
  return realOpenAt(folder, path, flags, mode);
}

int close(int file) {
  check("close");
  return realClose(file);
}

ssize_t read(int file, void* bytes, size_t count) {
  check("read");
  return realRead(file, bytes, count);
}

ssize_t write(int file, const void* bytes, size_t count) {
  check("write");
  return realWrite(file, bytes, count);
}

size_t fwrite(const void* items, size_t size, size_t count, std::FILE* file) {
  check("fwrite");
  return realFileWrite(items, size, count, file);
}

int fputs(const char* text, std::FILE* file) {
  check("fputs");
  return realFilePuts(text, file);
}

int puts(const char* text) {
  check("puts");
  return realPuts(text);
}

int vfprintf(std::FILE* file, const char* format, std::va_list list) {
  check("vfprintf");
  return realPrint(file, format, list);
}

int fprintf(std::FILE* file, const char* format, ...) {
  check("fprintf");
  std::va_list list;
  va_start(list, format);
  const int written = realPrint(file, format, list);
  va_end(list);
  return written;
}

int printf(const char* format, ...) {
  check("printf");
  std::va_list list;
  va_start(list, format);
  const int written = realPrint(stdout, format, list);
  va_end(list);
  return written;
}
}
