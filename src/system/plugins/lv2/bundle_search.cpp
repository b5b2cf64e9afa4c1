// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/bundle_search.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <string>
#include <system_error>

namespace vrel::lv2 {
namespace {

namespace fs = std::filesystem;

std::string variable(const char* name) {
  const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing here changes the environment
  return value != nullptr ? value : "";
}

std::vector<fs::path> places() {
  std::string list = variable("LV2_PATH");
  if (list.empty()) {
    list = "~/.lv2:" VREL_LIBRARY_FOLDER "/lv2:/usr/lib/lv2:/usr/local/lib/lv2";
  }
  std::vector<fs::path> result;
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t end = std::min(list.find(':', begin), list.size());
    std::string place = list.substr(begin, end - begin);
    begin = end + 1;
    if (place.compare(0, 2, "~/") == 0) {
      place = variable("HOME") + place.substr(1);
    }
    if (!place.empty() && std::find(result.begin(), result.end(), place) == result.end()) {
      result.emplace_back(place);
    }
  }
  return result;
}

}  // namespace

std::vector<fs::path> entriesOf(const fs::path& folder) {
  std::vector<fs::path> entries;
  std::error_code failure;
  for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end; entry.increment(failure)) {
    entries.push_back(entry->path());
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

bool isReadableData(const fs::path& file) {
  std::error_code failure;
  if (!fs::is_regular_file(file, failure) || fs::file_size(file, failure) > maximumDataBytes || failure) {
    return false;
  }
  // Brackets in texts and remarks are counted like any other: it is an upper bound that is far off what is usual.
  std::ifstream stream(file, std::ios::binary);
  std::array<char, 65536> buffer{};
  int depth = 0;
  while (stream.read(buffer.data(), buffer.size()), stream.gcount() > 0) {
    for (std::streamsize index = 0; index < stream.gcount(); ++index) {
      const char character = buffer[static_cast<std::size_t>(index)];
      if (character == '[' || character == '(') {
        ++depth;
      } else if ((character == ']' || character == ')') && depth > 0) {
        --depth;
      }
      if (depth > maximumDataDepth) {
        return false;
      }
    }
  }
  return stream.eof();
}

bool isReadableBundle(const fs::path& folder) {
  const auto entries = entriesOf(folder);
  return std::all_of(entries.begin(), entries.end(),
                     [](const fs::path& file) { return file.extension() != dataExtension || isReadableData(file); });
}

std::vector<fs::path> findBundles() {
  std::vector<fs::path> bundles;
  std::error_code ignored;
  for (const fs::path& place : places()) {
    for (const fs::path& folder : entriesOf(place)) {
      if (fs::exists(folder / "manifest.ttl", ignored)) {
        bundles.push_back(folder);
      }
    }
  }
  return bundles;
}

}  // namespace vrel::lv2
