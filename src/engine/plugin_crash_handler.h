// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "foundation/life_token.h"

namespace vrel {

class AVAudioNode;
class EffectRacks;
class InstrumentLoader;
class MainQueue;
class PluginPool;
struct Strips;

/// What follows when the process of a plug-in has died under it. Main thread.
///
/// An instrument's strip shows the crash as in the simulated crash; an effect's slot stays, without its node;
/// a parked node is never handed out. A node on its way into a strip, in work that is in the main
/// queue, is looked for again after that work.
class PluginCrashHandler {
 public:
  struct Collaborators {
    Strips& strips;
    InstrumentLoader& instruments;
    EffectRacks& effects;
    PluginPool& pool;
    MainQueue& mainQueue;
  };

  explicit PluginCrashHandler(const Collaborators& collaborators)
      : strips_(collaborators.strips),
        instruments_(collaborators.instruments),
        effects_(collaborators.effects),
        pool_(collaborators.pool),
        mainQueue_(collaborators.mainQueue) {}

  /// To be called once for a node that has died.
  void pluginDied(const std::shared_ptr<AVAudioNode>& node);

 private:
  [[nodiscard]] bool takeFromStrips(const std::shared_ptr<AVAudioNode>& node);

  Strips& strips_;
  InstrumentLoader& instruments_;
  EffectRacks& effects_;
  PluginPool& pool_;
  MainQueue& mainQueue_;
  LifeToken life_;
};

}  // namespace vrel
