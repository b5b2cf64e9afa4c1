// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/stored_texts.h"

#include "document/midi_control_kinds.h"
#include "foundation/enum_texts.h"

namespace vrel {
namespace {

constexpr EnumTexts<VisualTriggerMode, 2> triggerModes = {{
    {VisualTriggerMode::hold, "hold"},
    {VisualTriggerMode::toggle, "toggle"},
}};
static_assert(isComplete(triggerModes));

}  // namespace

std::string_view storedText(VisualTriggerMode mode) {
  return textOf(triggerModes, mode);
}

std::string_view storedText(MidiControlKind kind) {
  return traitsOf(kind).text;
}

std::optional<VisualTriggerMode> visualTriggerMode(std::string_view text) {
  return caseOf(triggerModes, text);
}

std::optional<MidiControlKind> midiControlKind(std::string_view text) {
  for (const auto& row : midiControlKinds) {
    if (!row.text.empty() && row.text == text) {
      return row.kind;
    }
  }
  return std::nullopt;
}

}  // namespace vrel
