// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/media_reading.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/result.h"
#include "vrel-render/song_process.h"

namespace vrel::render {
namespace {

using Kind = MediaState::Kind;

constexpr std::array kindLetters{std::pair('w', Kind::whole), std::pair('m', Kind::missing),
                                 std::pair('u', Kind::unreadable), std::pair('i', Kind::incomplete)};

MediaState stateOf(const std::string& path, const MediaDecoders::Decode& decode) {
  std::error_code ignored;
  if (!std::filesystem::exists(path, ignored)) {
    return {Kind::missing, {}};
  }
  const auto failure = decode(path);
  if (!failure) {
    return {};
  }
  const bool isIncomplete = failure->kind == system::DecodingFailure::Kind::incomplete;
  return {isIncomplete ? Kind::incomplete : Kind::unreadable, failure->reason};
}

/// As one text, for the way out of a copy.
std::string textOf(const MediaState& state) {
  const auto* const row =
      std::find_if(kindLetters.begin(), kindLetters.end(), [&](const auto& each) { return each.second == state.kind; });
  return row->first + state.reason;
}

MediaState stateFrom(const Result<std::string>& answer) {
  if (!answer) {
    return {Kind::crashes, answer.error().description};
  }
  const std::string& text = answer.value();
  const auto* const row = std::find_if(kindLetters.begin(), kindLetters.end(),
                                       [&](const auto& each) { return text.starts_with(each.first); });
  return row == kindLetters.end() ? MediaState{Kind::crashes, "no answer"} : MediaState{row->second, text.substr(1)};
}

}  // namespace

CheckedMedia checkMedia(const MediaReferences& references, const MediaDecoders& decoders,
                        const std::function<void(std::size_t done)>& progress) {
  CheckedMedia checked;
  std::vector<CopiedWork> works;
  std::vector<MediaState*> states;
  const auto add = [&](const std::set<std::string>& paths, const MediaDecoders::Decode& decode, MediaStates& into) {
    for (const auto& path : paths) {
      works.push_back({[&path, &decode] { return textOf(stateOf(path, decode)); }, decoders.timeLimit});
      states.push_back(&into[path]);
    }
  };
  add(references.audioFiles, decoders.audioFile, checked.audioFiles);
  add(references.clips, decoders.clip, checked.clips);
  const auto answers = runInCopies(works, std::max(1U, std::thread::hardware_concurrency()), progress);
  for (std::size_t index = 0; index < answers.size(); ++index) {
    *states[index] = stateFrom(answers[index]);
  }
  return checked;
}

}  // namespace vrel::render
