// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/sandboxed_unit.h"

#include "system/plugins/sandbox/property_list_bytes.h"

namespace vrel::sandbox {

std::optional<PropertyListDictionary> SandboxedInstance::fullStateForDocument() {
  const Result<Bytes> answer =
      processor_->guest().ask(MessageKind::captureState, {}, MessageKind::state, processor_->timeout());
  if (!answer) {
    log("did not return its state: " + answer.error().description + "; the last known state is kept");
    return lastState_;
  }
  if (answer.value().empty()) {
    log("has a state above 256 MiB, which is refused; the last one known is kept");
  } else if (auto state = dictionaryFromBytes(answer.value())) {
    lastState_ = std::move(state);
  } else {
    log("returned a damaged state; the last known state is kept");
  }
  return lastState_;
}

void SandboxedInstance::setFullStateForDocument(const PropertyListDictionary& state) {
  if (byteCount(state) > largestBody(MessageKind::restoreState)) {
    log("was not given a state above 256 MiB, which is refused; the last one known is kept");
    return;
  }
  lastState_ = state;
  const Result<Bytes> answer =
      processor_->guest().ask(MessageKind::restoreState, toBytes(state), MessageKind::done, processor_->timeout());
  if (!answer) {
    log("has not restored its state yet: " + answer.error().description);
  }
}

void SandboxedInstance::reset() {
  processor_->forgetEvents();
  const Result<Bytes> answer =
      processor_->guest().ask(MessageKind::reset, {}, MessageKind::done, processor_->timeout());
  if (!answer) {
    log("was not reset in time: " + answer.error().description);
  }
}

void SandboxedInstance::log(const std::string& what) const {
  if (log_) {
    log_("plug-in " + name_ + " " + what);
  }
}

}  // namespace vrel::sandbox
