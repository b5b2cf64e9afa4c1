// SPDX-License-Identifier: GPL-3.0-or-later
// Tries every plug-in of this machine in a process of its own, and reports how each did. What they do is not a result
// of a test; that this program and its processes survive it is.

#include <algorithm>
#include <cstdio>
#include <string>

#include "system/plugins/sandbox/sandbox_stage.h"

namespace vrel::sandbox {
namespace {

class InstalledPlugins : public SandboxStage {
 protected:
  InstalledPlugins() : SandboxStage(30s, VREL_PLUGIN_HOST_PROGRAM, false, lv2::Bundles::machine) {}

  std::string outcomeOf(const AVAudioUnitComponent& component) {
    auto made = std::make_shared<std::promise<Made>>();
    factory_->instantiate(component.audioComponentDescription, AudioComponentInstantiationOptions::outOfProcess,
                          [made](std::shared_ptr<AVAudioUnit> unit, std::optional<Error> error) {
                            made->set_value({std::move(unit), std::move(error)});
                          });
    auto pending = made->get_future();
    if (pending.wait_for(30s) != std::future_status::ready) {
      return "does not answer";
    }
    const Made result = pending.get();
    if (result.unit == nullptr) {
      return result.error ? result.error->description : "failed";
    }
    if (dynamic_cast<AVAudioUnitMIDIInstrument*>(result.unit.get()) != nullptr) {
      DeadlinePlayer player(result.unit);
      player.key(60);
      (void)player.block(10s);
    }
    (void)result.unit->auAudioUnit().fullStateForDocument();
    const auto& dead = deaths();
    return std::find(dead.begin(), dead.end(), processOf(result.unit)) == dead.end() ? "ok" : "died";
  }
};

TEST_F(InstalledPlugins, AreSurvived) {
  for (const auto& component : inProcess_.world->componentsMatchingDescription({})) {
    std::printf("%-50s %s\n", component.name.c_str(), outcomeOf(component).c_str());
    std::fflush(stdout);
  }
}

}  // namespace
}  // namespace vrel::sandbox
