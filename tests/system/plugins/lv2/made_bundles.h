// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "system/plugins/lv2/lv2_world.h"
#include "system/plugins/scratch_folder.h"

namespace vrel::lv2 {

/// A place for bundles that are made by a test, gone with this object.
class MadeBundles {
 public:
  [[nodiscard]] const std::filesystem::path& place() const { return root_.path(); }

  [[nodiscard]] static std::string manifestOf(const std::string& name, const std::string& data,
                                              const std::string& more = {}) {
    return prefixes + ("<urn:vrel:scan:" + name + "> a lv2:Plugin ; " + more + " lv2:binary <x.so> ; rdfs:seeAlso <" +
                       data + "> .\n");
  }
  /// An effect without inputs, under the name of its URI unless it has a title.
  [[nodiscard]] static std::string dataOf(const std::string& name, const std::string& title = {}) {
    const std::string titled = title.empty() ? std::string() : "doap:name \"" + title + "\" ; ";
    return prefixes + ("<urn:vrel:scan:" + name + "> " + titled +
                       "lv2:port [ a lv2:OutputPort , lv2:AudioPort ; lv2:index 0 ; lv2:symbol \"out\" ; "
                       "lv2:name \"Out\" ] .\n");
  }

  [[nodiscard]] std::filesystem::path at(const std::string& bundle, const std::string& file) const {
    const std::filesystem::path folder = place() / (bundle + ".lv2");
    std::filesystem::create_directories(folder);
    return folder / file;
  }
  void write(const std::string& bundle, const std::string& file, const std::string& text) const {
    std::ofstream(at(bundle, file), std::ios::binary) << text;
  }
  void writePlugin(const std::string& name) const {
    write(name, "manifest.ttl", manifestOf(name, "data.ttl"));
    write(name, "data.ttl", dataOf(name));
  }

 private:
  static constexpr const char* prefixes =
      "@prefix doap: <http://usefulinc.com/ns/doap#> .\n"
      "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
      "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n";

  const ScratchFolder root_ = ScratchFolder::make().value();
};

/// The names of all plug-ins of a world.
[[nodiscard]] inline std::vector<std::string> namesIn(Lv2World& world) {
  std::vector<std::string> names;
  for (const auto& component : world.componentsMatchingDescription({})) {
    names.push_back(component.name);
  }
  return names;
}

}  // namespace vrel::lv2
