// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vrel {

enum class Language;

/// What a strip's status cell shows: two words of the status are translated, all others stand as they are.
[[nodiscard]] std::string stripStatusText(const std::string& status, Language language);

/// Its colour, red, green and blue, 0 to 1: red for a crash, green for what runs, grey for the rest.
[[nodiscard]] std::vector<float> stripStatusColor(const std::string& status);

/// Whether the name that is shown for the MIDI input is that of a port.
[[nodiscard]] bool isMidiPort(const std::string& shownName);

/// How much of a loading session is done, 0 to 1; none without one.
[[nodiscard]] std::optional<double> loadingProgress(int totalLoads, int remainingLoads);

}  // namespace vrel
