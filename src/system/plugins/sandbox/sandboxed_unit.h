// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "foundation/mutex.h"
#include "platform/audio_unit.h"
#include "platform/message_parameters.h"
#include "platform/plugin_presets.h"
#include "platform/state_answer.h"
#include "system/audio/graph_node.h"
#include "system/plugins/message_value.h"
#include "system/plugins/observable_instrument.h"
#include "system/plugins/preset_library.h"
#include "system/plugins/sandbox/editor_service.h"
#include "system/plugins/sandbox/sandbox_processor.h"
#include "system/plugins/sandboxed_node.h"

namespace vrel::sandbox {

/// The control half of a sandboxed unit: state, time and reset, by messages. Main thread.
///
/// A guest that is dead or has not answered in time costs the plug-in's latest changes, not its state: the last state
/// that went in or came out is given back, and it is logged. An answer that comes later is the last state from then on.
/// One that is behind with its blocks is asked, but waited for only where a capture has no time limit.
class SandboxedInstance final : public AUAudioUnit, public StateAnswer, public PluginPresets, public MessageParameters {
 public:
  using Log = std::function<void(const std::string&)>;

  /// Where a plug-in's parameters are read; empty where none are known. See Lv2World.
  using RequestParameters = std::function<void(double sampleRate, ParameterTreeHandler handler)>;

  /// Gives a view of the plug-in; empty where there is none.
  using RequestView =
      std::function<void(const std::shared_ptr<GuestGate>& guest, double sampleRate, ViewControllerHandler handler)>;

  SandboxedInstance(std::shared_ptr<SandboxProcessor> processor, std::string name, Log log,
                    RequestParameters requestParameters, std::shared_ptr<PresetLibrary> presets)
      : processor_(std::move(processor)),
        name_(std::move(name)),
        log_(std::move(log)),
        requestParameters_(std::move(requestParameters)),
        presets_(std::move(presets)) {
    editorGate_->open(processor_->guest());
  }
  ~SandboxedInstance() override;
  SandboxedInstance(const SandboxedInstance&) = delete;
  SandboxedInstance& operator=(const SandboxedInstance&) = delete;

  /// Before the first request for a view.
  void setRequestView(RequestView requestView) { requestView_ = std::move(requestView); }

  void requestFullStateForDocument() override;
  [[nodiscard]] std::optional<PropertyListDictionary> fullStateForDocument() override;
  [[nodiscard]] bool missedState() const override { return missedState_; }
  [[nodiscard]] std::optional<PropertyListDictionary> lastKnownState() const override { return lastState_; }
  [[nodiscard]] std::optional<PropertyListDictionary> fullState() override { return std::nullopt; }
  void setFullStateForDocument(const PropertyListDictionary& state) override;
  void setMusicalContextBlock(AUHostMusicalContextBlock block) override { processor_->time().set(std::move(block)); }
  void setTransportStateBlock(AUHostTransportStateBlock block) override { processor_->time().set(std::move(block)); }
  void requestParameterTree(ParameterTreeHandler completionHandler) override;
  [[nodiscard]] float parameterValue(AUParameterAddress address) override;
  void setParameterValue(AUParameterAddress address, float value) override;
  void watchMessageParameters(bool isWatched) override;
  [[nodiscard]] std::string parameterText(AUParameterAddress address) override;
  void setParameterText(AUParameterAddress address, const std::string& text) override;
  void requestPresets(ListHandler handler) override;
  void usePreset(const std::string& identifier, Handler handler) override;
  void saveUserPreset(const std::string& name, bool mayReplace, SaveHandler handler) override;
  void deleteUserPreset(const std::string& identifier, Handler handler) override;
  void requestViewController(ViewControllerHandler completionHandler) override;
  void reset();

  /// Whether the guest lives and neither owes an answer nor is behind with its blocks.
  [[nodiscard]] bool isReusable();

  [[nodiscard]] const std::shared_ptr<SandboxProcessor>& processor() const { return processor_; }

 private:
  [[nodiscard]] bool takeState(GuestLink::Deadline deadline);
  void setMessageValue(const MessageValue& wanted);
  void log(const std::string& what) const;

  const std::shared_ptr<SandboxProcessor> processor_;
  const std::string name_;
  const Log log_;
  const RequestParameters requestParameters_;
  const std::shared_ptr<PresetLibrary> presets_;  // null where none are known
  RequestView requestView_;
  const std::shared_ptr<GuestGate> editorGate_ = std::make_shared<GuestGate>();
  std::optional<PropertyListDictionary> lastState_;

  // Shared with the supervisor's thread.
  struct Reported {
    Mutex mutex;
    MessageValues values VREL_GUARDED_BY(mutex);
  };
  const std::shared_ptr<Reported> reported_ = std::make_shared<Reported>();
  int watchers_ = 0;

  // A capture under way; none between captures.
  enum class Capture { none, waits, isBehind };
  Capture capture_ = Capture::none;
  bool missedState_ = false;  // in the capture that ended last
  GuestLink::Deadline captureDeadline_;
};

/// What both kinds of node have in common. Main thread.
template <typename Interface>
class SandboxedNodeOf : public audio::GraphNodeOf<Interface>, public SandboxedNode {
 public:
  SandboxedNodeOf(std::shared_ptr<SandboxProcessor> processor, std::string name, SandboxedInstance::Log log,
                  SandboxedInstance::RequestParameters requestParameters, std::shared_ptr<PresetLibrary> presets)
      : instance_(std::move(processor), std::move(name), std::move(log), std::move(requestParameters),
                  std::move(presets)) {}

  [[nodiscard]] AUAudioUnit& auAudioUnit() override { return instance_; }
  void reset() override { instance_.reset(); }
  [[nodiscard]] bool isReusable() override { return instance_.isReusable(); }
  [[nodiscard]] std::shared_ptr<audio::NodeProcessor> processor() const override { return instance_.processor(); }
  [[nodiscard]] int processId() const override { return instance_.processor()->guest().processId(); }

 protected:
  SandboxedInstance instance_;
};

/// An effect or a generator in a process of its own.
class SandboxedUnit final : public SandboxedNodeOf<AVAudioUnit> {
 public:
  using SandboxedNodeOf::SandboxedNodeOf;
};

/// An instrument in a process of its own; `sendMIDIEvent` is wait-free.
class SandboxedInstrument final : public SandboxedNodeOf<AVAudioUnitMIDIInstrument>, public ObservableInstrument {
 public:
  using SandboxedNodeOf::SandboxedNodeOf;

  void setVolume(float linearGain) override { instance_.processor()->gain().set(linearGain); }
  [[nodiscard]] float volume() const override { return instance_.processor()->gain().get(); }

  /// As for an instrument in this process: what is not a message, or finds no room, is not observed.
  void sendMIDIEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) override {
    if (instance_.processor()->sendEvent(status, data1, data2) && observer_) {
      observer_(status, data1, data2);
    }
  }
  void sendMIDIEvent(std::uint8_t status, std::uint8_t data1) override { sendMIDIEvent(status, data1, 0); }

  void setEventObserver(EventObserver observer) override { observer_ = std::move(observer); }
  [[nodiscard]] std::uint64_t droppedEvents() const override { return instance_.processor()->droppedEvents(); }

 private:
  EventObserver observer_;
};

}  // namespace vrel::sandbox
