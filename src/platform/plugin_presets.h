// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "foundation/result.h"

namespace vrel {

/// One preset of a plug-in. A value.
struct AUAudioUnitPreset {
  std::string identifier;  // stays the same while its data lies where it is
  std::string name;
  std::string bankName;       // empty for none
  bool isUserPreset = false;  // was saved by this program, and may be replaced and deleted by it

  bool operator==(const AUAudioUnitPreset&) const = default;
};

/// Of a plug-in that has presets. Requests are made on the main thread and return at once; handlers are called once, on
/// any thread, or never when the plug-in is released first.
class PluginPresets {
 public:
  using ListHandler = std::function<void(std::vector<AUAudioUnitPreset>)>;
  using Handler = std::function<void(const Outcome&)>;
  using SaveHandler = std::function<void(Result<AUAudioUnitPreset>)>;

  virtual ~PluginPresets() = default;

  /// Gives the presets: those of the user, then the others by bank and name.
  virtual void requestPresets(ListHandler handler) = 0;

  /// Puts a preset into the plug-in. One that cannot be read, or that the plug-in refuses, leaves it as it is.
  virtual void usePreset(const std::string& identifier, Handler handler) = 0;

  /// Saves what the plug-in is now, where other programs find it. Fails where the user has a preset of that name that
  /// it may not replace.
  virtual void saveUserPreset(const std::string& name, bool mayReplace, SaveHandler handler) = 0;

  /// Fails for a preset that is not the user's.
  virtual void deleteUserPreset(const std::string& identifier, Handler handler) = 0;
};

}  // namespace vrel
