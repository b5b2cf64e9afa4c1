// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/live_mode_policy.h"

#include "document/app_state.h"

namespace vrel {
namespace {

constexpr bool rulesAreInOrder() {
  for (std::size_t index = 0; index < LiveModePolicy::rules.size(); ++index) {
    if (static_cast<std::size_t>(LiveModePolicy::rules.at(index).action) != index) {
      return false;
    }
  }
  return true;
}
static_assert(rulesAreInOrder(), "a rule is at the index of its action");

}  // namespace

bool LiveModePolicy::isAllowed(LiveModeAction action, const AppState& state) {
  return !state.isLiveModeEnabled.get() || rule(action).isAllowed;
}

}  // namespace vrel
