// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/files/open_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <utility>

#include "system/files/file_calls.h"

namespace vrel::system {
namespace {

/// Repeats a call that was interrupted by a signal.
template <typename Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  return result;
}

int codeOf(int result) {
  return result < 0 ? errno : 0;
}

}  // namespace

OpenFile::~OpenFile() {
  static_cast<void>(close());
}

int OpenFile::open(const std::filesystem::path& path, int flags) {
  constexpr mode_t readWriteForAll = 0666;
  file_ = uninterrupted(
      [&] { return calls_.open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, readWriteForAll); });
  return codeOf(file_);
}

int OpenFile::expectRegular(std::uintmax_t mostBytes) {
  struct stat status {};
  if (calls_.fstat(file_, &status) < 0) {
    return errno;
  }
  if (!S_ISREG(status.st_mode)) {
    return S_ISDIR(status.st_mode) ? EISDIR : notARegularFile;
  }
  return static_cast<std::uintmax_t>(status.st_size) > mostBytes ? EFBIG : 0;
}

int OpenFile::takeModeOf(const std::filesystem::path& other) {
  constexpr mode_t permissions = 07777;
  struct stat status {};
  return ::stat(other.c_str(), &status) == 0 ? codeOf(calls_.fchmod(file_, status.st_mode & permissions)) : 0;
}

int OpenFile::readAll(std::uintmax_t mostBytes, std::string& bytes) {
  constexpr std::size_t chunkSize = std::size_t{1} << 20U;
  std::string chunk(chunkSize, '\0');
  for (;;) {
    const auto count = uninterrupted([&] { return calls_.read(file_, chunk.data(), chunk.size()); });
    if (count <= 0) {
      return count < 0 ? errno : 0;
    }
    bytes.append(chunk, 0, static_cast<std::size_t>(count));
    if (bytes.size() > mostBytes) {
      return EFBIG;
    }
  }
}

int OpenFile::reserve(std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const int code =
      codeOf(uninterrupted([&] { return calls_.fallocate(file_, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(size)); }));
  const bool isRefused = code == ENOSPC || code == EDQUOT || code == EFBIG || code == EIO;
  return isRefused ? code : 0;
}

int OpenFile::truncate() {
  return codeOf(uninterrupted([this] { return calls_.ftruncate(file_, 0); }));
}

int OpenFile::writeAll(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto written = uninterrupted([&] { return calls_.write(file_, bytes.data(), bytes.size()); });
    if (written < 0) {
      return errno;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

int OpenFile::sync() {
  return codeOf(uninterrupted([this] { return calls_.fsync(file_); }));
}

int OpenFile::close() {
  const int file = std::exchange(file_, -1);
  const int code = file < 0 ? 0 : codeOf(calls_.close(file));
  return code == EINTR ? 0 : code;  // it is closed all the same
}

}  // namespace vrel::system
