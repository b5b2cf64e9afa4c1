// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <memory>
#include <optional>
#include <utility>

#include "platform/audio_unit.h"
#include "system/plugins/lv2/lv2_processor.h"

namespace vrel::lv2 {

/// The control half of a plug-in unit: its state and its reset. Main thread.
///
/// There is one state of a plug-in here, the one for a document; none beside it.
class Lv2Instance final : public AUAudioUnit {
 public:
  explicit Lv2Instance(std::shared_ptr<Lv2Processor> processor) : processor_(std::move(processor)) {}

  /// Form and content: see state_snapshot.h.
  [[nodiscard]] std::optional<PropertyListDictionary> fullStateForDocument() override;
  [[nodiscard]] std::optional<PropertyListDictionary> fullState() override { return std::nullopt; }

  /// A state of another plug-in, or one that cannot be read, changes nothing and is logged.
  void setFullStateForDocument(const PropertyListDictionary& state) override;

  void setMusicalContextBlock(AUHostMusicalContextBlock block) override { processor_->time().set(std::move(block)); }
  void setTransportStateBlock(AUHostTransportStateBlock block) override { processor_->time().set(std::move(block)); }

  void requestParameterTree(ParameterTreeHandler completionHandler) override {
    processor_->requestParameters(std::move(completionHandler));
  }
  [[nodiscard]] float parameterValue(AUParameterAddress address) override {
    return control_table::valueOf(processor_->controls(), address);
  }
  void setParameterValue(AUParameterAddress address, float value) override {
    if (std::isfinite(value)) {
      control_table::want(processor_->controls(), address, value);
    }
  }

  void reset() { processor_->reset(); }

  [[nodiscard]] const std::shared_ptr<Lv2Processor>& processor() const { return processor_; }

 private:
  std::shared_ptr<Lv2Processor> processor_;
};

}  // namespace vrel::lv2
