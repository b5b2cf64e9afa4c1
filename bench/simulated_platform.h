// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "engine/engine_platform.h"
#include "simulation/recording_console.h"
#include "simulation/simulated_audio_engine.h"
#include "simulation/simulated_property_lists.h"
#include "simulation/simulated_units.h"
#include "simulation/virtual_time.h"

namespace vrel::bench {

/// What an engine needs of a machine, simulated. It must outlive the engine.
struct SimulatedPlatform {
  [[nodiscard]] EnginePlatform forEngine() { return {nodes, units, mainQueue, queues, clock, propertyLists, console}; }

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::CrankedQueueFactory queues;
  simulation::SimulatedNodeFactory nodes;
  simulation::ScriptedUnitFactory units;
  simulation::SimulatedPropertyLists propertyLists;
  simulation::RecordingConsole console;
};

}  // namespace vrel::bench
