// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/describe_editor.h"

#include <lv2/core/lv2.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/message_parameters.h"
#include "system/plugins/lv2/bundle_search.h"
#include "system/plugins/lv2/describe_properties.h"
#include "system/plugins/lv2/editor_features.h"
#include "system/plugins/lv2/lilv_pointers.h"

namespace vrel::lv2 {
namespace {

constexpr const char* seeAlso = "http://www.w3.org/2000/01/rdf-schema#seeAlso";

// Those in a process of their own come first.
struct Choice {
  EditorKind kind;
  bool mayNeedInstance;
};
constexpr std::array<Choice, 7> choices{{{EditorKind::x11, false},
                                         {EditorKind::gtk2, false},
                                         {EditorKind::x11, true},
                                         {EditorKind::external, false},
                                         {EditorKind::shown, false},
                                         {EditorKind::external, true},
                                         {EditorKind::shown, true}}};

struct EditorsDeleter {
  void operator()(LilvUIs* editors) const { lilv_uis_free(editors); }
};
using Editors = std::unique_ptr<LilvUIs, EditorsDeleter>;

class EditorReader {
 public:
  explicit EditorReader(LilvWorld* world) : world_(world) {}

  /// None for an editor of another kind, or one that cannot be opened, or that requires the plug-in's memory and may
  /// not.
  [[nodiscard]] std::optional<EditorPlace> read(const LilvUI* editor, EditorKind kind, bool mayNeedInstance) const {
    if (!hasReadableData(editor)) {
      return std::nullopt;
    }
    lilv_world_load_resource(world_, lilv_ui_get_uri(editor));
    if (!isOf(editor, kind)) {
      return std::nullopt;
    }
    EditorPlace place;
    place.kind = kind;
    place.uri = lilv_node_as_uri(lilv_ui_get_uri(editor));
    place.bundlePath = path(lilv_ui_get_bundle_uri(editor));
    place.libraryPath = path(lilv_ui_get_binary_uri(editor));
    std::error_code ignored;
    place.needsInstance = !all(editor, LV2_CORE__requiredFeature, [](const LilvNode* feature) {
      return !isAccessToInstance(lilv_node_as_string(feature));
    });
    const bool canBeOpened = std::filesystem::exists(place.libraryPath, ignored) && offersAll(editor) &&
                             (mayNeedInstance || !place.needsInstance);
    return canBeOpened ? std::optional(place) : std::nullopt;
  }

 private:
  [[nodiscard]] Node uri(const char* address) const { return Node(lilv_new_uri(world_, address)); }

  [[nodiscard]] static std::string path(const LilvNode* node) {
    const HeapText characters(node != nullptr ? lilv_file_uri_parse(lilv_node_as_uri(node), nullptr) : nullptr);
    return characters ? characters.get() : "";
  }

  /// Whether all files with more about the editor may be read.
  [[nodiscard]] bool hasReadableData(const LilvUI* editor) const {
    return all(editor, seeAlso, [](const LilvNode* file) { return isReadableData(path(file)); });
  }

  [[nodiscard]] bool isOf(const LilvUI* editor, EditorKind kind) const {
    const auto isA = [&](const char* name) { return lilv_ui_is_a(editor, uri(name).get()); };
    switch (kind) {
      case EditorKind::x11:
        return isA(LV2_UI__X11UI);
      case EditorKind::gtk2:
        return isA(LV2_UI__GtkUI);
      case EditorKind::external:
        return isA(externalEditorClass) || isA(externalEditorOld);
      case EditorKind::shown:
        return !all(editor, LV2_CORE__extensionData, [](const LilvNode* name) {
          return std::string_view(lilv_node_as_string(name)) != LV2_UI__showInterface;
        });
    }
    return false;
  }

  [[nodiscard]] bool offersAll(const LilvUI* editor) const {
    return all(editor, LV2_CORE__requiredFeature, [](const LilvNode* feature) {
      const std::string_view uri = lilv_node_as_string(feature);
      return isEditorFeature(uri) || isAccessToInstance(uri);
    });
  }

  template <typename Accepts>
  [[nodiscard]] bool all(const LilvUI* editor, const char* predicate, Accepts accepts) const {
    const Nodes nodes(lilv_world_find_nodes(world_, lilv_ui_get_uri(editor), uri(predicate).get(), nullptr));
    for (LilvIter* step = lilv_nodes_begin(nodes.get()); !lilv_nodes_is_end(nodes.get(), step);
         step = lilv_nodes_next(nodes.get(), step)) {
      if (!accepts(lilv_nodes_get(nodes.get(), step))) {
        return false;
      }
    }
    return true;
  }

  LilvWorld* world_;
};

}  // namespace

std::optional<EditorPlace> describeEditor(LilvWorld* world, const LilvPlugin* plugin,
                                          const PluginDescription& description) {
  const Editors editors(lilv_plugin_get_uis(plugin));
  std::optional<EditorPlace> place;
  for (const auto& [kind, mayNeedInstance] : choices) {
    for (LilvIter* step = lilv_uis_begin(editors.get()); !place && !lilv_uis_is_end(editors.get(), step);
         step = lilv_uis_next(editors.get(), step)) {
      place = EditorReader(world).read(lilv_uis_get(editors.get(), step), kind, mayNeedInstance);
    }
  }
  if (place) {
    place->pluginName = description.name;
    place->pluginUri = description.uri;
    for (std::uint32_t index = 0; index < description.ports.size(); ++index) {
      const PortDescription& port = description.ports[index];
      place->ports.push_back(
          {index, port.symbol, port.kind == PortKind::control, port.isSetting(), port.kind == PortKind::atom});
    }
    for (const PropertyDescription& each : describeProperties(world, plugin, description).all) {
      if (isPath(each.parameter)) {
        place->files.push_back(each.uri);
      }
    }
  }
  return place;
}

}  // namespace vrel::lv2
