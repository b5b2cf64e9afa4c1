// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/simulated_units.h"

#include <utility>

namespace vrel::simulation {

std::shared_ptr<ScriptedInstrument> ScriptedUnitFactory::answerWithInstrument(std::size_t index) {
  auto node = std::make_shared<ScriptedInstrument>("instrument " + std::to_string(++instrumentCount_));
  answer(index, node, std::nullopt);
  return node;
}

std::shared_ptr<ScriptedUnit> ScriptedUnitFactory::answerWithUnit(std::size_t index) {
  auto node = std::make_shared<ScriptedUnit>("effect " + std::to_string(++unitCount_));
  answer(index, node, std::nullopt);
  return node;
}

void ScriptedUnitFactory::answer(std::size_t index, std::shared_ptr<AVAudioUnit> node, std::optional<Error> error) {
  const auto handler = std::move(requests.at(index).completionHandler);
  requests.erase(requests.begin() + static_cast<std::ptrdiff_t>(index));
  handler(std::move(node), std::move(error));
}

}  // namespace vrel::simulation
