// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vrel {

enum class ChannelStatus;
enum class Language;

/// What a strip's status cell shows: running and crashed are translated, all others have their own text.
[[nodiscard]] std::string stripStatusText(ChannelStatus status, Language language);

/// Its colour, red, green and blue, 0 to 1: red for a crash, green for what runs, grey for the rest.
[[nodiscard]] std::vector<float> stripStatusColor(ChannelStatus status);

/// Whether the name that is shown for the MIDI input is that of a port.
[[nodiscard]] bool isMidiPort(const std::string& shownName);

/// How much of a loading session is done, 0 to 1; none without one.
[[nodiscard]] std::optional<double> loadingProgress(int totalLoads, int remainingLoads);

}  // namespace vrel
