// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/preset_list.h"

#include <lilv/lilv.h>
#include <lv2/presets/presets.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <tuple>
#include <utility>

#include "system/plugins/lv2/bundle_search.h"
#include "system/plugins/lv2/lilv_pointers.h"
#include "system/plugins/lv2/lv2_world.h"
#include "system/plugins/lv2/plugin_description.h"

namespace vrel::lv2 {
namespace {

constexpr const char* rdfs = "http://www.w3.org/2000/01/rdf-schema#";

std::string textOf(const LilvNode* node) {
  const char* characters = node != nullptr ? lilv_node_as_string(node) : nullptr;
  return characters != nullptr ? characters : "";
}

std::filesystem::path pathOf(const LilvNode* node) {
  const HeapText path(node != nullptr && lilv_node_is_uri(node) ? lilv_node_get_path(node, nullptr) : nullptr);
  return path == nullptr ? std::filesystem::path() : std::filesystem::path(path.get());
}

/// Capitals do not count, and what counts is kept apart by them.
std::pair<std::string, std::string> orderOf(const std::string& text) {
  std::string folded = text;
  std::transform(folded.begin(), folded.end(), folded.begin(),
                 [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
  return {std::move(folded), text};
}

/// Reads the presets of one plug-in; holds the terms that are asked for at each.
class PresetReader {
 public:
  explicit PresetReader(LilvWorld* world) : world_(world) {}
  ~PresetReader() {
    for (const LilvNode* preset : opened_) {
      lilv_world_unload_resource(world_, preset);
    }
  }
  PresetReader(const PresetReader&) = delete;
  PresetReader& operator=(const PresetReader&) = delete;

  [[nodiscard]] AUAudioUnitPreset read(const LilvNode* preset) {
    AUAudioUnitPreset described{
        .identifier = textOf(preset), .name = label(preset), .bankName = {}, .isUserPreset = false};
    if (described.name.empty() && isReadableData(file(preset)) && lilv_world_load_resource(world_, preset) > 0) {
      opened_.push_back(preset);
      described.name = label(preset);
    }
    described.name = described.name.empty() ? nameFromUri(described.identifier) : described.name;
    if (const Node bank{lilv_world_get(world_, preset, bank_.get(), nullptr)}) {
      described.bankName = bankName(bank.get());
    }
    described.isUserPreset = lilv_world_ask(world_, preset, own_.get(), nullptr) &&
                             file(preset).parent_path().parent_path() == userFolder_ && !userFolder_.empty();
    return described;
  }

  [[nodiscard]] std::filesystem::path file(const LilvNode* preset) const {
    const Node file(lilv_world_get(world_, preset, seeAlso_.get(), nullptr));
    return pathOf(file.get());
  }

 private:
  [[nodiscard]] std::string label(const LilvNode* of) const {
    const Node found(lilv_world_get(world_, of, label_.get(), nullptr));
    return textOf(found.get());
  }

  [[nodiscard]] const std::string& bankName(const LilvNode* bank) {
    const auto [found, isNew] = bankNames_.try_emplace(textOf(bank));
    if (isNew) {
      const std::string name = label(bank);
      found->second = name.empty() ? nameFromUri(found->first) : name;
    }
    return found->second;
  }

  LilvWorld* const world_;
  const Node label_{lilv_new_uri(world_, (std::string(rdfs) + "label").c_str())};
  const Node seeAlso_{lilv_new_uri(world_, (std::string(rdfs) + "seeAlso").c_str())};
  const Node bank_{lilv_new_uri(world_, LV2_PRESETS__bank)};
  const Node own_{lilv_new_uri(world_, userPresetProperty)};
  const std::filesystem::path userFolder_ = userBundleFolder();
  std::map<std::string, std::string> bankNames_;
  std::vector<const LilvNode*> opened_;  // whose files were read for their names
};

}  // namespace

std::filesystem::path userBundleFolder() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
  const char* const home = std::getenv("HOME");
  return home != nullptr && *home == '/' ? std::filesystem::path(home) / ".lv2" : std::filesystem::path();
}

std::vector<AUAudioUnitPreset> listPresets(Lv2World& world, const PluginDescription& description) {
  std::vector<AUAudioUnitPreset> presets;
  const LilvPlugin* const plugin = world.libraryPlugin(description.uri);
  if (plugin == nullptr) {
    return presets;
  }
  const Node kind(lilv_new_uri(world.library(), LV2_PRESETS__Preset));
  const Nodes found(lilv_plugin_get_related(plugin, kind.get()));
  {
    PresetReader reader(world.library());
    for (LilvIter* step = lilv_nodes_begin(found.get()); !lilv_nodes_is_end(found.get(), step);
         step = lilv_nodes_next(found.get(), step)) {
      presets.push_back(reader.read(lilv_nodes_get(found.get(), step)));
    }
  }
  std::vector<std::pair<std::tuple<bool, std::pair<std::string, std::string>, std::pair<std::string, std::string>>,
                        std::size_t>>
      order;
  order.reserve(presets.size());
  for (std::size_t index = 0; index < presets.size(); ++index) {
    const auto& preset = presets[index];
    order.push_back({{!preset.isUserPreset, orderOf(preset.bankName), orderOf(preset.name)}, index});
  }
  std::sort(order.begin(), order.end());
  std::vector<AUAudioUnitPreset> sorted;
  sorted.reserve(presets.size());
  for (const auto& [rank, index] : order) {
    sorted.push_back(std::move(presets[index]));
  }
  return sorted;
}

Result<PresetPlace> locatePreset(Lv2World& world, const std::string& identifier) {
  const Node preset(lilv_new_uri(world.library(), identifier.c_str()));
  if (preset == nullptr) {
    return Error{"it is not known"};
  }
  const std::filesystem::path file = PresetReader(world.library()).file(preset.get());
  if (file.empty()) {
    return PresetPlace{identifier, {}};
  }
  if (!isReadableData(file)) {
    return Error{"its file is gone or cannot be read: " + file.string()};
  }
  // The reader of a state takes what it can get of a damaged file; this one says that it is damaged.
  lilv_world_unload_resource(world.library(), preset.get());
  const int filesRead = lilv_world_load_resource(world.library(), preset.get());
  lilv_world_unload_resource(world.library(), preset.get());
  if (filesRead < 1) {
    return Error{"its file is damaged: " + file.string()};
  }
  return PresetPlace{identifier, file.string()};
}

}  // namespace vrel::lv2
