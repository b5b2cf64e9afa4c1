// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/lv2_instance.h"

#include "system/plugins/lv2/plugin_state.h"
#include "system/plugins/lv2/state_snapshot.h"

namespace vrel::lv2 {

std::optional<PropertyListDictionary> Lv2Instance::fullStateForDocument() {
  HostedPlugin& plugin = processor_->plugin();
  return toPropertyList(captureState(plugin), plugin.description());
}

void Lv2Instance::setFullStateForDocument(const PropertyListDictionary& state) {
  const Result<StateSnapshot> snapshot = fromPropertyList(state, processor_->plugin().description());
  const Outcome failure =
      !snapshot.ok() ? Outcome(snapshot.error()) : processor_->withPlugin([&snapshot](HostedPlugin& plugin) {
        return restoreState(plugin, snapshot.value());
      });
  if (failure) {
    processor_->plugin().log().write("state not restored: " + failure->description);
  }
}

}  // namespace vrel::lv2
