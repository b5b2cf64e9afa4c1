// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "foundation/thread_roles.h"
#include "platform/audio_engine.h"
#include "system/audio/buffer_arena.h"
#include "system/audio/node_graph.h"
#include "system/audio/output_device.h"
#include "system/audio/render_core.h"
#include "system/audio/render_counters.h"
#include "system/audio/render_plan.h"
#include "system/audio/route_table.h"
#include "system/audio/tap_dispatcher.h"

namespace vrel::audio {

class MixerNode;
class OutputNode;

/// The render graph: nodes and links on the main thread, a plan for the audio thread.
///
/// Scenario: nodes are attached and linked; `start` compiles a plan, opens the device if it does not
/// run yet, and from the next block on the plan sounds. `stop` leaves the device running, so that a
/// stop, a change and a start cost microseconds, and are not heard: on a device the plan plays on until
/// the next start, 0.1 s at most, without the nodes that are detached meanwhile. A change of links
/// while running takes effect at the next block.
///
/// Threads: the main thread, for all that is public here but the two calls of a device, `render` and `pump`.
///
/// Ownership: the engine shares its nodes with whoever made them; the plans share the nodes' processors. A
/// node may outlive the engine and then is free for another one. The device outlives the
/// engine, which stops it at its end if it has started it.
///
/// Invariants:
/// 1. At most one plan is in force. One that was in force is emptied only when the audio thread has
///    left it, and on the main thread.
/// 2. When `detach` has returned, that node's processor is not called any more, and gets no events.
/// 3. Without a plan in force, or 0.1 s after a stop, the device gets silence, with soft edges. Offline a stop is
///    silent at once.
///
/// A format handed to `connect` is not needed here: all links carry floats at the device's rate, in the
/// channel count of the source, and every node takes one channel as well as two.
class RenderEngine final : public AVAudioEngine, private BlockRenderer {
 public:
  RenderEngine(std::shared_ptr<OutputDevice> device, std::shared_ptr<RenderCounters> counters);
  ~RenderEngine() override;
  RenderEngine(const RenderEngine&) = delete;
  RenderEngine& operator=(const RenderEngine&) = delete;

  [[nodiscard]] std::shared_ptr<AVAudioMixerNode> mainMixerNode() override;
  [[nodiscard]] std::shared_ptr<AVAudioOutputNode> outputNode() override;

  void attach(const Node& node) override;
  void detach(const Node& node) override;
  void connect(const Node& source, const Node& destination, std::optional<AVAudioFormat> format) override;
  void disconnectNodeInput(const Node& node) override;
  void disconnectNodeOutput(const Node& node) override;

  [[nodiscard]] bool isRunning() const override { return isRunning_; }
  [[nodiscard]] Outcome start() override;
  void stop() override;
  void setInstrumentRoutes(std::vector<InstrumentRoute> routes) override;
  void endWaitingNotes() override;
  void setConfigurationChangeHandler(std::function<void()> handler) override;

  [[nodiscard]] const RenderCounters& counters() const { return *counters_; }

  /// Plans that wait for the audio thread to leave them.
  [[nodiscard]] std::size_t retiredPlans() const { return retired_.size(); }

 private:
  struct Retired {
    std::unique_ptr<RenderPlan> plan;
    RenderCore::Turn turn;
  };
  struct RetiredRoutes {
    std::unique_ptr<const RouteTable> table;
    RenderCore::Turn turn;
  };

  void render(float* left, float* right, std::uint32_t frameCount) noexcept override {
    RenderEngine::renderWithEvents(left, right, frameCount, {});
  }
  void renderWithEvents(float* left, float* right, std::uint32_t frameCount,
                        std::span<DeviceEvent> events) noexcept override;
  void pump() override;

  void attachFixedNodes();
  std::unique_ptr<RenderPlan> compilePlan();
  void replacePlan(std::unique_ptr<RenderPlan> plan);
  void endNow();
  [[nodiscard]] bool isRouted(const AVAudioNode* node) const;
  void publishRoutes(const AVAudioNode* leaving = nullptr);
  void withdraw(const NodeProcessor& processor);
  void linksChanged();
  void collectRetired();
  void leaveRetired();
  [[nodiscard]] Outcome startDevice();

  const std::shared_ptr<OutputDevice> device_;
  const std::shared_ptr<RenderCounters> counters_;
  const std::shared_ptr<MixerNode> mainMixer_;
  const std::shared_ptr<OutputNode> output_;
  NodeGraph graph_;
  BufferArena arena_;
  TapDispatcher taps_;

  std::unique_ptr<RenderPlan> plan_;                // in force; after a stop on a device until the next start
  std::vector<Retired> retired_;                    // maybe still being rendered
  std::vector<std::unique_ptr<RenderPlan>> spare_;  // empty ones, to be filled again
  std::vector<InstrumentRoute> routes_;             // as they were set; those of attached nodes are in the table
  std::unique_ptr<const RouteTable> table_;         // in force
  std::vector<RetiredRoutes> retiredRoutes_;        // maybe still in use
  bool isRunning_ = false;
  bool deviceStarted_ = false;
  double renderRate_;  // what `render` measures lateness by; written while no device runs

  RenderCore core_;
};

}  // namespace vrel::audio
