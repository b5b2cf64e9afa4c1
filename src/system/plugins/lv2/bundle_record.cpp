// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/bundle_record.h"

#include <sys/stat.h>

#include <algorithm>

#include "system/plugins/lv2/bundle_search.h"

namespace vrel::lv2 {
namespace {

std::int64_t nanosecondsOf(const timespec& time) {
  constexpr std::int64_t perSecond = 1'000'000'000;
  return std::int64_t{time.tv_sec} * perSecond + time.tv_nsec;
}

}  // namespace

FileStamp stampOf(const std::filesystem::path& file) {
  FileStamp stamp;
  stamp.path = file.string();
  struct stat status {};
  if (::stat(file.c_str(), &status) == 0) {
    stamp.size = static_cast<std::uint64_t>(status.st_size);
    stamp.node = status.st_ino;
    stamp.modifiedNanoseconds = nanosecondsOf(status.st_mtim);
    stamp.changedNanoseconds = nanosecondsOf(status.st_ctim);
  }
  return stamp;
}

std::vector<FileStamp> dataFilesOf(const std::filesystem::path& folder) {
  std::vector<FileStamp> stamps;
  for (const auto& file : entriesOf(folder)) {
    if (file.extension() == dataExtension) {
      stamps.push_back(stampOf(file));
    }
  }
  return stamps;
}

bool isUpToDate(const BundleRecord& record, const std::vector<FileStamp>& filesNow) {
  return record.files == filesNow && std::all_of(record.filesElsewhere.begin(), record.filesElsewhere.end(),
                                                 [](const FileStamp& stamp) { return stampOf(stamp.path) == stamp; });
}

}  // namespace vrel::lv2
