// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/show.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace vrel::render {
namespace {

constexpr std::string_view blanks = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::optional<std::uint32_t> indexIn(std::string_view text) {
  std::uint32_t index = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), index);
  if (failure != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return index;
}

std::optional<ShowStep> stepOf(double seconds, const MidiFileText& marker) {
  const std::string_view text = trimmed(marker.text);
  if (text == "panic") {
    return ShowStep{seconds, PanicStep{}};
  }
  if (text == "tap") {
    return ShowStep{seconds, TapStep{}};
  }
  constexpr std::string_view song = "song";
  if (!text.starts_with(song) || (text != song && blanks.find(text[song.size()]) == std::string_view::npos)) {
    return std::nullopt;
  }
  return ShowStep{seconds, SongStep{indexIn(trimmed(text.substr(song.size()))), std::string(text)}};
}

}  // namespace

std::vector<ShowStep> showSteps(const MidiFile& file) {
  std::vector<ShowStep> steps;
  for (const auto& event : file.events) {
    if (const auto* message = std::get_if<MidiFileMessage>(&event.content)) {
      steps.push_back({event.seconds, *message});
    } else if (const auto* text = std::get_if<MidiFileText>(&event.content)) {
      if (auto step = stepOf(event.seconds, *text)) {
        steps.push_back(std::move(*step));
      }
    }
  }
  return steps;
}

}  // namespace vrel::render
