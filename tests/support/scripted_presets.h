// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/plugin_presets.h"
#include "simulation/simulated_units.h"

namespace vrel {

/// An instrument with presets. Lists are given at once; all other requests wait until the test answers them.
class InstrumentWithPresets : public simulation::ScriptedInstrument {
 public:
  using ScriptedInstrument::ScriptedInstrument;

  class Core : public simulation::ScriptedUnitCore, public PluginPresets {
   public:
    void requestPresets(ListHandler handler) override { handler(presets); }
    void usePreset(const std::string& identifier, Handler handler) override {
      used.push_back(identifier);
      useHandlers.push_back(std::move(handler));
    }
    void saveUserPreset(const std::string& name, bool mayReplace, SaveHandler handler) override {
      saved.push_back(name);
      mayReplaceSaved.push_back(mayReplace);
      saveHandlers.push_back(std::move(handler));
    }
    void deleteUserPreset(const std::string& identifier, Handler handler) override {
      deleted.push_back(identifier);
      deleteHandlers.push_back(std::move(handler));
    }

    std::vector<AUAudioUnitPreset> presets;
    std::vector<std::string> used;  // in the order of the requests
    std::vector<std::string> saved;
    std::vector<bool> mayReplaceSaved;
    std::vector<std::string> deleted;
    std::vector<Handler> useHandlers;
    std::vector<SaveHandler> saveHandlers;
    std::vector<Handler> deleteHandlers;
  };

  AUAudioUnit& auAudioUnit() override { return presetCore; }

  Core presetCore;
};

}  // namespace vrel
