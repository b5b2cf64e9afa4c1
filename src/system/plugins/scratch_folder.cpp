// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/scratch_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace vrel {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view namePrefix = "vrel-scratch-";

/// The folder, locked; -1 when it is not ours, or somebody holds it.
int lockOf(const fs::path& folder) {
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  struct stat status {};
  const bool isOurs = descriptor >= 0 && fstat(descriptor, &status) == 0 && status.st_uid == geteuid();
  if (isOurs && flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
    return descriptor;
  }
  if (descriptor >= 0) {
    close(descriptor);
  }
  return -1;
}

bool isThere(const fs::path& folder) {
  std::error_code ignored;
  return fs::is_directory(fs::symlink_status(folder, ignored));
}

}  // namespace

Result<ScratchFolder> ScratchFolder::make() {
  std::error_code failure;
  const fs::path place = fs::temp_directory_path(failure);
  constexpr int attempts = 16;
  for (int attempt = 0; attempt < attempts && !failure; ++attempt) {
    std::string name = (place / (std::string(namePrefix) + "XXXXXX")).string();
    if (mkdtemp(name.data()) == nullptr) {
      failure = std::error_code(errno, std::generic_category());
      break;
    }
    const int lock = lockOf(name);
    // Between the making and the locking another program's sweep may have found it.
    if (lock >= 0 && isThere(name)) {
      return ScratchFolder(std::move(name), lock);
    }
    if (lock >= 0) {
      close(lock);
    }
  }
  return Error{"cannot create a folder for temporary files: " + failure.message()};
}

void ScratchFolder::sweep() {
  std::error_code failure;
  const fs::path place = fs::temp_directory_path(failure);
  for (fs::directory_iterator entry(place, fs::directory_options::skip_permission_denied, failure), end;
       !failure && entry != end; entry.increment(failure)) {
    if (entry->path().filename().string().compare(0, namePrefix.size(), namePrefix) != 0) {
      continue;
    }
    if (const int lock = lockOf(entry->path()); lock >= 0) {
      std::error_code ignored;
      fs::remove_all(entry->path(), ignored);
      close(lock);
    }
  }
}

ScratchFolder::~ScratchFolder() {
  if (lock_ >= 0) {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
    close(lock_);
  }
}

ScratchFolder::ScratchFolder(ScratchFolder&& other) noexcept
    : path_(std::move(other.path_)), lock_(std::exchange(other.lock_, -1)) {}

}  // namespace vrel
