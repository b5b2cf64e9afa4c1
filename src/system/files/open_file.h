// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace vrel::system {

class FileCalls;

/// The error code for what is not a regular file, beside the system's own.
inline constexpr int notARegularFile = -1;

/// An open file, closed at the latest with this object. Every function returns the system's error code, 0 for success.
class OpenFile {
 public:
  /// The calls are borrowed.
  explicit OpenFile(FileCalls& calls) : calls_(calls) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile();

  /// Opens it with flags of open(2), never blocking.
  [[nodiscard]] int open(const std::filesystem::path& path, int flags);
  /// EISDIR or `notARegularFile` for what is not a regular file; EFBIG for one of more bytes.
  [[nodiscard]] int expectRegular(std::uintmax_t mostBytes);
  /// Takes the mode of another file, if that exists.
  [[nodiscard]] int takeModeOf(const std::filesystem::path& other);

  [[nodiscard]] int findSize(std::uintmax_t& bytes);

  /// The next piece, at most 1 MiB; empty at the end.
  [[nodiscard]] int readPiece(std::string& piece);
  /// Reads to the end; EFBIG for more than `mostBytes`.
  [[nodiscard]] int readAll(std::uintmax_t mostBytes, std::string& bytes);
  /// Reserves disk space for the file without changing it; success where the file system cannot.
  [[nodiscard]] int reserve(std::size_t size);
  [[nodiscard]] int truncate();
  [[nodiscard]] int writeAll(std::string_view bytes);
  /// Flushes it to the disk.
  [[nodiscard]] int sync();
  [[nodiscard]] int close();

 private:
  FileCalls& calls_;
  int file_ = -1;
};

}  // namespace vrel::system
