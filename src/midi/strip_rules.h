// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/instrument_route.h"

namespace vrel {

class AudioChannel;

/// What the strip's settings of this moment are to its instrument.
[[nodiscard]] InstrumentRules rulesOf(const AudioChannel& channel);

/// Whether the strip has an instrument that is played by notes.
[[nodiscard]] bool hasPlayedInstrument(const AudioChannel& channel);

}  // namespace vrel
