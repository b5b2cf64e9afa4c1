// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/preset_state.h"

#include <lilv/lilv.h>
#include <lv2/state/state.h>

#include <cstddef>
#include <memory>
#include <string>

#include "system/plugins/lv2/bundle_search.h"
#include "system/plugins/lv2/lilv_pointers.h"
#include "system/plugins/lv2/lv2_processor.h"
#include "system/plugins/lv2/lv2_world.h"
#include "system/plugins/lv2/plugin_state.h"
#include "system/plugins/lv2/urid_map.h"

namespace vrel::lv2 {

std::size_t valueCount(const LilvState* state) {
  std::size_t count = lilv_state_get_num_properties(state);
  lilv_state_emit_port_values(
      state,
      [](const char* /*symbol*/, void* counted, const void* /*value*/, std::uint32_t /*size*/, std::uint32_t /*type*/) {
        ++*static_cast<std::size_t*>(counted);
      },
      &count);
  return count;
}

Outcome usePreset(Lv2World& world, Lv2Processor& processor, const PresetPlace& place) {
  const Node subject(lilv_new_uri(world.library(), place.uri.c_str()));
  if (subject == nullptr || (!place.file.empty() && !isReadableData(place.file))) {
    return Error{"its file cannot be read"};
  }
  LV2_URID_Map* const map = world.urids().mapFeature();
  const State state(place.file.empty()
                        ? lilv_state_new_from_world(world.library(), map, subject.get())
                        : lilv_state_new_from_file(world.library(), map, subject.get(), place.file.c_str()));
  if (state == nullptr || valueCount(state.get()) == 0) {
    return Error{"there is nothing in it"};
  }
  return processor.withPlugin([&state](HostedPlugin& plugin) { return restorePreset(plugin, state.get()); });
}

}  // namespace vrel::lv2
