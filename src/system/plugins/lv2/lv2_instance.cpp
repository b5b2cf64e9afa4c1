// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/lv2_instance.h"

#include <utility>

#include "system/plugins/lv2/describe_properties.h"
#include "system/plugins/lv2/plugin_state.h"
#include "system/plugins/lv2/preset_list.h"
#include "system/plugins/lv2/preset_state.h"
#include "system/plugins/lv2/state_snapshot.h"

namespace vrel::lv2 {

std::optional<PropertyListDictionary> Lv2Instance::fullStateForDocument() {
  StateSnapshot state;
  processor_->besideBlocks([&state](HostedPlugin& plugin) { state = captureState(plugin); });
  return toPropertyList(state, processor_->description());
}

void Lv2Instance::setFullStateForDocument(const PropertyListDictionary& state) {
  const Result<StateSnapshot> snapshot = fromPropertyList(state, processor_->description());
  const Outcome failure =
      !snapshot.ok() ? Outcome(snapshot.error()) : processor_->withPlugin([&](HostedPlugin& plugin) {
        processor_->forgetAtoms();  // older than the state
        return restoreState(plugin, snapshot.value());
      });
  if (failure) {
    processor_->besideBlocks(
        [&failure](HostedPlugin& plugin) { plugin.log().write("state not restored: " + failure->description); });
  }
}

const PatchProperties& Lv2Instance::properties() {
  if (!properties_) {
    Lv2World& world = *processor_->world();
    PropertyDescriptions described;
    world.thread().runAndWait([&] {
      if (const auto* const plugin = world.libraryPlugin(processor_->description().uri)) {
        described = describeProperties(world.library(), plugin, processor_->description());
      }
    });
    properties_.emplace(world.urids(), std::move(described));
  }
  return *properties_;
}

void Lv2Instance::watchMessageParameters(bool isWatched) {
  if (!properties().isEmpty()) {
    processor_->atoms().watch(isWatched);
    if (isWatched) {
      askForMessageValues();
    }
  }
}

void Lv2Instance::askForMessageValues() {
  if (!properties().isEmpty()) {
    (void)processor_->atoms().send(properties().port(), properties().question());
  }
}

bool Lv2Instance::setMessageValue(const MessageValue& wanted) {
  const auto atom = properties().setting(wanted);
  const bool isSent = atom && processor_->atoms().send(properties().port(), *atom);
  if (isSent) {
    values_.note(wanted);
  }
  return isSent;
}

std::vector<MessageValue> Lv2Instance::takeAtoms(const Forward& forward) {
  std::vector<MessageValue> said;
  processor_->atoms().takeAll([&](std::uint32_t port, std::span<const std::uint8_t> atom) {
    if (forward) {
      forward(port, atom);
    }
    for (auto& each : properties().read(atom)) {
      values_.note(each);
      said.push_back(std::move(each));
    }
  });
  return said;
}

const MessageValues& Lv2Instance::reported() {
  (void)takeAtoms({});
  return values_;
}

void Lv2Instance::usePreset(const std::string& identifier, Handler handler) {
  // The place is found on the world thread, where it is used next.
  presets_.locate(identifier, [weak = std::weak_ptr(processor_), handler = std::move(handler)](const auto& place) {
    const auto processor = weak.lock();
    if (processor != nullptr) {
      handler(place ? lv2::usePreset(*processor->world(), *processor, place.value()) : Outcome(place.error()));
    }
  });
}

Outcome Lv2Instance::usePresetNow(const PresetPlace& place) {
  Outcome outcome;
  processor_->world()->thread().runAndWait([&] { outcome = lv2::usePreset(*processor_->world(), *processor_, place); });
  return outcome;
}

void Lv2Instance::saveUserPreset(const std::string& name, bool mayReplace, SaveHandler handler) {
  presets_.save(fullStateForDocument().value_or(PropertyListDictionary{}), name, mayReplace, std::move(handler));
}

}  // namespace vrel::lv2
