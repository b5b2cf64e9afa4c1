// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/lv2_instance.h"

#include "system/plugins/lv2/plugin_state.h"
#include "system/plugins/lv2/state_snapshot.h"

namespace vrel::lv2 {

std::optional<PropertyListDictionary> Lv2Instance::fullStateForDocument() {
  StateSnapshot state;
  processor_->besideBlocks([&state](HostedPlugin& plugin) { state = captureState(plugin); });
  return toPropertyList(state, processor_->description());
}

void Lv2Instance::setFullStateForDocument(const PropertyListDictionary& state) {
  const Result<StateSnapshot> snapshot = fromPropertyList(state, processor_->description());
  const Outcome failure =
      !snapshot.ok() ? Outcome(snapshot.error()) : processor_->withPlugin([&snapshot](HostedPlugin& plugin) {
        return restoreState(plugin, snapshot.value());
      });
  if (failure) {
    processor_->besideBlocks(
        [&failure](HostedPlugin& plugin) { plugin.log().write("state not restored: " + failure->description); });
  }
}

}  // namespace vrel::lv2
