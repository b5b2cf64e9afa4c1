// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/show.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>
#include <utility>

#include "document/stored_texts.h"

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

std::optional<bool> switchPositionIn(std::string_view text) {
  if (text == "on" || text == "off") {
    return text == "on";
  }
  return std::nullopt;
}

/// "KIND" or "KIND CHANNEL", as the kind is written in a setlist, with a channel if and only if it is of one.
std::optional<MidiControlTarget> targetIn(std::string_view text) {
  const std::size_t end = std::min(text.find_first_of(blanks), text.size());
  const auto kind = midiControlKind(text.substr(0, end));
  const std::string_view rest = trimmed(text.substr(end));
  const auto channel = indexIn(rest);
  const bool isOfChannel = text.starts_with("channel_");
  if (!kind || channel.has_value() != isOfChannel || (!isOfChannel && !rest.empty())) {
    return std::nullopt;
  }
  return MidiControlTarget{*kind, channel ? std::optional<std::int64_t>(*channel) : std::nullopt};
}

std::optional<ShowAction> actionOf(std::string_view text) {
  const std::size_t end = std::min(text.find_first_of(blanks), text.size());
  const std::string_view word = text.substr(0, end);
  const std::string_view rest = trimmed(text.substr(end));
  if (word == "song") {
    return SongStep{indexIn(rest), std::string(text)};
  }
  if (word == "learn") {
    return LearnStep{targetIn(rest), std::string(text)};
  }
  if (word == "live") {
    return LiveStep{switchPositionIn(rest), std::string(text)};
  }
  if (word == "key") {
    return KeyStep{std::string(rest)};
  }
  if (text == "panic") {
    return PanicStep{};
  }
  if (text == "tap") {
    return TapStep{};
  }
  return std::nullopt;
}

}  // namespace

std::vector<ShowStep> showSteps(const MidiFile& file) {
  std::vector<ShowStep> steps;
  for (const auto& event : file.events) {
    if (const auto* message = std::get_if<MidiFileMessage>(&event.content)) {
      steps.push_back({event.seconds, *message});
    } else if (const auto* text = std::get_if<MidiFileText>(&event.content)) {
      if (auto action = actionOf(trimmed(text->text))) {
        steps.push_back({event.seconds, std::move(*action)});
      }
    }
  }
  return steps;
}

}  // namespace vrel::render
