// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>

#include "system/plugins/scratch_folder.h"

namespace vrel::sandbox {

/// For its life, all new temporary files of the test and of what it starts stand in one place of their own.
class OwnScratch {
 public:
  OwnScratch() { setenv("TMPDIR", folder_.path().c_str(), 1); }
  ~OwnScratch() { usual_ ? setenv("TMPDIR", usual_->c_str(), 1) : unsetenv("TMPDIR"); }
  OwnScratch(const OwnScratch&) = delete;
  OwnScratch& operator=(const OwnScratch&) = delete;

  /// How many there are.
  [[nodiscard]] std::size_t count() const {
    const std::filesystem::directory_iterator entries(folder_.path());
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }

 private:
  static std::optional<std::string> usual() {
    const char* const place = std::getenv("TMPDIR");
    return place != nullptr ? std::optional<std::string>(place) : std::nullopt;
  }

  const std::optional<std::string> usual_ = usual();
  const ScratchFolder folder_ = ScratchFolder::make().value();
};

}  // namespace vrel::sandbox
