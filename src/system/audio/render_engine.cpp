// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/render_engine.h"

#include <algorithm>
#include <string>
#include <utility>

#include "system/audio/mixer_node.h"
#include "system/audio/output_node.h"

namespace vrel::audio {
namespace {

// Frames per second. What lies outside is a fault of a driver, and would size delays accordingly.
constexpr double lowestSampleRate = 1000;
constexpr double highestSampleRate = 1e6;

}  // namespace

RenderEngine::RenderEngine(std::shared_ptr<OutputDevice> device, std::shared_ptr<RenderCounters> counters)
    : device_(std::move(device)),
      counters_(std::move(counters)),
      mainMixer_(std::make_shared<MixerNode>()),
      output_(std::make_shared<OutputNode>()),
      taps_(counters_),
      renderRate_(device_->sampleRate()),
      core_(*counters_, device_->isRealTime()) {
  graph_.setSampleRate(device_->sampleRate());
  attachFixedNodes();
}

RenderEngine::~RenderEngine() {
  if (deviceStarted_) {
    device_->stop();
  }
  endNow();
  taps_.stopThread();
}

void RenderEngine::attachFixedNodes() {
  attach(mainMixer_);
  attach(output_);
}

std::shared_ptr<AVAudioMixerNode> RenderEngine::mainMixerNode() {
  return mainMixer_;
}

std::shared_ptr<AVAudioOutputNode> RenderEngine::outputNode() {
  return output_;
}

void RenderEngine::attach(const Node& node) {
  if (!node || graph_.find(node.get()) != nullptr) {
    return;
  }
  const NodeGraph::Entry* const entry = graph_.attach(node);
  if (entry == nullptr) {
    RenderCounters::add(counters_->refusedNodes);
    return;
  }
  taps_.add(entry->graphNode->tapPoint());
  if (isRouted(node.get())) {
    publishRoutes();
  }
}

void RenderEngine::detach(const Node& node) {
  NodeGraph::Entry* const entry = graph_.find(node.get());
  if (entry == nullptr || node == mainMixer_ || node == output_) {
    return;
  }
  taps_.remove(entry->graphNode->tapPoint());
  const bool linked = entry->destination != nullptr || !entry->sources.empty();
  if (isRouted(node.get())) {
    publishRoutes(node.get());  // first: what it got after its last block, its next owner would sound
  }
  withdraw(*entry->graphNode->processor());
  graph_.detach(*entry);
  if (linked) {
    linksChanged();
  }
  leaveRetired();
}

// A running engine compiles a plan without the node.
void RenderEngine::withdraw(const NodeProcessor& processor) {
  if (plan_ && !isRunning_) {
    plan_->withdraw(processor);
    core_.waitUntilLeft(core_.turn());
  }
}

void RenderEngine::connect(const Node& source, const Node& destination, std::optional<AVAudioFormat> /*format*/) {
  NodeGraph::Entry* const from = graph_.find(source.get());
  NodeGraph::Entry* const to = graph_.find(destination.get());
  if (from == nullptr || to == nullptr || source == output_ || !graph_.connect(*from, *to)) {
    RenderCounters::add(counters_->refusedConnections);
    return;
  }
  linksChanged();
}

void RenderEngine::disconnectNodeInput(const Node& node) {
  NodeGraph::Entry* const entry = graph_.find(node.get());
  if (entry != nullptr && graph_.disconnectInput(*entry)) {
    linksChanged();
  }
}

void RenderEngine::disconnectNodeOutput(const Node& node) {
  NodeGraph::Entry* const entry = graph_.find(node.get());
  if (entry != nullptr && graph_.disconnectOutput(*entry)) {
    linksChanged();
  }
}

Outcome RenderEngine::start() {
  collectRetired();
  if (isRunning()) {
    return {};
  }
  if (Outcome failure = device_->prepare()) {
    endNow();  // a plan that played on would give notes to instruments that get nothing else any more
    return failure;
  }
  const double sampleRate = device_->sampleRate();
  if (!(sampleRate >= lowestSampleRate && sampleRate <= highestSampleRate)) {
    endNow();
    return Error{"unsupported sample rate of the audio device: " + std::to_string(sampleRate)};
  }
  if (sampleRate != graph_.sampleRate()) {
    endNow();  // no processor changes its rate while it is called
    graph_.setSampleRate(sampleRate);
  }
  // The plan first: a device that begins to ask finds sound, not a gap.
  replacePlan(compilePlan());
  if (Outcome failure = startDevice()) {
    endNow();
    return failure;
  }
  isRunning_ = true;
  return {};
}

Outcome RenderEngine::startDevice() {
  if (device_->isRealTime()) {
    if (Outcome failure = taps_.startThread()) {
      return failure;
    }
  }
  if (deviceStarted_ && device_->isRunning()) {
    return {};
  }
  renderRate_ = device_->sampleRate();
  core_.setTimedEvents(device_->timedEvents());
  Outcome failure = device_->start(*this);
  deviceStarted_ = !failure;
  return failure;
}

void RenderEngine::stop() {
  if (!device_->isRealTime()) {
    endNow();
  } else if (std::exchange(isRunning_, false)) {
    core_.endPlan();
    leaveRetired();
  }
}

void RenderEngine::endNow() {
  isRunning_ = false;
  replacePlan(nullptr);
  leaveRetired();
}

void RenderEngine::setInstrumentRoutes(std::vector<InstrumentRoute> routes) {
  collectRetired();
  routes_ = std::move(routes);
  publishRoutes();
}

void RenderEngine::endWaitingNotes() {
  if (const auto timed = device_->timedEvents()) {
    timed->endWaiting();
    core_.waitUntilLeft(core_.turn());  // what a block has taken, it routes before anything that is sent from now on
  }
}

bool RenderEngine::isRouted(const AVAudioNode* node) const {
  return std::ranges::any_of(routes_, [node](const InstrumentRoute& route) { return route.instrument.get() == node; });
}

void RenderEngine::publishRoutes(const AVAudioNode* leaving) {
  std::vector<RouteTable::Route> routes;
  routes.reserve(routes_.size());
  for (const InstrumentRoute& route : routes_) {
    const NodeGraph::Entry* const entry = graph_.find(route.instrument.get());
    if (entry != nullptr && route.instrument.get() != leaving) {
      routes.push_back({entry->graphNode->processor(), route.rules});
    }
  }
  auto table = std::make_unique<const RouteTable>(std::move(routes));
  const RenderCore::Turn turn = core_.publish(table.get());
  std::swap(table, table_);
  if (table) {
    retiredRoutes_.push_back({.table = std::move(table), .turn = turn});
  }
}

void RenderEngine::setConfigurationChangeHandler(std::function<void()> handler) {
  device_->setRateHandler(std::move(handler));
}

std::unique_ptr<RenderPlan> RenderEngine::compilePlan() {
  std::unique_ptr<RenderPlan> plan;
  if (spare_.empty()) {
    plan = std::make_unique<RenderPlan>();
  } else {
    plan = std::move(spare_.back());
    spare_.pop_back();
  }
  plan->compile(*graph_.find(output_.get()), graph_.sampleRate(), arena_, core_.block());
  return plan;
}

void RenderEngine::replacePlan(std::unique_ptr<RenderPlan> plan) {
  const RenderCore::Turn turn = core_.publish(plan.get());
  std::swap(plan, plan_);
  if (plan) {
    retired_.push_back({.plan = std::move(plan), .turn = turn});
  }
}

void RenderEngine::linksChanged() {
  collectRetired();
  if (isRunning()) {
    replacePlan(compilePlan());
  }
}

void RenderEngine::collectRetired() {
  const auto left = [this](Retired& retired) {
    if (!core_.hasLeft(retired.turn)) {
      return false;
    }
    retired.plan->clear();
    spare_.push_back(std::move(retired.plan));
    return true;
  };
  std::erase_if(retired_, left);
  std::erase_if(retiredRoutes_, [this](const RetiredRoutes& retired) { return core_.hasLeft(retired.turn); });
}

void RenderEngine::leaveRetired() {
  for (const Retired& retired : retired_) {
    core_.waitUntilLeft(retired.turn);
  }
  for (const RetiredRoutes& retired : retiredRoutes_) {
    core_.waitUntilLeft(retired.turn);
  }
  collectRetired();
}

void RenderEngine::renderWithEvents(float* left, float* right, std::uint32_t frameCount,
                                    std::span<DeviceEvent> events) noexcept {
  const AudioThreadScope audioThread;
  core_.render(left, right, frameCount, renderRate_, events);
}

void RenderEngine::pump() {
  taps_.deliver();
}

}  // namespace vrel::audio
