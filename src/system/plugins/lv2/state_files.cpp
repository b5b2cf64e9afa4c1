// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/state_files.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace vrel::lv2 {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view statePrefix = "state:";
constexpr std::string_view bundlePrefix = "bundle:";

/// A relative path that stays below the folder it is put into.
bool staysInside(const fs::path& path) {
  return !path.empty() && path.is_relative() && path.has_filename() &&
         std::none_of(path.begin(), path.end(), [](const fs::path& part) { return part == ".." || part == "."; });
}

/// `path` below `folder`, nothing when it is elsewhere.
std::optional<fs::path> below(const fs::path& folder, const fs::path& path) {
  if (folder.empty()) {
    return std::nullopt;
  }
  const fs::path relative = path.lexically_normal().lexically_relative(folder.lexically_normal());
  return staysInside(relative) ? std::optional(relative) : std::nullopt;
}

fs::path numbered(const fs::path& path, int number) {
  fs::path name = path.stem();
  name += "-" + std::to_string(number);
  name += path.extension();
  return path.parent_path() / name;
}

/// The library's convention: the plug-in frees what it gets.
char* handOver(const std::string& text) {
  return ::strdup(text.c_str());
}

bool hasPrefix(const std::string& text, std::string_view prefix) {
  return std::string_view(text).substr(0, prefix.size()) == prefix;
}

}  // namespace

StateFiles::StateFiles(std::string bundlePath)
    : bundle_(std::move(bundlePath)),
      makePath_{this,
                [](LV2_State_Make_Path_Handle self, const char* path) -> char* {
                  const auto made = path != nullptr ? static_cast<StateFiles*>(self)->newPath(path) : std::nullopt;
                  return made ? handOver(*made) : nullptr;
                }},
      mapPath_{
          this,
          [](LV2_State_Map_Path_Handle self, const char* absolute) -> char* {
            return absolute != nullptr ? handOver(static_cast<StateFiles*>(self)->abstractPath(absolute)) : nullptr;
          },
          [](LV2_State_Map_Path_Handle self, const char* abstract) -> char* {
            return abstract != nullptr ? handOver(static_cast<StateFiles*>(self)->absolutePath(abstract)) : nullptr;
          }},
      freePath_{this, [](LV2_State_Free_Path_Handle, char* path) { std::free(path); }} {}

void StateFiles::beginSave() {
  savedNames_.clear();
}

StateFiles::Contents StateFiles::endSave(std::string& problems) {
  Contents contents;
  std::uint64_t total = 0;
  for (const auto& [absolute, name] : savedNames_) {
    std::error_code failed;
    const std::uint64_t bytes = fs::file_size(absolute, failed);
    std::ifstream file(absolute, std::ios::binary);
    if (failed || !file || bytes > maximumContentBytes - total) {
      problems += (problems.empty() ? "" : ", ") + name;
      continue;
    }
    PropertyListData content(bytes);
    file.read(reinterpret_cast<char*>(content.data()), static_cast<std::streamsize>(bytes));
    content.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
    total += content.size();
    contents.emplace(name, std::move(content));
  }
  savedNames_.clear();
  return contents;
}

Outcome StateFiles::placeFiles(const Contents& contents) {
  for (const auto& [name, content] : contents) {
    if (!staysInside(name)) {
      return Error{"state names a file outside its folder: " + name};
    }
  }
  if (contents.empty() && root_.empty()) {
    return std::nullopt;
  }
  if (!ensureFolder()) {
    return Error{"cannot create a folder for the files of a state"};
  }
  ++generation_;
  std::error_code failed;
  if (generation_ > 1) {
    fs::remove_all(root_ / std::to_string(generation_ - 2), failed);
  }
  for (const auto& [name, content] : contents) {
    const fs::path path = generationFolder() / name;
    fs::create_directories(path.parent_path(), failed);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    if (!file.flush()) {
      return Error{"cannot write a file of the state: " + name};
    }
  }
  return std::nullopt;
}

bool StateFiles::ensureFolder() {
  if (folder_) {
    return true;
  }
  Result<ScratchFolder> made = ScratchFolder::make();
  if (!made) {
    return false;
  }
  folder_.emplace(std::move(made).value());
  root_ = folder_->path();
  return true;
}

fs::path StateFiles::generationFolder() const {
  return root_ / std::to_string(generation_);
}

std::optional<std::string> StateFiles::newPath(const std::string& wanted) {
  const fs::path name = fs::path(wanted).lexically_normal();
  if (!staysInside(name) || !ensureFolder()) {
    return std::nullopt;
  }
  std::error_code failed;
  fs::path path = generationFolder() / name;
  for (int number = 2; fs::exists(path, failed); ++number) {
    path = generationFolder() / numbered(name, number);
  }
  fs::create_directories(path.parent_path(), failed);
  return failed ? std::nullopt : std::optional(path.string());
}

std::string StateFiles::abstractPath(const std::string& absolute) {
  if (const auto inBundle = below(bundle_, absolute)) {
    return std::string(bundlePrefix) + inBundle->string();
  }
  const auto inRoot = below(root_, absolute);
  if (!inRoot) {
    return absolute;
  }
  const fs::path name = inRoot->lexically_relative(*inRoot->begin());  // without the subfolder of its restore
  if (const auto known = savedNames_.find(absolute); known != savedNames_.end()) {
    return std::string(statePrefix) + known->second;
  }
  const auto isTaken = [this](const std::string& candidate) {
    return std::any_of(savedNames_.begin(), savedNames_.end(),
                       [&candidate](const auto& entry) { return entry.second == candidate; });
  };
  std::string unique = name.string();
  for (int number = 2; isTaken(unique); ++number) {
    unique = numbered(name, number).string();
  }
  savedNames_.emplace(absolute, unique);
  return std::string(statePrefix) + unique;
}

std::string StateFiles::absolutePath(const std::string& abstract) const {
  for (const auto& [prefix, folder] : {std::pair(statePrefix, generationFolder()), std::pair(bundlePrefix, bundle_)}) {
    if (hasPrefix(abstract, prefix)) {
      const fs::path name = abstract.substr(prefix.size());
      return staysInside(name) ? (folder / name).string() : std::string();
    }
  }
  return abstract;
}

}  // namespace vrel::lv2
