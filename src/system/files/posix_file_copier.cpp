// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/files/posix_file_copier.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>

#include "system/files/file_calls.h"
#include "system/files/file_steps.h"
#include "system/files/open_file.h"

namespace vrel::system {
namespace {

namespace fs = std::filesystem;

/// Runs the steps that fill a new file, and removes it unless all succeed.
template <typename Fill>
int fillNewFile(FileCalls& calls, const fs::path& path, Fill fill) {
  OpenFile file(calls);
  if (const int code = file.open(path, O_WRONLY | O_CREAT | O_EXCL); code != 0) {
    return code;
  }
  const int code = untilFailure([&] { return fill(file); }, [&] { return file.sync(); }, [&] { return file.close(); },
                                [&] { return syncDirectory(calls, path.parent_path()); });
  if (code != 0) {
    static_cast<void>(file.close());
    calls.unlink(path.c_str());
  }
  return code;
}

}  // namespace

fs::path PosixFileCopier::canonicalPath(const fs::path& path) {
  return canonicalForm(path);
}

Outcome PosixFileCopier::makeDirectory(const fs::path& path) {
  constexpr mode_t forAll = 0777;  // as the user's mask has it
  if (calls_.mkdir(path.c_str(), forAll) < 0) {
    return outcome(path, errno);
  }
  const int code = syncDirectory(calls_, path.parent_path());
  if (code != 0) {
    calls_.rmdir(path.c_str());
  }
  return outcome(path, code);
}

FileCopier::Copy PosixFileCopier::copy(const fs::path& from, const fs::path& to, const Progress& progress) {
  constexpr auto anySize = std::numeric_limits<std::uintmax_t>::max();
  OpenFile source(calls_);
  std::uintmax_t size = 0;
  const int sourceCode =
      untilFailure([&] { return refusal(from); }, [&] { return source.open(from, O_RDONLY); },
                   [&] { return source.expectRegular(anySize); }, [&] { return source.findSize(size); });
  if (const auto failure = outcome(from, sourceCode)) {
    return {End::sourceFailed, failure->description};
  }
  int readCode = 0;
  bool isStopped = false;
  const auto fill = [&](OpenFile& target) {
    std::string piece;
    int code = target.reserve(size);
    for (std::uintmax_t copied = 0; code == 0; copied += piece.size()) {
      if (!progress(size == 0 ? 1 : std::min(1.0, static_cast<double>(copied) / static_cast<double>(size)))) {
        isStopped = true;
        return ECANCELED;
      }
      readCode = source.readPiece(piece);
      if (readCode != 0 || piece.empty()) {
        return readCode;
      }
      code = target.writeAll(piece);
    }
    return code;
  };
  const int code = fillNewFile(calls_, to, fill);
  if (isStopped) {
    return {End::stopped};
  }
  if (const auto failure = outcome(from, readCode)) {
    return {End::sourceFailed, failure->description};
  }
  if (const auto failure = outcome(to, code)) {
    return {End::targetFailed, failure->description};
  }
  return {};
}

Outcome PosixFileCopier::write(const fs::path& path, const std::string& bytes) {
  return outcome(path, fillNewFile(calls_, path, [&bytes](OpenFile& file) {
                   return untilFailure([&] { return file.reserve(bytes.size()); },
                                       [&] { return file.writeAll(bytes); });
                 }));
}

void PosixFileCopier::remove(const fs::path& path) {
  if (calls_.unlink(path.c_str()) < 0) {
    calls_.rmdir(path.c_str());
  }
}

std::shared_ptr<FileCopier> makeFileCopier() {
  struct Owner {
    FileCalls calls;
    PosixFileCopier files{calls};
  };
  const auto owner = std::make_shared<Owner>();
  return {owner, &owner->files};
}

}  // namespace vrel::system
