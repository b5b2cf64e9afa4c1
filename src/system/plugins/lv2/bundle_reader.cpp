// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/bundle_reader.h"

#include <lilv/lilv.h>
#include <lv2/core/lv2.h>
#include <lv2/presets/presets.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "system/plugins/lv2/bundle_search.h"
#include "system/plugins/lv2/describe_plugin.h"
#include "system/plugins/lv2/lilv_pointers.h"

namespace vrel::lv2 {
namespace {

constexpr const char* typePredicate = "http://www.w3.org/1999/02/22-rdf-syntax-ns#type";

struct WorldDeleter {
  void operator()(LilvWorld* world) const { lilv_world_free(world); }
};

/// The files of a plug-in's data, wherever they are; none for an address elsewhere.
std::vector<std::optional<std::filesystem::path>> filesOf(const LilvPlugin* plugin) {
  std::vector<std::optional<std::filesystem::path>> files;
  const LilvNodes* const found = lilv_plugin_get_data_uris(plugin);
  for (LilvIter* step = lilv_nodes_begin(found); !lilv_nodes_is_end(found, step); step = lilv_nodes_next(found, step)) {
    const HeapText path(lilv_node_get_path(lilv_nodes_get(found, step), nullptr));
    files.push_back(path == nullptr ? std::nullopt : std::optional<std::filesystem::path>(path.get()));
  }
  return files;
}

/// They are opened at the first question about the plug-in.
bool areReadable(const std::vector<std::optional<std::filesystem::path>>& files) {
  return std::all_of(files.begin(), files.end(), [](const auto& file) { return file && isReadableData(*file); });
}

/// Reads one bundle that is alone in its world.
class BundleContents {
 public:
  BundleContents(LilvWorld* world, BundleRecord& record) : world_(world), record_(record) {}

  void read() {
    const LilvPlugins* const all = lilv_world_get_all_plugins(world_);
    for (LilvIter* step = lilv_plugins_begin(all); !lilv_plugins_is_end(all, step);
         step = lilv_plugins_next(all, step)) {
      record_.definesPlugins = true;
      readPlugin(lilv_plugins_get(all, step));
    }
    readPresets();
  }

 private:
  [[nodiscard]] Node term(const char* uri) const { return Node(lilv_new_uri(world_, uri)); }

  void readPlugin(const LilvPlugin* plugin) {
    const auto files = filesOf(plugin);
    for (const auto& file : files) {
      if (file && !isStamped(file->string())) {
        record_.filesElsewhere.push_back(stampOf(*file));
      }
    }
    if (!areReadable(files)) {
      return;
    }
    ScannedPlugin scanned;
    scanned.description = describePlugin(world_, plugin);
    if (scanned.description.codes.componentType != 0) {
      scanned.minorVersion = version(plugin, LV2_CORE__minorVersion);
      scanned.microVersion = version(plugin, LV2_CORE__microVersion);
      record_.plugins.push_back(std::move(scanned));
    }
  }

  [[nodiscard]] bool isStamped(const std::string& path) const {
    const auto isIt = [&path](const FileStamp& stamp) { return stamp.path == path; };
    return std::any_of(record_.files.begin(), record_.files.end(), isIt) ||
           std::any_of(record_.filesElsewhere.begin(), record_.filesElsewhere.end(), isIt);
  }

  [[nodiscard]] std::int32_t version(const LilvPlugin* plugin, const char* predicate) const {
    const Node number(lilv_world_get(world_, lilv_plugin_get_uri(plugin), term(predicate).get(), nullptr));
    return number && lilv_node_is_int(number.get()) ? lilv_node_as_int(number.get()) : 0;
  }

  void readPresets() {
    const Nodes presets(
        lilv_world_find_nodes(world_, nullptr, term(typePredicate).get(), term(LV2_PRESETS__Preset).get()));
    const Node appliesTo = term(LV2_CORE__appliesTo);
    auto& uris = record_.presetsFor;
    for (LilvIter* step = lilv_nodes_begin(presets.get()); !lilv_nodes_is_end(presets.get(), step);
         step = lilv_nodes_next(presets.get(), step)) {
      const Nodes plugins(lilv_world_find_nodes(world_, lilv_nodes_get(presets.get(), step), appliesTo.get(), nullptr));
      for (LilvIter* each = lilv_nodes_begin(plugins.get()); !lilv_nodes_is_end(plugins.get(), each);
           each = lilv_nodes_next(plugins.get(), each)) {
        std::string uri = lilv_node_as_string(lilv_nodes_get(plugins.get(), each));
        if (std::find(uris.begin(), uris.end(), uri) == uris.end()) {
          uris.push_back(std::move(uri));
        }
      }
    }
  }

  LilvWorld* const world_;
  BundleRecord& record_;
};

}  // namespace

Mutex& libraryMutex() {
  static Mutex mutex;
  return mutex;
}

LilvWorld* newLibraryWorld() {
  LilvWorld* const world = lilv_world_new();
  // There are bundles that would have a library of theirs asked what is in them, and a scan must not run a plug-in's
  // code.
  const Node no(lilv_new_bool(world, false));
  lilv_world_set_option(world, LILV_OPTION_DYN_MANIFEST, no.get());
  return world;
}

void loadBundle(LilvWorld* world, const std::filesystem::path& folder) {
  const Node bundle(lilv_new_file_uri(world, nullptr, (folder / "").c_str()));
  lilv_world_load_bundle(world, bundle.get());
}

const LilvPlugin* readablePlugin(LilvWorld* world, const std::string& uri) {
  const Node node(lilv_new_uri(world, uri.c_str()));
  const LilvPlugin* const plugin =
      node == nullptr ? nullptr : lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), node.get());
  if (plugin == nullptr || !areReadable(filesOf(plugin))) {
    return nullptr;
  }
  (void)lilv_plugin_get_num_ports(plugin);  // reads the files
  return plugin;
}

BundleRecord readBundle(const std::filesystem::path& folder, std::vector<FileStamp> files) {
  BundleRecord record;
  record.folder = folder.string();
  record.files = std::move(files);
  record.isReadable = isReadableBundle(folder);
  if (record.isReadable) {
    const std::unique_ptr<LilvWorld, WorldDeleter> world(newLibraryWorld());
    loadBundle(world.get(), folder);
    BundleContents(world.get(), record).read();
  }
  return record;
}

}  // namespace vrel::lv2
