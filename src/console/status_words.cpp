// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/status_words.h"

#include "channel/audio_channel.h"
#include "document/app_state.h"
#include "text/text.h"

namespace vrel {

std::string stripStatusText(const std::string& status, Language language) {
  if (status == channel_status::crashed) {
    return std::string(text(TextKey::crashed, language));
  }
  if (status == channel_status::running) {
    return std::string(text(TextKey::running, language));
  }
  return status;
}

std::vector<float> stripStatusColor(const std::string& status) {
  if (status == channel_status::crashed) {
    return {1.0F, 0.23F, 0.19F};
  }
  if (status == channel_status::running) {
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
