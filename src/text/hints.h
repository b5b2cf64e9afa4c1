// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string_view>

#include "text/text.h"

namespace vrel {

/// What a control says of itself when the pointer rests on it, and to assistive technology.
enum class Hint {
  playKeys,
  splitBand,
  keyCount,
  startNote,
  performanceItem,
  foldKeyboard,
  stripColor,
  masterColor,
  notInLiveMode,
  crash,
  crashImpossible,
  revive,
  reviveImpossible,
  gain,
  reverb,
  mute,
  solo,
  transpose,
  split,
  lowestKey,
  highestKey,
  sendSustain,
  sendExpression,
  sustainControlsRotor,
  stripSetup,
  fader,
  addChannel,
  addSong,
  tempoStep,
  tap,
  panic,
  learn,
  liveMode,
  dropouts,
  close,
  hue,
  saturation,
  brightness,
};

inline constexpr std::size_t hintCount = static_cast<std::size_t>(Hint::brightness) + 1;

/// The words in a language, UTF-8. Any thread.
[[nodiscard]] std::string_view hintText(Hint hint, Language language);

}  // namespace vrel
