// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "document/app_state.h"
#include "foundation/life_token.h"

namespace vrel {

/// To be called when one of the loads ends that the modal on the screen waits for. Does nothing once that modal is
/// closed, or the one who asked is gone. Main thread.
[[nodiscard]] inline std::function<void()> endOfLoad(AppState& state, const LifeToken& life) {
  return [&state, life = life.watch(), session = state.loadingSessionToken.get()] {
    if (life.isAlive() && state.loadingSessionToken.get() == session) {
      state.completeOneLoad();
    }
  };
}

}  // namespace vrel
