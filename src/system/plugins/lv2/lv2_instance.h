// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/audio_unit.h"
#include "platform/plugin_presets.h"
#include "system/plugins/lv2/lv2_preset_library.h"
#include "system/plugins/lv2/lv2_processor.h"
#include "system/plugins/preset_library.h"

namespace vrel::lv2 {

/// The control half of a plug-in unit: its state and its reset. Main thread.
///
/// There is one state of a plug-in here, the one for a document; none beside it.
class Lv2Instance final : public AUAudioUnit, public PluginPresets {
 public:
  explicit Lv2Instance(std::shared_ptr<Lv2Processor> processor)
      : processor_(std::move(processor)), presets_(processor_->world(), processor_->description().codes) {}

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

  void requestPresets(ListHandler handler) override { presets_.list(std::move(handler)); }
  void usePreset(const std::string& identifier, Handler handler) override;
  void saveUserPreset(const std::string& name, bool mayReplace, SaveHandler handler) override;
  void deleteUserPreset(const std::string& identifier, Handler handler) override {
    presets_.remove(identifier, std::move(handler));
  }

  /// Uses one whose data is known, at once. Not on the world thread.
  [[nodiscard]] Outcome usePresetNow(const PresetPlace& place);

  void reset() { processor_->reset(); }

  [[nodiscard]] const std::shared_ptr<Lv2Processor>& processor() const { return processor_; }

 private:
  std::shared_ptr<Lv2Processor> processor_;
  Lv2PresetLibrary presets_;
};

}  // namespace vrel::lv2
