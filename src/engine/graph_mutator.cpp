// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/graph_mutator.h"

#include "foundation/contracts.h"
#include "foundation/main_thread.h"
#include "platform/audio_engine.h"
#include "platform/console_output.h"

namespace vrel {

void GraphMutator::performGraphMutation(const std::string& label, const std::function<void()>& body) {
  if (!VREL_EXPECTS(isMainThread()) || !VREL_EXPECTS(body != nullptr)) {
    return;
  }
  if (graphMutationDepth_ > 0) {
    body();
    return;
  }
  const OutermostMutation mutation(*this, label);
  body();
}

GraphMutator::OutermostMutation::OutermostMutation(GraphMutator& mutator, const std::string& label)
    : mutator_(mutator), label_(label), wasRunning_(mutator.engine_.isRunning()) {
  if (wasRunning_) {
    mutator_.engine_.stop();
  }
  ++mutator_.graphMutationDepth_;
}

GraphMutator::OutermostMutation::~OutermostMutation() {
  --mutator_.graphMutationDepth_;
  if (wasRunning_) {
    mutator_.restartEngine(label_);
  }
}

void GraphMutator::restartEngine(const std::string& label) {
  if (const auto& error = startEngine()) {
    console_.print("AVAudioEngine restart failed after graph mutation (" + label + "): " + error->description);
  }
}

const Outcome& GraphMutator::startEngine() {
  lastEngineStartError_ = engine_.start();
  if (!lastEngineStartError_ && startHandler_) {
    startHandler_();
  }
  return lastEngineStartError_;
}

bool GraphMutator::ensureEngineRunning(const std::string& reason, const std::function<void()>& prepareOutputGraph) {
  if (!VREL_EXPECTS(isMainThread())) {
    return false;
  }
  if (engine_.isRunning()) {
    return true;
  }
  if (reason == "routeMIDI" || reason == "panic") {
    return false;
  }
  prepareOutputGraph();
  const auto& error = startEngine();
  if (error) {
    console_.print("AVAudioEngine start failed (" + reason + "): " + error->description);
  }
  return !error;
}

}  // namespace vrel
