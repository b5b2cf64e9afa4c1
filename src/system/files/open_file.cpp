// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/files/open_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
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

int OpenFile::findSize(std::uintmax_t& bytes) {
  struct stat status {};
  const int code = codeOf(calls_.fstat(file_, &status));
  bytes = static_cast<std::uintmax_t>(status.st_size);
  return code;
}

int OpenFile::readPiece(std::string& piece) {
  constexpr std::size_t pieceSize = std::size_t{1} << 20U;
  piece.resize(pieceSize);
  const auto count = uninterrupted([&] { return calls_.read(file_, piece.data(), piece.size()); });
  const int code = codeOf(static_cast<int>(std::min<ssize_t>(count, 0)));
  piece.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return code;
}

int OpenFile::readAll(std::uintmax_t mostBytes, std::string& bytes) {
  std::string piece;
  for (;;) {
    if (const int code = readPiece(piece); code != 0 || piece.empty()) {
      return code;
    }
    bytes += piece;
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
