// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/user_defaults.h"

namespace vrel {
class ConsoleOutput;
}

namespace vrel::system {

/// The user's settings in an INI file, read once and written through at every set.
///
/// Main thread. The file is replaced in one step, so that a crash leaves the old or the new one. A set changes its own
/// key only: what somebody else has written to the file meanwhile, by hand or in another run, stays there. Of a damaged
/// file only what can not be read is lost, and before it is replaced it is kept under the same name with ".damaged" at
/// its end, and a number after that where an earlier one is kept already. A file that can not be written leaves the
/// values in force for this run, and is told in one line, until it can be written again.
class IniUserDefaults final : public NSUserDefaults {
 public:
  /// Reads the file, which need not be there. An empty path keeps the values for this run only.
  IniUserDefaults(std::filesystem::path path, ConsoleOutput& console);

  [[nodiscard]] std::optional<std::string> stringForKey(const std::string& key) override;
  [[nodiscard]] std::int64_t integerForKey(const std::string& key) override;
  void setString(const std::string& key, const std::string& value) override;
  void setInteger(const std::string& key, std::int64_t value) override;
  void removeObjectForKey(const std::string& key) override;

  /// "vrel/defaults.ini" in the user's configuration folder, as the environment tells it; empty when it
  /// tells none. Before other threads are started.
  [[nodiscard]] static std::filesystem::path userPath();

 private:
  using Values = std::map<std::string, std::string>;

  /// What the file says now, as far as it can be read.
  struct FileContent {
    Values values;
    bool isThere = false;
    bool isDamaged = false;
  };
  [[nodiscard]] FileContent readFile();
  /// The values that the file should have: its own, but for the keys that were set or removed here.
  [[nodiscard]] Values merged(const FileContent& file) const;
  void tellDamage(const std::string& line);
  void write();

  const std::filesystem::path path_;
  ConsoleOutput& console_;
  Values values_;                  // in force
  std::set<std::string> unsaved_;  // keys set or removed since the last successful write
  bool damageIsTold_ = false;      // since the last successful write
  bool failureIsTold_ = false;     // since the last successful write
};

}  // namespace vrel::system
