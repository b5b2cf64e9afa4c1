// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/files/posix_file_manager.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <deque>
#include <limits>
#include <new>
#include <system_error>

#include "foundation/uuid.h"
#include "system/files/file_calls.h"
#include "system/files/file_steps.h"
#include "system/files/open_file.h"

namespace vrel::system {
namespace {

namespace fs = std::filesystem;

constexpr auto anySize = std::numeric_limits<std::uintmax_t>::max();

/// An unused name in the same directory.
fs::path temporaryNameFor(const fs::path& path) {
  constexpr std::size_t mostNameBytes = 200;  // leaves room for what is appended
  constexpr std::size_t mark = 8;
  return path.parent_path() /
         (path.filename().string().substr(0, mostNameBytes) + "." + Uuid::fresh().text().substr(0, mark));
}

}  // namespace

Result<std::string> PosixFileManager::contents(const fs::path& path, std::uintmax_t mostBytes) {
  std::string bytes;
  OpenFile file(calls_);
  int code = 0;
  try {
    code = untilFailure([&] { return refusal(path); }, [&] { return file.open(path, O_RDONLY); },
                        [&] { return file.expectRegular(mostBytes); }, [&] { return file.readAll(mostBytes, bytes); });
  } catch (const std::bad_alloc&) {
    code = ENOMEM;
  }
  if (const auto failure = outcome(path, code)) {
    return *failure;
  }
  return bytes;
}

int PosixFileManager::replaceBytes(const fs::path& path, const std::string& bytes, bool& isTouched) {
  OpenFile file(calls_);
  return untilFailure([&] { return file.open(path, O_WRONLY | O_CREAT); }, [&] { return file.expectRegular(anySize); },
                      [&] { return file.reserve(bytes.size()); },
                      [&] {
                        isTouched = true;
                        return file.truncate();
                      },
                      [&] { return file.writeAll(bytes); }, [&] { return file.sync(); }, [&] { return file.close(); });
}

Outcome PosixFileManager::write(const fs::path& path, const std::string& bytes) {
  if (const int code = refusal(path); code != 0) {
    return outcome(path, code);
  }
  const bool isNew = !fileExists(path);
  const auto old = isNew ? Result<std::string>(Error{}) : contents(path, anySize);
  bool isTouched = false;
  const int code = replaceBytes(path, bytes, isTouched);
  if (code != 0 && isTouched && old) {
    bool ignored = false;
    const Outcome lost = outcome(path, replaceBytes(path, old.value(), ignored));
    return lost ? Error{outcome(path, code)->description + "; its old content is lost, too: " + lost->description}
                : outcome(path, code);
  }
  return outcome(path, code != 0 || !isNew ? code : syncDirectory(calls_, path.parent_path()));
}

Outcome PosixFileManager::writeAtomically(const fs::path& path, const std::string& bytes) {
  const auto target = canonicalPath(path);
  if (const int code = refusal(target); code != 0) {
    return outcome(path, code);
  }
  const auto fresh = temporaryNameFor(target);
  OpenFile file(calls_);
  if (const int code = file.open(fresh, O_WRONLY | O_CREAT | O_EXCL); code != 0) {
    return outcome(path, code);
  }
  const int code = untilFailure([&] { return file.takeModeOf(target); }, [&] { return file.writeAll(bytes); },
                                [&] { return file.sync(); }, [&] { return file.close(); },
                                [&] { return calls_.rename(fresh.c_str(), target.c_str()) < 0 ? errno : 0; });
  if (code != 0) {
    calls_.unlink(fresh.c_str());
    return outcome(path, code);
  }
  return outcome(path, syncDirectory(calls_, target.parent_path()));
}

bool PosixFileManager::fileExists(const fs::path& path) {
  std::error_code ignored;
  return path.native().find('\0') == std::string::npos && fs::exists(path, ignored);
}

fs::path PosixFileManager::canonicalPath(const fs::path& path) {
  return canonicalForm(path);
}

Outcome PosixFileManager::createDirectory(const fs::path& path) {
  std::error_code ignored;
  if (fs::is_directory(path, ignored)) {
    return {};
  }
  const auto above = path.parent_path();
  if (above != path && !above.empty()) {
    if (auto failure = createDirectory(above)) {
      return failure;
    }
  }
  constexpr mode_t userOnly = 0700;
  if (calls_.mkdir(path.c_str(), userOnly) < 0) {
    const int code = errno;
    return fs::is_directory(path, ignored) ? std::nullopt : outcome(path, code);
  }
  return outcome(path, syncDirectory(calls_, above));
}

std::vector<std::string> PosixFileManager::fileNames(const fs::path& directory) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(directory, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    std::error_code ignored;
    if (entry->is_regular_file(ignored)) {
      names.push_back(entry->path().filename().string());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<fs::path> PosixFileManager::filesNamed(const fs::path& directory, const std::set<std::string>& names,
                                                   std::size_t mostEntries) {
  std::vector<fs::path> files;
  std::deque<fs::path> folders{directory};
  for (std::size_t entries = 0; !folders.empty() && entries < mostEntries; folders.pop_front()) {
    std::error_code error;
    for (fs::directory_iterator entry(folders.front(), error);
         !error && entry != fs::directory_iterator() && ++entries <= mostEntries; entry.increment(error)) {
      const auto name = entry->path().filename().string();
      std::error_code ignored;
      if (entry->symlink_status(ignored).type() == fs::file_type::directory) {
        if (!name.starts_with('.')) {
          folders.push_back(entry->path());
        }
      } else if (names.contains(name) && entry->is_regular_file(ignored)) {
        files.push_back(entry->path());
      }
    }
  }
  return files;
}

std::optional<std::int64_t> PosixFileManager::modificationTime(const fs::path& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? std::optional<std::int64_t>(status.st_mtim.tv_sec) : std::nullopt;
}

Outcome PosixFileManager::remove(const fs::path& path) {
  return outcome(path, calls_.unlink(path.c_str()) < 0 ? errno : 0);
}

std::shared_ptr<FileManager> makeFileManager() {
  struct Owner {
    FileCalls calls;
    PosixFileManager files{calls};
  };
  const auto owner = std::make_shared<Owner>();
  return {owner, &owner->files};
}

}  // namespace vrel::system
