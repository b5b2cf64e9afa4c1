// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "foundation/result.h"

namespace vrel {

class AVAudioEngine;
class ConsoleOutput;

/// The one way to change connections of chains that stay: the graph is never rewired while it runs.
///
/// The outermost call stops the engine, runs the change and starts the engine again; calls inside it
/// just run. An engine that was not running is left so. A failed restart is logged and kept as
/// `lastEngineStartError`, and the engine stays stopped. A change that throws is ended like any other, and its
/// exception goes on to the caller. Main thread, which is checked; hence a plain counter.
///
/// Without this wrapper one may set levels, attach a node that has no connections, give up the chain
/// of a node that leaves, install taps, and send MIDI.
class GraphMutator {
 public:
  GraphMutator(AVAudioEngine& engine, ConsoleOutput& console) : engine_(engine), console_(console) {}

  /// `label` appears in the failure message only. Nothing is run on any other thread than the main one.
  void performGraphMutation(const std::string& label, const std::function<void()>& body);

  /// Starts the engine after `prepareOutputGraph`, for any reason but "routeMIDI" and "panic", which
  /// never start it. Returns whether the engine runs.
  bool ensureEngineRunning(const std::string& reason, const std::function<void()>& prepareOutputGraph);

  /// `handler` is called after every successful start. Once, before the first.
  void setStartHandler(std::function<void()> handler) { startHandler_ = std::move(handler); }

  /// Starts the engine and keeps the outcome as `lastEngineStartError`.
  const Outcome& startEngine();

  [[nodiscard]] int graphMutationDepth() const { return graphMutationDepth_; }

  /// The error of the most recent failed start; a successful start clears it.
  [[nodiscard]] const Outcome& lastEngineStartError() const { return lastEngineStartError_; }

 private:
  /// The engine is stopped and the depth is 1 for the time of its life.
  class OutermostMutation {
   public:
    OutermostMutation(GraphMutator& mutator, const std::string& label);
    ~OutermostMutation();
    OutermostMutation(const OutermostMutation&) = delete;
    OutermostMutation& operator=(const OutermostMutation&) = delete;

   private:
    GraphMutator& mutator_;
    const std::string& label_;
    const bool wasRunning_;
  };

  void restartEngine(const std::string& label);

  AVAudioEngine& engine_;
  ConsoleOutput& console_;
  std::function<void()> startHandler_;
  int graphMutationDepth_ = 0;
  Outcome lastEngineStartError_;
};

}  // namespace vrel
