// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <future>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/audio_unit.h"

namespace vrel {

/// Has real plug-ins made by another factory, all at once, and hands each over when the test says so.
class HeldUnits : public AudioUnitFactory {
 public:
  explicit HeldUnits(AudioUnitFactory& units) : units_(units) {}

  void instantiate(const AudioComponentDescription& description, AudioComponentInstantiationOptions options,
                   UnitHandler completionHandler) override {
    units_.instantiate(description, options, hold(description, std::move(completionHandler)));
  }
  void instantiateMIDIInstrument(const AudioComponentDescription& description,
                                 AudioComponentInstantiationOptions options, UnitHandler completionHandler) override {
    units_.instantiateMIDIInstrument(description, options, hold(description, std::move(completionHandler)));
  }

  /// Waits for the plug-in of this request, hands it over and takes the request off the list.
  void answer(std::size_t index) {
    Request request = std::move(requests[index]);
    requests.erase(requests.begin() + static_cast<std::ptrdiff_t>(index));
    Answer answer = request.answer.get();
    made.emplace_back(answer.node);
    request.completionHandler(std::move(answer.node), std::move(answer.error));
  }

  struct Answer {
    std::shared_ptr<AVAudioUnit> node;
    std::optional<Error> error;
  };
  struct Request {
    AudioComponentDescription description;
    std::future<Answer> answer;
    UnitHandler completionHandler;
  };

  std::vector<Request> requests;
  std::vector<std::weak_ptr<AVAudioUnit>> made;

 private:
  UnitHandler hold(const AudioComponentDescription& description, UnitHandler completionHandler) {
    const auto promise = std::make_shared<std::promise<Answer>>();
    requests.push_back({description, promise->get_future(), std::move(completionHandler)});
    return [promise](std::shared_ptr<AVAudioUnit> node, std::optional<Error> error) {
      promise->set_value({std::move(node), std::move(error)});
    };
  }

  AudioUnitFactory& units_;
};

}  // namespace vrel
