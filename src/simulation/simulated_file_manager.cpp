// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/simulated_file_manager.h"

#include <algorithm>
#include <iterator>

namespace vrel::simulation {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t stepsOfAWrite = 4;

Error failure(const fs::path& path, const std::string& reason) {
  return Error{path.string() + ": " + reason};
}

}  // namespace

void SimulatedFileManager::place(const fs::path& path, const std::string& bytes) {
  placeDirectory(path.parent_path());
  files[path] = bytes;
}

void SimulatedFileManager::placeDirectory(const fs::path& path) {
  for (auto directory = path; directory != directory.parent_path(); directory = directory.parent_path()) {
    directories.insert(directory);
  }
}

bool SimulatedFileManager::step() {
  if (isPowerCut()) {
    return false;
  }
  ++stepsTaken;
  return true;
}

Result<std::string> SimulatedFileManager::contents(const fs::path& path, std::uintmax_t mostBytes) {
  if (isPowerCut()) {
    return failure(path, "Input/output error");
  }
  const auto file = files.find(path);
  if (file == files.end()) {
    return failure(path, directories.contains(path) ? "Is a directory" : "No such file or directory");
  }
  if (unreadable.contains(path)) {
    return failure(path, "Permission denied");
  }
  if (file->second.size() > mostBytes) {
    return failure(path, "File too large");
  }
  return file->second;
}

bool SimulatedFileManager::fileExists(const fs::path& path) {
  return !isPowerCut() && (files.contains(path) || directories.contains(path));
}

Outcome SimulatedFileManager::refusal(const fs::path& path) const {
  if (isPowerCut()) {
    return failure(path, "Input/output error");
  }
  if (directories.contains(path)) {
    return failure(path, "Is a directory");
  }
  if (!directories.contains(path.parent_path())) {
    return failure(path, "No such file or directory");
  }
  if (readOnly.contains(path) || (!files.contains(path) && readOnly.contains(path.parent_path()))) {
    return failure(path, "Permission denied");
  }
  return {};
}

Outcome SimulatedFileManager::writeInPlace(const fs::path& path, const std::string& bytes) {
  if (!step()) {
    return failure(path, "Input/output error");
  }
  auto& file = files[path];
  file.clear();
  const std::size_t chunkBytes = bytes.size() / stepsOfAWrite + 1;
  while (file.size() < bytes.size()) {
    if (!step()) {
      return failure(path, "Input/output error");
    }
    const std::size_t chunk = std::min(chunkBytes, bytes.size() - file.size());
    const std::size_t fitting = std::min(chunk, freeBytes.value_or(chunk));
    file += bytes.substr(file.size(), fitting);
    if (freeBytes) {
      *freeBytes -= fitting;
    }
    if (fitting < chunk) {
      return failure(path, "No space left on device");
    }
  }
  return {};
}

Outcome SimulatedFileManager::write(const fs::path& path, const std::string& bytes) {
  const auto refused = refusal(path);
  return refused ? refused : writeInPlace(path, bytes);
}

Outcome SimulatedFileManager::writeAtomically(const fs::path& path, const std::string& bytes) {
  const fs::path fresh = path.string() + ".new";
  if (auto refused = refusal(directories.contains(path) ? path : fresh)) {
    return refused;
  }
  auto failed = writeInPlace(fresh, bytes);
  if (!failed && !step()) {
    failed = failure(path, "Input/output error");
  }
  if (!failed) {
    files[path] = bytes;
  }
  if (!failed || !isPowerCut()) {
    files.erase(fresh);
  }
  return failed;
}

fs::path SimulatedFileManager::canonicalPath(const fs::path& path) {
  const auto link = links.find(path);
  return (link == links.end() ? path : link->second).lexically_normal();
}

Outcome SimulatedFileManager::createDirectory(const fs::path& path) {
  if (directories.contains(path)) {
    return {};
  }
  if (files.contains(path)) {
    return failure(path, "Not a directory");
  }
  if (path != path.parent_path()) {
    if (auto failed = createDirectory(path.parent_path())) {
      return failed;
    }
  }
  if (readOnly.contains(path.parent_path())) {
    return failure(path, "Permission denied");
  }
  if (!step()) {
    return failure(path, "Input/output error");
  }
  directories.insert(path);
  return {};
}

std::vector<std::string> SimulatedFileManager::fileNames(const fs::path& directory) {
  std::vector<std::string> names;
  for (const auto& [path, bytes] : files) {
    if (!isPowerCut() && path.parent_path() == directory) {
      names.push_back(path.filename().string());
    }
  }
  return names;
}

std::vector<std::filesystem::path> SimulatedFileManager::filesNamed(const std::filesystem::path& directory,
                                                                    const std::set<std::string>& names,
                                                                    std::size_t mostEntries) {
  std::vector<std::filesystem::path> found;
  for (const auto& [path, bytes] : files) {
    const bool isBelow = path.string().starts_with(directory.string() + "/");
    if (isBelow && names.contains(path.filename().string()) && found.size() < mostEntries) {
      found.push_back(path);
    }
  }
  std::stable_sort(found.begin(), found.end(), [](const auto& one, const auto& other) {
    return std::distance(one.begin(), one.end()) < std::distance(other.begin(), other.end());
  });
  return found;
}

std::optional<std::int64_t> SimulatedFileManager::modificationTime(const std::filesystem::path& path) {
  const auto found = times.find(path);
  return found != times.end() && files.contains(path) ? std::optional(found->second) : std::nullopt;
}

Outcome SimulatedFileManager::remove(const fs::path& path) {
  if (!files.contains(path)) {
    return failure(path, "No such file or directory");
  }
  if (readOnly.contains(path.parent_path())) {
    return failure(path, "Permission denied");
  }
  if (!step()) {
    return failure(path, "Input/output error");
  }
  files.erase(path);
  return {};
}

}  // namespace vrel::simulation
