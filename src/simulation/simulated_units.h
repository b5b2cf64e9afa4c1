// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/audio_unit.h"
#include "platform/state_answer.h"
#include "simulation/simulated_audio_engine.h"

namespace vrel::simulation {

/// One event as an instrument received it.
struct RecordedEvent {
  int status;
  int data1;
  int data2;

  bool operator==(const RecordedEvent&) const = default;
};

/// A plug-in that records its calls. `calls` has "host callbacks", "state" and "reset", in order; so has the
/// record of a graph that `graphRecord` points to, among the graph's own entries.
class ScriptedUnitCore : public AUAudioUnit, public StateAnswer {
 public:
  void requestFullStateForDocument() override { ++stateRequests; }
  std::optional<PropertyListDictionary> fullStateForDocument() override {
    ++documentStateReads;
    if (stateRead) {
      stateRead();
    }
    knownState = documentState;
    return documentState;
  }
  [[nodiscard]] bool missedState() const override { return isStateMissed; }
  [[nodiscard]] std::optional<PropertyListDictionary> lastKnownState() const override { return knownState; }
  std::optional<PropertyListDictionary> fullState() override {
    ++presetStateReads;
    return presetState;
  }
  void setFullStateForDocument(const PropertyListDictionary& state) override {
    note("state");
    documentState = knownState = state;
  }

  void setMusicalContextBlock(AUHostMusicalContextBlock block) override { musicalContextBlock = std::move(block); }
  void setTransportStateBlock(AUHostTransportStateBlock block) override {
    note("host callbacks");
    transportStateBlock = std::move(block);
  }

  void requestParameterTree(ParameterTreeHandler completionHandler) override { completionHandler(parameters); }
  [[nodiscard]] float parameterValue(AUParameterAddress address) override { return parameterValues[address]; }
  void setParameterValue(AUParameterAddress address, float value) override {
    parameterValues[address] = value;
    parameterSets.emplace_back(address, value);
  }
  void requestViewController(ViewControllerHandler completionHandler) override {
    viewRequests.push_back(std::move(completionHandler));
  }

  void note(const std::string& call) {
    calls.push_back(call);
    if (graphRecord != nullptr) {
      graphRecord->push_back(call);
    }
  }

  AUHostMusicalContextBlock musicalContextBlock;
  AUHostTransportStateBlock transportStateBlock;
  std::optional<PropertyListDictionary> documentState;
  std::optional<PropertyListDictionary> knownState;  // of `documentState`, what went in or came out last
  std::optional<PropertyListDictionary> presetState;
  std::shared_ptr<const AUParameterTree> parameters;
  std::map<AUParameterAddress, float> parameterValues;
  std::vector<std::pair<AUParameterAddress, float>> parameterSets;
  std::vector<ViewControllerHandler> viewRequests;  // not answered yet
  std::function<void()> stateRead;                  // called at each read of `documentState`
  bool isStateMissed = false;
  int stateRequests = 0;
  int documentStateReads = 0;
  int presetStateReads = 0;
  std::vector<std::string> calls;
  std::vector<std::string>* graphRecord = nullptr;
};

/// A low-level handle that records its calls, and returns a given status.
class ScriptedHandle : public AudioUnitHandle {
 public:
  OSStatus setHostCallbacks(const HostCallbackInfo& hostCallbackInfo) override {
    info = hostCallbackInfo;
    return status;
  }

  HostCallbackInfo info;
  OSStatus status = 0;
};

/// A scripted effect or generator.
class ScriptedUnit : public SimulatedNodeOf<AVAudioUnit> {
 public:
  using SimulatedNodeOf::SimulatedNodeOf;
  AUAudioUnit& auAudioUnit() override { return core; }
  AudioUnitHandle* audioUnit() override { return handle ? &*handle : nullptr; }
  void reset() override { core.note("reset"); }

  ScriptedUnitCore core;
  std::optional<ScriptedHandle> handle;
};

/// A scripted instrument: records the exact events it received.
class ScriptedInstrument : public SimulatedNodeOf<AVAudioUnitMIDIInstrument> {
 public:
  using SimulatedNodeOf::SimulatedNodeOf;
  AUAudioUnit& auAudioUnit() override { return core; }
  AudioUnitHandle* audioUnit() override { return handle ? &*handle : nullptr; }
  void reset() override { core.note("reset"); }
  void sendMIDIEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) override {
    events.push_back({status, data1, data2});
  }
  void sendMIDIEvent(std::uint8_t status, std::uint8_t data1) override { events.push_back({status, data1, 0}); }
  void setVolume(float linearGain) override { volume_ = linearGain; }
  [[nodiscard]] float volume() const override { return volume_; }
  [[nodiscard]] bool isReusable() override { return responds; }
  [[nodiscard]] std::uint64_t droppedEvents() const override { return dropped; }

  ScriptedUnitCore core;
  std::optional<ScriptedHandle> handle;
  std::vector<RecordedEvent> events;
  bool responds = true;
  std::uint64_t dropped = 0;

 private:
  float volume_ = 1.0F;
};

/// Requests for plug-ins wait until the test answers them, in any order.
class ScriptedUnitFactory : public AudioUnitFactory {
 public:
  struct Request {
    AudioComponentDescription description;
    AudioComponentInstantiationOptions options;
    bool isForMIDIInstrument;
    UnitHandler completionHandler;
  };

  void instantiate(const AudioComponentDescription& description, AudioComponentInstantiationOptions options,
                   UnitHandler completionHandler) override {
    requests.push_back({description, options, false, std::move(completionHandler)});
  }
  void instantiateMIDIInstrument(const AudioComponentDescription& description,
                                 AudioComponentInstantiationOptions options, UnitHandler completionHandler) override {
    requests.push_back({description, options, true, std::move(completionHandler)});
  }

  /// Answers the request at `index` and removes it. A node made here is named "instrument N"
  /// or "effect N" in the order of answers.
  std::shared_ptr<ScriptedInstrument> answerWithInstrument(std::size_t index = 0);
  std::shared_ptr<ScriptedUnit> answerWithUnit(std::size_t index = 0);
  void answer(std::size_t index, std::shared_ptr<AVAudioUnit> node, std::optional<Error> error);

  std::vector<Request> requests;

 private:
  int instrumentCount_ = 0;
  int unitCount_ = 0;
};

}  // namespace vrel::simulation
