// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/user_defaults/settings_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <system_error>

namespace vrel::system {
namespace {

namespace fs = std::filesystem;

Error failure(const fs::path& path, int code) {
  return Error{path.string() + ": " + std::generic_category().message(code)};
}

/// Writes all and makes it last; 0 or the error's number.
int writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(file, text.data(), text.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written < 0) {
      return errno;
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return ::fsync(file) == 0 ? 0 : errno;
}

Outcome makeFolder(const fs::path& folder) {
  if (folder.empty()) {
    return {};
  }
  std::error_code error;
  fs::create_directories(folder, error);
  if (error && !fs::is_directory(folder)) {
    return Error{folder.string() + ": " + error.message()};
  }
  return {};
}

/// Gives the file a second name that nothing has yet; 0 or the error's number. It stays in its place as
/// well, so that there is no moment without a file. No file, no work.
int keepAside(const fs::path& target, const std::string& suffix) {
  constexpr int mostKept = 99;
  for (int number = 1; number <= mostKept; ++number) {
    const std::string kept = target.string() + suffix + (number == 1 ? "" : std::to_string(number));
    if (::link(target.c_str(), kept.c_str()) == 0 || errno == ENOENT) {
      return 0;
    }
    std::error_code ignored;
    if (errno == EEXIST || fs::exists(fs::symlink_status(kept, ignored))) {
      continue;
    }
    // What can have one name only, such as a folder: it has to go for the new file to come.
    return std::rename(target.c_str(), kept.c_str()) == 0 ? 0 : errno;
  }
  return EEXIST;
}

}  // namespace

Result<FileStart> readFileStart(const fs::path& path, std::size_t limit) {
  std::error_code error;
  const auto status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found) {
    return FileStart{};
  }
  if (error) {
    return Error{path.string() + ": " + error.message()};
  }
  // A pipe would be waited for without end.
  if (status.type() != fs::file_type::regular) {
    return Error{path.string() + ": not a regular file"};
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    return failure(path, errno);
  }
  FileStart start;
  start.text.resize(limit + 1);
  file.read(start.text.data(), static_cast<std::streamsize>(limit + 1));
  start.text.resize(static_cast<std::size_t>(file.gcount()));
  if (start.text.size() > limit) {
    start.text.resize(limit);
    start.isWhole = false;
  }
  return start;
}

Outcome replaceFile(const fs::path& path, std::string_view text, const std::string& keptSuffix) {
  std::error_code error;
  fs::path target = fs::weakly_canonical(path, error);
  if (error) {
    target = path;
  }
  if (Outcome failed = makeFolder(target.parent_path())) {
    return failed;
  }
  std::string temporary = target.string() + ".XXXXXX";
  const int file = ::mkstemp(temporary.data());
  if (file < 0) {
    return failure(target, errno);
  }
  int code = writeAll(file, text);
  if (::close(file) != 0 && code == 0) {
    code = errno;
  }
  // Only now, so that the old file is given up for nothing less than a whole new one.
  if (code == 0 && !keptSuffix.empty()) {
    code = keepAside(target, keptSuffix);
  }
  if (code == 0 && std::rename(temporary.c_str(), target.c_str()) != 0) {
    code = errno;
  }
  if (code != 0) {
    ::unlink(temporary.c_str());
    return failure(target, code);
  }
  return {};
}

}  // namespace vrel::system
