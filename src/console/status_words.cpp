// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/status_words.h"

#include "channel/channel_status.h"
#include "document/app_state.h"
#include "text/text.h"

namespace vrel {

std::string stripStatusText(ChannelStatus status, Language language) {
  if (status == ChannelStatus::crashed) {
    return std::string(text(TextKey::crashed, language));
  }
  if (status == ChannelStatus::running) {
    return std::string(text(TextKey::running, language));
  }
  return std::string(statusText(status));
}

std::vector<float> stripStatusColor(ChannelStatus status) {
  if (status == ChannelStatus::crashed) {
    return {1.0F, 0.23F, 0.19F};
  }
  if (status == ChannelStatus::running) {
    return {0.18F, 0.8F, 0.44F};
  }
  return {0.6F, 0.6F, 0.6F};
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
