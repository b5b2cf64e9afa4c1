// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/recent_files_coding.h"

#include <nlohmann/json.hpp>

#include "document/json_tree.h"

namespace vrel {

using nlohmann::json;

Result<std::string> encodeRecentFiles(const std::vector<std::filesystem::path>& paths) {
  json list = json::array();
  for (const auto& path : paths) {
    list.push_back(path.string());
  }
  try {
    return list.dump();
  } catch (const json::exception&) {
    return Error{"a path is not valid UTF-8"};
  }
}

Result<std::vector<std::filesystem::path>> decodeRecentFiles(std::string_view bytes) {
  json list;
  if (const auto failure = parseJson(bytes, list)) {
    return *failure;
  }
  if (!list.is_array()) {
    return Error{std::string("expected an array, found ") + list.type_name()};
  }
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : list) {
    if (!entry.is_string()) {
      return Error{"[" + std::to_string(paths.size()) + "]: expected a string, found " + entry.type_name()};
    }
    paths.emplace_back(entry.get_ref<const std::string&>());
  }
  return paths;
}

}  // namespace vrel
