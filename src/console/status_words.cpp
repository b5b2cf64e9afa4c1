// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/status_words.h"

#include "channel/channel_status.h"
#include "document/app_state.h"
#include "text/text.h"

namespace vrel {

InstrumentState instrumentState(ChannelStatus status, bool hasInstrument) {
  if (status == ChannelStatus::crashed || status == ChannelStatus::loadFailed) {
    return InstrumentState::failed;
  }
  return hasInstrument || status == ChannelStatus::loading ? InstrumentState::present : InstrumentState::empty;
}

std::string stripStatusText(ChannelStatus status, Language language) {
  if (status == ChannelStatus::crashed) {
    return std::string(text(TextKey::crashed, language));
  }
  if (status == ChannelStatus::running) {
    return std::string(text(TextKey::running, language));
  }
  return std::string(statusText(status));
}

std::string songSwitchText(const AppState& state) {
  if (state.songSwitchInProgress.get()) {
    return "Switching...";
  }
  const auto milliseconds = state.songSwitchElapsedMs.get();
  return milliseconds ? "Switch: " + std::to_string(*milliseconds) + " ms" : "Switch: --";
}

bool isMidiPort(const std::string& shownName) {
  return shownName != "Disconnected";
}

std::optional<double> loadingProgress(int totalLoads, int remainingLoads) {
  if (totalLoads < 1) {
    return std::nullopt;
  }
  return static_cast<double>(totalLoads - remainingLoads) / totalLoads;
}

}  // namespace vrel
