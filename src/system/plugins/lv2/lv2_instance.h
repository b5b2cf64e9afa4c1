// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/audio_unit.h"
#include "platform/message_parameters.h"
#include "platform/plugin_presets.h"
#include "system/plugins/lv2/lv2_preset_library.h"
#include "system/plugins/lv2/lv2_processor.h"
#include "system/plugins/lv2/patch_properties.h"
#include "system/plugins/message_value.h"
#include "system/plugins/preset_library.h"

namespace vrel::lv2 {

/// The control half of a plug-in unit: its state and its reset. Main thread.
///
/// There is one state of a plug-in here, the one for a document; none beside it.
class Lv2Instance final : public AUAudioUnit, public PluginPresets, public MessageParameters {
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
    return address < firstMessageParameter ? control_table::valueOf(processor_->controls(), address)
                                           : reported().number(address);
  }
  void setParameterValue(AUParameterAddress address, float value) override {
    if (address >= firstMessageParameter) {
      (void)reported();  // what was said before is older
      (void)setMessageValue({address, static_cast<double>(value)});
    } else if (std::isfinite(value)) {
      control_table::want(processor_->controls(), address, value);
    }
  }

  void watchMessageParameters(bool isWatched) override;
  [[nodiscard]] std::string parameterText(AUParameterAddress address) override { return reported().text(address); }
  void setParameterText(AUParameterAddress address, const std::string& text) override {
    (void)reported();
    (void)setMessageValue({address, text});
  }
  /// False for one that cannot be set so.
  [[nodiscard]] bool setMessageValue(const MessageValue& wanted);
  /// Asks the plug-in again, after a change that it may not report by itself.
  void askForMessageValues();

  /// Takes what the plug-in has put out since the last call. Gives what it says of its parameters, and all to
  /// `forward`.
  using Forward = std::function<void(std::uint32_t port, std::span<const std::uint8_t> atom)>;
  [[nodiscard]] std::vector<MessageValue> takeAtoms(const Forward& forward);

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
  [[nodiscard]] const PatchProperties& properties();
  [[nodiscard]] const MessageValues& reported();

  std::shared_ptr<Lv2Processor> processor_;
  std::optional<PatchProperties> properties_;  // none before the first question about them
  MessageValues values_;
  Lv2PresetLibrary presets_;
};

}  // namespace vrel::lv2
