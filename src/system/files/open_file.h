// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace vrel::system {

class FileCalls;

/// Stands among the system's errors for what is no plain file.
inline constexpr int notAPlainFile = -1;

/// A file that is open, closed at the latest with this object. Every function returns the number of the system's error,
/// 0 for success.
class OpenFile {
 public:
  /// The calls are borrowed.
  explicit OpenFile(FileCalls& calls) : calls_(calls) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile();

  /// Opens it with flags of open(2). Waits for nobody.
  [[nodiscard]] int open(const std::filesystem::path& path, int flags);
  /// EISDIR or `notAPlainFile` for what is none; EFBIG for one of more bytes.
  [[nodiscard]] int expectPlain(std::uintmax_t mostBytes);
  /// Takes the mode of another file, if that is there.
  [[nodiscard]] int takeModeOf(const std::filesystem::path& other);

  /// All there is to read; EFBIG for more than `mostBytes`.
  [[nodiscard]] int readAll(std::uintmax_t mostBytes, std::string& bytes);
  /// Has the disk set so much room aside for the file, which is not changed by it; success where that is unknown.
  [[nodiscard]] int reserve(std::size_t size);
  [[nodiscard]] int truncate();
  [[nodiscard]] int writeAll(std::string_view bytes);
  /// Brings it to the disk.
  [[nodiscard]] int sync();
  [[nodiscard]] int close();

 private:
  FileCalls& calls_;
  int file_ = -1;
};

}  // namespace vrel::system
