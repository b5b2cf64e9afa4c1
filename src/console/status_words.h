// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

namespace vrel {

class AppState;
enum class ChannelStatus;
enum class Language;

/// How a strip's instrument is, as the button that chooses it shows by its tint.
enum class InstrumentState { empty, present, failed };

/// One that is being loaded counts as present, one whose load has failed as failed, also while another plays on.
[[nodiscard]] InstrumentState instrumentState(ChannelStatus status, bool hasInstrument);

/// What a strip's status cell shows: running and crashed are translated, all others have their own text.
[[nodiscard]] std::string stripStatusText(ChannelStatus status, Language language);

/// What the head of the song list says of the song switch: that it is under way, or how long the last one took.
[[nodiscard]] std::string songSwitchText(const AppState& state);

/// Whether the name that is shown for the MIDI input is that of a port.
[[nodiscard]] bool isMidiPort(const std::string& shownName);

/// How much of a loading session is done, 0 to 1; none without one.
[[nodiscard]] std::optional<double> loadingProgress(int totalLoads, int remainingLoads);

}  // namespace vrel
