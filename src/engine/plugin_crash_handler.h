// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "foundation/life_token.h"

namespace vrel {

class AVAudioNode;
class ConsoleOutput;
class EffectRacks;
class InstrumentLoader;
class MainQueue;
class PluginPool;
class RingingStrips;
struct Strips;

/// What follows when the process of a plug-in has died under it. Main thread.
///
/// An instrument's strip shows the crash as in the simulated crash; an effect's slot stays, without its node; a strip
/// that rings ends with its instrument, and is dry without its effect; a parked node is never handed out. Each death is
/// logged, with the strip's name. A node on its way into a strip, in work that is in the main queue, is looked for
/// again after that work.
class PluginCrashHandler {
 public:
  struct Collaborators {
    Strips& strips;
    InstrumentLoader& instruments;
    EffectRacks& effects;
    RingingStrips& ringing;
    PluginPool& pool;
    MainQueue& mainQueue;
    ConsoleOutput& console;
  };

  explicit PluginCrashHandler(const Collaborators& collaborators)
      : strips_(collaborators.strips),
        instruments_(collaborators.instruments),
        effects_(collaborators.effects),
        ringing_(collaborators.ringing),
        pool_(collaborators.pool),
        mainQueue_(collaborators.mainQueue),
        console_(collaborators.console) {}

  /// To be called once for a node that has died; `how` is for the log: "Organ was killed by signal 9".
  void pluginDied(const std::shared_ptr<AVAudioNode>& node, const std::string& how);

 private:
  [[nodiscard]] bool takeFromStrips(const std::shared_ptr<AVAudioNode>& node, const std::string& how);
  [[nodiscard]] bool takeFromRinging(const std::shared_ptr<AVAudioNode>& node, const std::string& how);

  Strips& strips_;
  InstrumentLoader& instruments_;
  EffectRacks& effects_;
  RingingStrips& ringing_;
  PluginPool& pool_;
  MainQueue& mainQueue_;
  ConsoleOutput& console_;
  LifeToken life_;
};

}  // namespace vrel
