// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/files/file_steps.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>

#include "system/files/open_file.h"

namespace vrel::system {

Outcome outcome(const std::filesystem::path& path, int code) {
  if (code == 0) {
    return {};
  }
  const auto reason = code == notARegularFile ? "Not a regular file" : std::generic_category().message(code);
  return Error{path.string() + ": " + reason};
}

int refusal(const std::filesystem::path& path) {
  using std::filesystem::file_type;
  if (path.native().find('\0') != std::string::npos) {
    return ENOENT;  // the system would end the path there
  }
  std::error_code ignored;
  const auto type = std::filesystem::status(path, ignored).type();
  if (type == file_type::directory) {
    return EISDIR;
  }
  const bool isSpecial =
      type == file_type::fifo || type == file_type::socket || type == file_type::character || type == file_type::block;
  return isSpecial ? notARegularFile : 0;
}

std::filesystem::path canonicalForm(const std::filesystem::path& path) {
  std::error_code error;
  const auto whole = std::filesystem::absolute(path, error);
  auto canonical = error ? path : std::filesystem::weakly_canonical(whole, error);
  return error ? whole.lexically_normal() : canonical;
}

int syncDirectory(FileCalls& calls, const std::filesystem::path& directory) {
  OpenFile file(calls);
  const int code = untilFailure([&] { return file.open(directory.empty() ? "." : directory, O_RDONLY | O_DIRECTORY); },
                                [&] { return file.sync(); }, [&] { return file.close(); });
  return code == EINVAL ? 0 : code;  // some file systems do not sync directories
}

}  // namespace vrel::system
