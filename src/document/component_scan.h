// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <locale>
#include <vector>

#include "document/collation.h"
#include "platform/audio_component.h"

// The lists of plug-ins that a channel and an effect slot can choose from. Main thread.
//
// Each component is listed once: the last one found where two have the same codes. The order is that of
// the manufacturers' names and, within one manufacturer, of the plug-ins' names, as the user's
// language sorts them, ignoring case. Manufacturers that differ only in case are next to each other,
// each with its plug-ins together.

namespace vrel {

/// Music devices and generators.
[[nodiscard]] std::vector<AVAudioUnitComponent> scanInstrumentComponents(AVAudioUnitComponentManager& manager,
                                                                         const std::locale& locale = userLocale());

/// Effects and music effects.
[[nodiscard]] std::vector<AVAudioUnitComponent> scanAudioEffectComponents(AVAudioUnitComponentManager& manager,
                                                                          const std::locale& locale = userLocale());

}  // namespace vrel
