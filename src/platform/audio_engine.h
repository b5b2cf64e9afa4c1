// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "foundation/result.h"
#include "platform/audio_node.h"
#include "platform/instrument_route.h"

namespace vrel {

/// The audio graph and the device it plays on. Main thread only.
///
/// Order of calls: nodes are attached, then connected; `start` renders what is connected.
/// A stop and start keeps nodes, connections, levels, taps and plug-in state.
class AVAudioEngine {
 public:
  using Node = std::shared_ptr<AVAudioNode>;

  virtual ~AVAudioEngine() = default;

  /// The fixed nodes. Always attached.
  [[nodiscard]] virtual std::shared_ptr<AVAudioMixerNode> mainMixerNode() = 0;
  [[nodiscard]] virtual std::shared_ptr<AVAudioOutputNode> outputNode() = 0;

  /// Adds `node` to the engine, or removes it with all its connections. Attaching an attached node
  /// and detaching an unknown one have no effect. Safe while running.
  virtual void attach(const Node& node) = 0;
  virtual void detach(const Node& node) = 0;

  /// Links the output of `source` to the next free input of a mixer, or to the one input of any
  /// other node, replacing the link that was there. Without a format the platform negotiates: the
  /// channel count of the source passes down the chain. No effect unless both nodes are attached.
  virtual void connect(const Node& source, const Node& destination, std::optional<AVAudioFormat> format) = 0;

  /// Removes all links into, or out of, a node. Safe while running for a node whose chain is torn down.
  virtual void disconnectNodeInput(const Node& node) = 0;
  virtual void disconnectNodeOutput(const Node& node) = 0;

  [[nodiscard]] virtual bool isRunning() const = 0;

  /// No error on success, or when already running.
  [[nodiscard]] virtual Outcome start() = 0;

  /// What sounds may go on for a moment, so that a change of the graph makes no gap; a node that is detached meanwhile
  /// is not part of it.
  virtual void stop() = 0;

  /// What is played on the machine's MIDI sources goes to these instruments from the next block on, in this order, at
  /// the frames at which it was played. Replaces what was set before. Where no device brings messages with its blocks
  /// nothing is played in this way.
  virtual void setInstrumentRoutes(std::vector<InstrumentRoute> /*routes*/) {}

  /// For a panic, before its events are sent: what was played and waits for its block does not sound after them.
  virtual void endWaitingNotes() {}

  /// `handler` is called on the main thread when the output device has another sample rate, which the next start
  /// follows. Where devices do not come and go it never is.
  virtual void setConfigurationChangeHandler(std::function<void()> /*handler*/) {}
};

/// Makes the engine and the nodes that are not plug-ins. Main thread.
class AudioNodeFactory {
 public:
  virtual ~AudioNodeFactory() = default;
  [[nodiscard]] virtual std::unique_ptr<AVAudioEngine> makeEngine() = 0;
  [[nodiscard]] virtual std::shared_ptr<AVAudioMixerNode> makeMixerNode() = 0;
  [[nodiscard]] virtual std::shared_ptr<AVAudioUnitReverb> makeReverbNode() = 0;
  [[nodiscard]] virtual std::shared_ptr<AVAudioPlayerNode> makePlayerNode() = 0;
};

}  // namespace vrel
