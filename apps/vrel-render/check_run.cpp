// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/check_run.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "check/finding.h"
#include "check/media_references.h"
#include "check/report_coding.h"
#include "check/setlist_check.h"
#include "document/component_scan.h"
#include "foundation/result.h"
#include "system/dispatch/standard_output.h"
#include "system/files/file_calls.h"
#include "system/files/posix_file_manager.h"
#include "system/plugins/lv2/lv2_world.h"
#include "system/plugins/scratch_folder.h"
#include "vrel-render/check_text.h"
#include "vrel-render/input_files.h"
#include "vrel-render/media_reading.h"
#include "vrel-render/options.h"
#include "vrel-render/song_check.h"
#include "vrel-render/song_process.h"

namespace vrel::render {
namespace {

constexpr std::chrono::seconds longestSong{30};  // more than all timeouts of one together

/// Finds the plug-ins once for all songs: the first scan leaves what it has found to the next ones.
class SharedScan {
 public:
  SharedScan() {
    if (folder_) {
      settings_.files = {files_, &files_->manager};
      settings_.cacheFile = folder_.value().path() / "plugins";
    }
  }
  [[nodiscard]] const lv2::ScanSettings& settings() const { return settings_; }

 private:
  struct Files {
    system::FileCalls calls;
    system::PosixFileManager manager{calls};
  };

  Result<ScratchFolder> folder_ = ScratchFolder::make();
  std::shared_ptr<Files> files_ = std::make_shared<Files>();
  lv2::ScanSettings settings_;
};

SongPage playSong(const SetlistFile& setlist, std::size_t index, const Options& options,
                  const lv2::ScanSettings& scan) {
  const SongCheckSettings settings{options.rate, options.block, options.sandbox, scan};
  const auto bytes = runInCopy([&] { return encodePage(playForCheck(setlist, index, settings)); }, longestSong);
  auto page = bytes ? decodePage(bytes.value()) : bytes.error();
  if (!page) {
    return {.song = index,
            .name = setlist.songs[index].name,
            .findings = {{.kind = FindingKind::notPlayed, .reason = page.error().description}}};
  }
  return std::move(page).value();
}

std::vector<SongPage> playSongs(const SetlistFile& setlist, const Options& options, const lv2::ScanSettings& scan) {
  std::vector<SongPage> pages;
  for (std::size_t index = 0; index < setlist.songs.size(); ++index) {
    pages.push_back(playSong(setlist, index, options, scan));
    if (options.json) {
      std::fprintf(stderr, "vrel-render: %zu of %zu songs played\n", index + 1, setlist.songs.size());
    }
  }
  return pages;
}

CheckReport reportOf(const SetlistFile& setlist, const Options& options) {
  // First what is done by copies of this process, which must not have threads by then.
  const SharedScan scan;
  std::vector<SongPage> played = playSongs(setlist, options, scan.settings());
  const auto references = mediaReferencesOf(setlist);
  const CheckedMedia media =
      checkMedia(references, {}, [&, count = references.audioFiles.size() + references.clips.size()](std::size_t done) {
        if (options.json) {
          std::fprintf(stderr, "vrel-render: %zu of %zu files read\n", done, count);
        }
      });
  const auto world = lv2::Lv2World::open(scan.settings());
  const auto instruments = scanInstrumentComponents(*world);
  const auto effects = scanAudioEffectComponents(*world);
  CheckReport report = checkSetlist(setlist, {instruments, effects, media.audioFiles, media.clips});
  for (std::size_t index = 0; index < played.size(); ++index) {
    SongPage& page = report.pages[index];
    page.played = played[index].played;
    const bool isKnownToBeSilent = std::any_of(page.findings.begin(), page.findings.end(), [](const Finding& finding) {
      return finding.kind == FindingKind::noSound;
    });
    for (auto& finding : played[index].findings) {
      if (finding.kind != FindingKind::silentWhenPlayed || !isKnownToBeSilent) {
        page.findings.push_back(std::move(finding));
      }
    }
  }
  return report;
}

}  // namespace

bool checkSetlistFile(const Options& options) {
  CheckReport report;
  const auto setlist = readSetlistFile(options.setlistPath);
  if (setlist) {
    report = reportOf(setlist.value(), options);
  } else {
    report.findings = {{.kind = FindingKind::unreadableSetlist, .subject = setlist.error().description}};
  }
  report.setlist = options.setlistPath;
  report.rate = options.rate;
  report.block = options.block;
  sortWorstFirst(report);
  system::StandardOutput console;
  if (options.json) {
    console.print(encodeReport(report));
  } else {
    for (const auto& line : checkLines(report)) {
      console.print(line);
    }
  }
  return countsOf(report).all() > 0;
}

}  // namespace vrel::render
