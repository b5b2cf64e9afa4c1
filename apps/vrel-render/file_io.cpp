// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/file_io.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

namespace vrel::render {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

Error failure(const char* what, const std::string& path, int code) {
  return Error{std::string("can not ") + what + " " + path + ": " + std::generic_category().message(code)};
}

/// Writes a new file down to the disk; returns the error's code, 0 for success.
int writeNewFile(const std::string& path, std::string_view bytes) {
  File file(std::fopen(path.c_str(), "wbx"));
  if (file == nullptr) {
    return errno;
  }
  const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size() &&
                         std::fflush(file.get()) == 0 && fsync(fileno(file.get())) == 0;
  const int code = isWritten ? 0 : errno;
  return std::fclose(file.release()) == 0 || code != 0 ? code : errno;
}

}  // namespace

Result<std::string> readFile(const std::string& path) {
  const File file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) {
    return failure("read", path, errno);
  }
  std::string bytes;
  std::array<char, 65536> piece{};
  while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), file.get())) {
    bytes.append(piece.data(), count);
  }
  if (std::ferror(file.get()) != 0) {
    return failure("read", path, errno);
  }
  return bytes;
}

Outcome replaceFile(const std::string& path, std::string_view bytes) {
  std::error_code error;
  // Where a link leads to is replaced, not the link.
  const auto target = std::filesystem::weakly_canonical(path, error);
  if (error) {
    return failure("write", path, error.value());
  }
  const std::string fresh = target.string() + ".new-" + std::to_string(getpid());
  if (const int code = writeNewFile(fresh, bytes); code != 0) {
    if (code != EEXIST) {
      std::filesystem::remove(fresh, error);
    }
    return failure("write", path, code);
  }
  if (const auto old = std::filesystem::status(target, error); std::filesystem::is_regular_file(old)) {
    std::filesystem::permissions(fresh, old.permissions(), error);
  }
  error.clear();
  std::filesystem::rename(fresh, target, error);
  if (error) {
    const int code = error.value();
    std::filesystem::remove(fresh, error);
    return failure("write", path, code);
  }
  return {};
}

}  // namespace vrel::render
