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
/// Main thread. The file is replaced atomically, so that a crash leaves the old or the new one. A set changes its own
/// key only: what was written to the file meanwhile, by hand or by another run, is kept. Of a damaged file only the
/// unreadable lines are lost, and before it is replaced it is kept under the same name with ".damaged" at its end, and
/// a number after that where an earlier one exists. When the file cannot be written the values are valid until the
/// program ends, and one line is logged until it can be written again.
class IniUserDefaults final : public NSUserDefaults {
 public:
  /// Reads the file, which need not exist. An empty path keeps the values in memory only.
  IniUserDefaults(std::filesystem::path path, ConsoleOutput& console);

  [[nodiscard]] std::optional<std::string> stringForKey(const std::string& key) override;
  [[nodiscard]] std::int64_t integerForKey(const std::string& key) override;
  void setString(const std::string& key, const std::string& value) override;
  void setInteger(const std::string& key, std::int64_t value) override;
  void removeObjectForKey(const std::string& key) override;

  /// "vrel/defaults.ini" in the user's configuration folder; empty when the environment names none. Before other
  /// threads are started.
  [[nodiscard]] static std::filesystem::path userPath();

 private:
  using Values = std::map<std::string, std::string>;

  /// The present content of the file, as far as it can be read.
  struct FileContent {
    Values values;
    bool isThere = false;
    bool isDamaged = false;
  };
  [[nodiscard]] FileContent readFile();
  /// The values to write: the file's own, but for the keys that were set or removed here.
  [[nodiscard]] Values merged(const FileContent& file) const;
  void logDamage(const std::string& line);
  void write();

  const std::filesystem::path path_;
  ConsoleOutput& console_;
  Values values_;                  // valid now
  std::set<std::string> unsaved_;  // keys set or removed since the last successful write
  bool isDamageLogged_ = false;    // since the last successful write
  bool isFailureLogged_ = false;   // since the last successful write
};

}  // namespace vrel::system
