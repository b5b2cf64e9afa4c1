// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "document/plugin_path.h"
#include "engine/effect_racks.h"
#include "support/simulated_stage.h"

namespace vrel {

/// A stage on which one effect, the chorus, is installed.
class RackStage : public SimulatedStage {
 protected:
  [[nodiscard]] static PluginComponentResolver resolver() {
    return [](const std::string& key) { return resolvePluginPath(key, {chorus}); };
  }

  static AudioPluginSlot slotFor(const std::string& path) {
    AudioPluginSlot slot;
    slot.pluginPath = path;
    return slot;
  }
};

}  // namespace vrel
