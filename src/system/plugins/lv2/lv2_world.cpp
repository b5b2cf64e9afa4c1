// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/lv2_world.h"

#include <lilv/lilv.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <utility>

#include "foundation/mutex.h"
#include "system/plugins/lv2/bundle_search.h"
#include "system/plugins/lv2/describe_editor.h"
#include "system/plugins/lv2/describe_parameters.h"
#include "system/plugins/lv2/describe_plugin.h"
#include "system/plugins/lv2/lilv_pointers.h"
#include "system/plugins/lv2/urid_map.h"
#include "system/plugins/scratch_folder.h"

namespace vrel::lv2 {
namespace {

bool matches(std::uint32_t wanted, std::uint32_t code) {
  return wanted == 0 || wanted == code;
}

bool matches(const AudioComponentDescription& wanted, const AudioComponentDescription& codes) {
  return matches(wanted.componentType, codes.componentType) &&
         matches(wanted.componentSubType, codes.componentSubType) &&
         matches(wanted.componentManufacturer, codes.componentManufacturer);
}

/// A world that reads data and runs nothing: there are bundles that would have a library of theirs asked what is in
/// them, and a scan must not run a plug-in's code.
LilvWorld* newWorld() {
  LilvWorld* const world = lilv_world_new();
  const Node no(lilv_new_bool(world, false));
  lilv_world_set_option(world, LILV_OPTION_DYN_MANIFEST, no.get());
  return world;
}

void loadBundle(LilvWorld* world, const std::filesystem::path& folder) {
  const Node bundle(lilv_new_file_uri(world, nullptr, (folder / "").c_str()));
  lilv_world_load_bundle(world, bundle.get());
}

/// The files are opened at the first question about the plug-in, wherever they are.
bool hasReadableData(const LilvPlugin* plugin) {
  const LilvNodes* const files = lilv_plugin_get_data_uris(plugin);
  for (LilvIter* step = lilv_nodes_begin(files); !lilv_nodes_is_end(files, step); step = lilv_nodes_next(files, step)) {
    const HeapText path(lilv_node_get_path(lilv_nodes_get(files, step), nullptr));
    if (path == nullptr || !isReadableData(path.get())) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::shared_ptr<Lv2World> Lv2World::open() {
  return std::shared_ptr<Lv2World>(new Lv2World(std::nullopt));
}

std::shared_ptr<Lv2World> Lv2World::openOne(const PluginAddress& address) {
  return std::shared_ptr<Lv2World>(new Lv2World(address));
}

Lv2World::Lv2World(const std::optional<PluginAddress>& only) : urids_(std::make_unique<UridMap>()) {
  auto done = std::make_shared<std::promise<void>>();
  scanned_ = done->get_future().share();
  thread_.post([this, done, only] {
    if (only) {
      readOne(*only);
    } else {
      scan();
      ScratchFolder::sweep();
    }
    done->set_value();
  });
}

Lv2World::~Lv2World() {
  scanned_.wait();
  // Posted last: released units may still be in the queue, and need both to the end.
  thread_.post([library = library_, urids = std::shared_ptr<UridMap>(std::move(urids_))] { lilv_world_free(library); });
}

std::vector<AVAudioUnitComponent> Lv2World::componentsMatchingDescription(
    const AudioComponentDescription& description) {
  scanned_.wait();
  std::vector<AVAudioUnitComponent> components;
  for (const auto& plugin : plugins_) {
    if (matches(description, plugin->codes)) {
      components.push_back({plugin->name, plugin->manufacturerName, plugin->codes});
    }
  }
  return components;
}

std::shared_ptr<const PluginDescription> Lv2World::find(const AudioComponentDescription& codes) const {
  scanned_.wait();
  const auto found =
      std::find_if(plugins_.begin(), plugins_.end(), [&codes](const auto& plugin) { return plugin->codes == codes; });
  return found == plugins_.end() ? nullptr : *found;
}

void Lv2World::requestParameters(const AudioComponentDescription& codes, double sampleRate,
                                 std::function<void(std::shared_ptr<const AUParameterTree>)> handler) {
  // A strong hold here would let the world end on its own thread.
  thread_.post([weak = weak_from_this(), codes, sampleRate, handler = std::move(handler)] {
    const auto self = weak.lock();
    const auto description = self != nullptr ? self->find(codes) : nullptr;
    const LilvPlugin* const plugin = description != nullptr ? self->libraryPlugin(description->uri) : nullptr;
    handler(plugin == nullptr ? nullptr
                              : std::make_shared<const AUParameterTree>(
                                    describeParameters(self->library_, plugin, *description, sampleRate)));
  });
}

void Lv2World::requestEditor(const AudioComponentDescription& codes,
                             std::function<void(std::optional<EditorPlace>)> handler) {
  thread_.post([weak = weak_from_this(), codes, handler = std::move(handler)] {
    const auto self = weak.lock();
    const auto description = self != nullptr ? self->find(codes) : nullptr;
    const LilvPlugin* const plugin = description != nullptr ? self->libraryPlugin(description->uri) : nullptr;
    handler(plugin == nullptr ? std::nullopt : describeEditor(self->library_, plugin, *description));
  });
}

const LilvPlugin* Lv2World::libraryPlugin(const std::string& uri) const {
  LilvNode* node = lilv_new_uri(library_, uri.c_str());
  const LilvPlugin* plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(library_), node);
  lilv_node_free(node);
  return plugin;
}

void Lv2World::scan() {
  // While it reads bundles the library writes to memory that all worlds of the process share.
  static Mutex scanning;
  const MutexLock lock(scanning);
  library_ = newWorld();
  for (const auto& folder : findBundles()) {
    loadBundle(library_, folder);
  }
  const LilvPlugins* all = lilv_world_get_all_plugins(library_);
  for (LilvIter* step = lilv_plugins_begin(all); !lilv_plugins_is_end(all, step); step = lilv_plugins_next(all, step)) {
    const LilvPlugin* const plugin = lilv_plugins_get(all, step);
    if (!hasReadableData(plugin)) {
      continue;
    }
    PluginDescription description = describePlugin(library_, plugin);
    if (description.codes.componentType != 0) {
      plugins_.push_back(std::make_shared<const PluginDescription>(std::move(description)));
    }
  }
}

void Lv2World::readOne(const PluginAddress& address) {
  library_ = newWorld();
  loadBundle(library_, address.bundlePath);
  if (const LilvPlugin* plugin = libraryPlugin(address.uri)) {
    // The bundles that define classes are not read, so its class is not known here, and with it its type.
    PluginDescription description = describePlugin(library_, plugin);
    description.codes = address.codes;
    plugins_.push_back(std::make_shared<const PluginDescription>(std::move(description)));
  }
}

}  // namespace vrel::lv2
