// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/user_defaults/ini_user_defaults.h"

#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/console_output.h"
#include "system/files/user_folders.h"
#include "system/user_defaults/ini_text.h"
#include "system/user_defaults/settings_file.h"

namespace vrel::system {
namespace {

// Bytes. Settings are a handful of lines: more than this is no settings file.
constexpr std::size_t mostBytes = std::size_t{1} << 20U;

}  // namespace

std::filesystem::path IniUserDefaults::userPath() {
  const auto folder = userFolder("XDG_CONFIG_HOME", ".config");
  return folder.empty() ? folder : folder / "vrel" / "defaults.ini";
}

IniUserDefaults::IniUserDefaults(std::filesystem::path path, ConsoleOutput& console)
    : path_(std::move(path)), console_(console) {
  if (!path_.empty()) {
    values_ = readFile().values;
  }
}

IniUserDefaults::FileContent IniUserDefaults::readFile() {
  const auto file = readFileStart(path_, mostBytes);
  if (!file) {
    tellDamage("Failed to read the settings: " + file.error().description);
    return {.values = {}, .isThere = true, .isDamaged = true};
  }
  std::string_view text = file.value().text;
  if (!file.value().isWhole) {
    text = text.substr(0, text.find_last_of('\n') + 1);  // half a line would give half a value
  }
  auto content = readIni(text);
  const bool isDamaged = content.isDamaged || !file.value().isWhole;
  if (isDamaged) {
    tellDamage("The settings file is damaged, unreadable entries are lost: " + path_.string());
  }
  return {.values = std::move(content.values), .isThere = !file.value().text.empty(), .isDamaged = isDamaged};
}

void IniUserDefaults::tellDamage(const std::string& line) {
  if (!std::exchange(damageIsTold_, true)) {
    console_.print(line);
  }
}

IniUserDefaults::Values IniUserDefaults::merged(const FileContent& file) const {
  // What a sound file does not say any more was removed from it; of any other nothing can be concluded.
  Values values = file.isThere && !file.isDamaged ? Values() : values_;
  for (const auto& [key, value] : file.values) {
    values.insert_or_assign(key, value);
  }
  for (const auto& key : unsaved_) {
    if (const auto entry = values_.find(key); entry != values_.end()) {
      values.insert_or_assign(key, entry->second);
    } else {
      values.erase(key);
    }
  }
  return values;
}

void IniUserDefaults::write() {
  Outcome failure = Error{"no configuration folder (HOME and XDG_CONFIG_HOME are not set)"};
  if (!path_.empty()) {
    const FileContent file = readFile();
    failure = replaceFile(path_, writeIni(merged(file)), file.isDamaged ? ".damaged" : "");
  }
  if (failure) {
    if (!std::exchange(failureIsTold_, true)) {
      console_.print("Failed to save the settings, they apply to this run only: " + failure->description);
    }
    return;
  }
  unsaved_.clear();
  damageIsTold_ = false;
  failureIsTold_ = false;
}

std::optional<std::string> IniUserDefaults::stringForKey(const std::string& key) {
  const auto entry = values_.find(key);
  return entry == values_.end() ? std::nullopt : std::optional(entry->second);
}

std::int64_t IniUserDefaults::integerForKey(const std::string& key) {
  const auto entry = values_.find(key);
  if (entry == values_.end()) {
    return 0;
  }
  const std::string& text = entry->second;
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

void IniUserDefaults::setString(const std::string& key, const std::string& value) {
  values_.insert_or_assign(key, value);
  unsaved_.insert(key);
  write();
}

void IniUserDefaults::setInteger(const std::string& key, std::int64_t value) {
  setString(key, std::to_string(value));
}

void IniUserDefaults::removeObjectForKey(const std::string& key) {
  if (values_.erase(key) > 0 || failureIsTold_) {
    unsaved_.insert(key);
    write();
  }
}

}  // namespace vrel::system
