// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/collected_setlist.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "document/played_files.h"
#include "document/setlist_coding.h"
#include "foundation/utf8.h"

namespace vrel {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view filesFolder = "files";

template <typename Visit>
void visitFilesOf(SetlistFile& setlist, const Visit& visit) {
  for (auto& song : setlist.songs) {
    for (auto& channel : song.channels) {
      visitPlayedFiles(channel, visit);
    }
  }
}

bool isContinuation(char letter) {
  return (static_cast<unsigned char>(letter) & 0xC0U) == 0x80U;
}

/// A name that every file system and the setlist can hold, also that of a stick: what they cannot is an underscore.
std::string portableName(const fs::path& path) {
  constexpr std::string_view refused = "<>:\"|?*\\";
  std::string name = path.filename().string();
  const bool isText = isValidUtf8(name);
  std::replace_if(
      name.begin(), name.end(),
      [&](char letter) {
        const auto byte = static_cast<unsigned char>(letter);
        return byte < 0x20 || byte == 0x7F || (byte >= 0x80 && !isText) || refused.find(letter) != std::string::npos;
      },
      '_');
  return name;
}

std::string inLowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter; });
  return text;
}

/// Distributes names, each once, also for a file system that does not distinguish "A" from "a".
class FreeNames {
 public:
  std::string take(const std::string& name) {
    constexpr std::size_t mostStemBytes = 180;  // leaves room for extension and number
    const fs::path whole(name);
    const std::string extension = whole.extension().string();
    std::string stem = whole.stem().string();
    std::size_t length = std::min(stem.size(), mostStemBytes);
    while (length < stem.size() && length > 0 && isContinuation(stem[length])) {
      --length;
    }
    stem.resize(length);
    std::string free = stem + extension;
    for (int number = 2; !taken_.insert(inLowerCase(free)).second; ++number) {
      free = stem + " (" + std::to_string(number) + ")" + extension;
    }
    return free;
  }

 private:
  std::set<std::string> taken_;
};

/// One run of `collectSetlist`. Removes what it has made unless it is kept.
class Collector {
 public:
  Collector(FileCopier& copier, const FileCopier::Progress& progress, fs::path folder)
      : copier_(copier), progress_(progress), folder_(std::move(folder)) {}
  Collector(const Collector&) = delete;
  Collector& operator=(const Collector&) = delete;
  ~Collector() {
    for (auto made = made_.rbegin(); made != made_.rend(); ++made) {
      copier_.remove(*made);
    }
  }

  Collection run(SetlistFile& setlist, const std::optional<std::string>& background) {
    std::vector<std::string> played;
    visitFilesOf(setlist, [&played](const std::string& path) { played.push_back(path); });
    if (background && !background->empty()) {
      played.push_back(*background);
    }
    if (!make(folder_) || !copyAll(played)) {
      return std::move(outcome_);
    }
    visitFilesOf(setlist, [this](std::string& path) {
      if (const auto copied = copies_.find(copier_.canonicalPath(path)); copied != copies_.end()) {
        path = copied->second;
      }
    });
    setlist.collectedFolder = folder_.string();
    const auto bytes = encodeSetlist(setlist);
    const auto file = folder_ / (folder_.filename().string() + ".vrel");
    if (const Outcome failure = bytes ? copier_.write(file, bytes.value()) : bytes.error()) {
      fail(failure->description);
    } else {
      made_.clear();
    }
    return std::move(outcome_);
  }

 private:
  void fail(const std::string& reason) {
    outcome_.end = Collection::End::failed;
    outcome_.reason = reason;
  }

  bool make(const fs::path& directory) {
    if (const auto failure = copier_.makeDirectory(directory)) {
      fail(failure->description);
      return false;
    }
    made_.push_back(directory);
    return true;
  }

  bool copyAll(const std::vector<std::string>& played) {
    std::vector<std::pair<fs::path, std::string>> sources;  // each file once, and its name
    std::set<fs::path> known;
    for (const auto& path : played) {
      if (auto source = copier_.canonicalPath(path); known.insert(source).second) {
        sources.emplace_back(std::move(source), path);
      }
    }
    if (!sources.empty() && !make(folder_ / filesFolder)) {
      return false;
    }
    for (std::size_t index = 0; index < sources.size(); ++index) {
      const auto progress = [&](double proportion) {
        return progress_((static_cast<double>(index) + proportion) / static_cast<double>(sources.size()));
      };
      if (!copy(sources[index].first, sources[index].second, progress)) {
        return false;
      }
    }
    return true;
  }

  bool copy(const fs::path& source, const std::string& path, const FileCopier::Progress& progress) {
    const fs::path target = folder_ / filesFolder / names_.take(portableName(path));
    const auto copied = copier_.copy(source, target, progress);
    switch (copied.end) {
      case FileCopier::End::copied:
        made_.push_back(target);
        copies_[source] = target.string();
        ++outcome_.files;
        return true;
      case FileCopier::End::sourceFailed:
        outcome_.missing.push_back(copied.reason);
        return true;
      case FileCopier::End::targetFailed:
        fail(copied.reason);
        return false;
      case FileCopier::End::stopped:
        outcome_.end = Collection::End::stopped;
        return false;
    }
    return false;
  }

  FileCopier& copier_;
  const FileCopier::Progress& progress_;
  const fs::path folder_;
  FreeNames names_;
  std::vector<fs::path> made_;              // in this order
  std::map<fs::path, std::string> copies_;  // by the file they were made of
  Collection outcome_;
};

}  // namespace

Collection collectSetlist(SetlistFile setlist, const std::optional<std::string>& background, const fs::path& folder,
                          FileCopier& copier, const FileCopier::Progress& progress) {
  const auto canonical = copier.canonicalPath(folder);
  const auto whole = canonical.has_filename() ? canonical : canonical.parent_path();  // of "stick/Saturday/"
  if (!isValidUtf8(whole.string())) {
    return {.end = Collection::End::failed, .reason = whole.string() + ": a setlist holds no path that is not UTF-8"};
  }
  return Collector(copier, progress, whole).run(setlist, background);
}

void takeFilesBeside(SetlistFile& setlist, const fs::path& folder,
                     const std::function<bool(const fs::path& path)>& exists) {
  if (setlist.collectedFolder.empty() || setlist.collectedFolder == folder.string()) {
    return;
  }
  const std::string before = setlist.collectedFolder + "/";
  visitFilesOf(setlist, [&](std::string& path) {
    if (path.starts_with(before)) {
      const auto beside = folder / path.substr(before.size());
      if (exists(beside)) {
        path = beside.string();
      }
    }
  });
  setlist.collectedFolder = folder.string();
}

}  // namespace vrel
