// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/sandboxed_unit.h"

#include <chrono>
#include <cmath>
#include <utility>
#include <vector>

#include "system/plugins/sandbox/property_list_bytes.h"

namespace vrel::sandbox {
namespace {

const Error noPresets{"no presets are known"};

}  // namespace

SandboxedInstance::~SandboxedInstance() {
  editorGate_->close();
  processor_->guest().link().setValuesListener(nullptr);
}

void SandboxedInstance::requestFullStateForDocument() {
  Guest& guest = processor_->guest();
  if (guest.isDead() || guest.link().isChanging()) {
    return;  // its state is the one that it was given, or is about to be that of a preset
  }
  const auto now = std::chrono::steady_clock::now();
  (void)takeState(now);  // the answer to an earlier capture
  const bool isAsked = guest.requestState();
  const auto timeout = processor_->captureTimeout();
  capture_ = isAsked && !(timeout && guest.link().isBehind()) ? Capture::waits : Capture::isBehind;
  captureDeadline_ = timeout ? GuestLink::Deadline(now + *timeout) : std::nullopt;
}

std::optional<PropertyListDictionary> SandboxedInstance::fullStateForDocument() {
  if (capture_ == Capture::none) {
    requestFullStateForDocument();
  }
  missedState_ = false;
  switch (std::exchange(capture_, Capture::none)) {
    case Capture::waits:
      if (!takeState(captureDeadline_)) {
        missedState_ = true;
        const bool isDead = processor_->guest().isDead();
        log(std::string("did not return its state: ") + (isDead ? "its process has ended" : "it does not respond") +
            "; the last known state is kept");
      }
      break;
    case Capture::isBehind:
      missedState_ = true;
      log("is behind and was not waited for; the last known state is kept");
      break;
    case Capture::none:
      (void)takeState(std::chrono::steady_clock::now());  // of a dead guest: what it has left
      break;
  }
  return lastState_;
}

bool SandboxedInstance::takeState(GuestLink::Deadline deadline) {
  const std::optional<Bytes> answer = processor_->guest().link().takeState(deadline);
  if (!answer) {
    return false;
  }
  if (answer->empty()) {
    log("has a state above 256 MiB, which is refused; the last one known is kept");
  } else if (auto state = dictionaryFromBytes(*answer)) {
    lastState_ = std::move(state);
  } else {
    log("returned a damaged state; the last known state is kept");
  }
  return true;
}

void SandboxedInstance::setFullStateForDocument(const PropertyListDictionary& state) {
  if (byteCount(state) > largestBody(MessageKind::restoreState)) {
    log("was not given a state above 256 MiB, which is refused; the last one known is kept");
    return;
  }
  lastState_ = state;
  processor_->guest().link().forgetState();
  capture_ = Capture::none;
  const Result<Bytes> answer =
      processor_->guest().ask(MessageKind::restoreState, toBytes(state), MessageKind::done, processor_->timeout());
  if (!answer && processor_->waits()) {
    log("has not restored its state yet: " + answer.error().description);
  }
}

void SandboxedInstance::requestParameterTree(ParameterTreeHandler completionHandler) {
  if (requestParameters_) {
    requestParameters_(processor_->sampleRate(), std::move(completionHandler));
  } else {
    completionHandler(nullptr);
  }
}

float SandboxedInstance::parameterValue(AUParameterAddress address) {
  if (address >= firstMessageParameter) {
    const MutexLock lock(reported_->mutex);
    return reported_->values.number(address);
  }
  return control_table::valueOf(processor_->guest().block().controls, address);
}

void SandboxedInstance::setParameterValue(AUParameterAddress address, float value) {
  if (!std::isfinite(value)) {
    return;
  }
  if (address >= firstMessageParameter) {
    setMessageValue({address, static_cast<double>(value)});
  } else {
    control_table::want(processor_->guest().block().controls, address, value);
  }
}

void SandboxedInstance::watchMessageParameters(bool isWatched) {
  watchers_ += isWatched ? 1 : -1;
  if (watchers_ != (isWatched ? 1 : 0)) {
    return;
  }
  Guest& guest = processor_->guest();
  guest.link().setValuesListener([reported = reported_](const Bytes& body) {
    if (const auto values = messageValuesFromBytes(body)) {
      const MutexLock lock(reported->mutex);
      for (const MessageValue& each : *values) {
        reported->values.note(each);
      }
    }
  });
  guest.send(MessageKind::watchValues, {static_cast<std::uint8_t>(isWatched ? 1 : 0)});
}

std::string SandboxedInstance::parameterText(AUParameterAddress address) {
  const MutexLock lock(reported_->mutex);
  return reported_->values.text(address);
}

void SandboxedInstance::setParameterText(AUParameterAddress address, const std::string& text) {
  setMessageValue({address, text});
}

/// Shown at once; what the plug-in makes of it comes as its report.
void SandboxedInstance::setMessageValue(const MessageValue& wanted) {
  {
    const MutexLock lock(reported_->mutex);
    reported_->values.note(wanted);
  }
  processor_->guest().send(MessageKind::setValues, toBytes(std::vector{wanted}));
}

void SandboxedInstance::requestPresets(ListHandler handler) {
  if (presets_ != nullptr) {
    presets_->list(std::move(handler));
  } else {
    handler({});
  }
}

void SandboxedInstance::usePreset(const std::string& identifier, Handler handler) {
  if (presets_ == nullptr) {
    handler(noPresets);
    return;
  }
  presets_->locate(identifier, [weak = std::weak_ptr(processor_), handler = std::move(handler)](const auto& place) {
    const auto processor = weak.lock();
    if (processor == nullptr) {
      return;
    }
    if (!place) {
      handler(place.error());
      return;
    }
    processor->guest().request(MessageKind::usePreset, toBytes(place.value()), MessageKind::presetUsed,
                               [handler](const Result<Bytes>& answer) {
                                 if (!answer) {
                                   handler(answer.error());
                                 } else if (!answer.value().empty()) {
                                   handler(Error{{answer.value().begin(), answer.value().end()}});
                                 } else {
                                   handler(std::nullopt);
                                 }
                               });
  });
}

void SandboxedInstance::saveUserPreset(const std::string& name, bool mayReplace, SaveHandler handler) {
  if (presets_ == nullptr) {
    handler(noPresets);
    return;
  }
  processor_->guest().request(
      MessageKind::captureState, {}, MessageKind::state,
      [presets = presets_, name, mayReplace, handler = std::move(handler)](const Result<Bytes>& answer) {
        auto state = answer && !answer.value().empty() ? dictionaryFromBytes(answer.value()) : std::nullopt;
        if (state) {
          presets->save(*std::move(state), name, mayReplace, handler);
        } else {
          handler(answer ? Error{"the plug-in did not return its state"} : answer.error());
        }
      });
}

void SandboxedInstance::deleteUserPreset(const std::string& identifier, Handler handler) {
  if (presets_ != nullptr) {
    presets_->remove(identifier, std::move(handler));
  } else {
    handler(noPresets);
  }
}

void SandboxedInstance::requestViewController(ViewControllerHandler completionHandler) {
  if (requestView_) {
    requestView_(editorGate_, processor_->sampleRate(), std::move(completionHandler));
  } else {
    completionHandler(nullptr);
  }
}

void SandboxedInstance::reset() {
  processor_->forgetEvents();
  const Result<Bytes> answer =
      processor_->guest().ask(MessageKind::reset, {}, MessageKind::done, processor_->timeout());
  if (!answer && processor_->waits()) {
    log("was not reset in time: " + answer.error().description);
  }
}

bool SandboxedInstance::isReusable() {
  GuestLink& link = processor_->guest().link();
  return !link.isDead() && !link.isBehind() && !link.owesAnswer();
}

void SandboxedInstance::log(const std::string& what) const {
  if (log_) {
    log_("plug-in " + name_ + " " + what);
  }
}

}  // namespace vrel::sandbox
