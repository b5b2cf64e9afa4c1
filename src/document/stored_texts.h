// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string_view>

#include "document/setlist.h"

// The texts under which the document's enumerations are stored.

namespace vrel {

[[nodiscard]] std::string_view storedText(VisualTriggerMode mode);
[[nodiscard]] std::string_view storedText(MidiControlKind kind);

/// The case stored as `text`, compared exactly; none for any other text.
[[nodiscard]] std::optional<VisualTriggerMode> visualTriggerMode(std::string_view text);
[[nodiscard]] std::optional<MidiControlKind> midiControlKind(std::string_view text);

}  // namespace vrel
