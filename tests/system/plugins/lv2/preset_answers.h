// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/audio_unit.h"
#include "platform/plugin_presets.h"

namespace vrel::lv2 {

/// A home of this test's own, so that those beside it find nothing of what it saves.
class OwnHome {
 public:
  OwnHome() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vrel-home-XXXXXX").string();
    path_ = ::mkdtemp(pattern.data());
    ::setenv("HOME", path_.c_str(), 1);
  }
  ~OwnHome() {
    ::setenv("HOME", former_.c_str(), 1);
    std::filesystem::remove_all(path_);
  }
  OwnHome(const OwnHome&) = delete;
  OwnHome& operator=(const OwnHome&) = delete;

  [[nodiscard]] std::filesystem::path bundles() const { return path_ / ".lv2"; }

 private:
  const std::string former_ = std::getenv("HOME");
  std::filesystem::path path_;
};

/// The requests of PluginPresets, waited for.
class PresetsOf {
 public:
  explicit PresetsOf(AVAudioUnit& unit) : presets_(dynamic_cast<PluginPresets&>(unit.auAudioUnit())) {}

  [[nodiscard]] std::vector<AUAudioUnitPreset> all() {
    return answer<std::vector<AUAudioUnitPreset>>([this](auto done) { presets_.requestPresets(done); });
  }
  [[nodiscard]] std::vector<std::string> names() {
    std::vector<std::string> names;
    for (const auto& preset : all()) {
      names.push_back(preset.name);
    }
    return names;
  }
  /// The preset of this name; the last one where there are two, all empty for none.
  [[nodiscard]] AUAudioUnitPreset named(const std::string& name) {
    AUAudioUnitPreset found;
    for (const auto& preset : all()) {
      found = preset.name == name ? preset : found;
    }
    return found;
  }
  [[nodiscard]] Outcome use(const std::string& name) {
    const auto identifier = named(name).identifier;
    return answer<Outcome>([&](auto done) { presets_.usePreset(identifier, done); });
  }
  [[nodiscard]] Result<AUAudioUnitPreset> save(const std::string& name, bool mayReplace = true) {
    return answer<Result<AUAudioUnitPreset>>([&](auto done) { presets_.saveUserPreset(name, mayReplace, done); });
  }
  [[nodiscard]] Outcome remove(const std::string& identifier) {
    return answer<Outcome>([&](auto done) { presets_.deleteUserPreset(identifier, done); });
  }

 private:
  template <typename Answer>
  [[nodiscard]] static Answer answer(const auto& ask) {
    auto answered = std::make_shared<std::promise<Answer>>();
    ask([answered](Answer given) { answered->set_value(std::move(given)); });
    return answered->get_future().get();
  }

  PluginPresets& presets_;
};

}  // namespace vrel::lv2
