// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "platform/audio_component.h"
#include "platform/audio_unit.h"
#include "system/dispatch/main_loop.h"

namespace vrel::lv2 {
class Lv2World;
}  // namespace vrel::lv2

namespace vrel::bench {

inline constexpr std::size_t stateBytes = std::size_t{64} << 10U;

/// The instruments of a song, one for each strip, with `stateBytes` of state each; an effect; and their factory.
struct Cast {
  std::shared_ptr<lv2::Lv2World> world;
  std::unique_ptr<AudioUnitFactory> units;
  std::vector<AVAudioUnitComponent> instruments;
  AVAudioUnitComponent effect;
};

/// The loop is borrowed and outlives the cast.
using CastMaker = std::function<Cast(system::MainLoop& loop)>;

/// Simulated plug-ins, which cost nothing but their states: the rest is the program's own cost.
[[nodiscard]] CastMaker bareCast(std::size_t strips);

/// LV2 instruments, at most 16, and effects: all in this process, or each in one of its own.
[[nodiscard]] CastMaker lv2Cast(std::size_t strips, bool isSandboxed);

}  // namespace vrel::bench
