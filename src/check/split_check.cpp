// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <bitset>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "check/setlist_check.h"
#include "document/note_name.h"
#include "document/plugin_path.h"

namespace vrel {
namespace {

constexpr int highestNote = 127;
using Keys = std::bitset<highestNote + 1>;

/// Keys from one to another, both included; empty where `first` is above `last`.
struct KeyRange {
  int first = 0;
  int last = highestNote;

  [[nodiscard]] bool isEmpty() const { return first > last; }
  [[nodiscard]] bool holds(int note) const { return note >= first && note <= last; }
  [[nodiscard]] KeyRange within(const KeyRange& other) const {
    return {std::max(first, other.first), std::min(last, other.last)};
  }
};

std::string keysText(const KeyRange& keys) {
  const auto name = [](int note) { return noteName(static_cast<std::uint8_t>(note)); };
  return keys.first == keys.last ? name(keys.first) : name(keys.first) + " - " + name(keys.last);
}

/// The keys of the song; all notes for a keyboard without keys, which says nothing.
KeyRange keyboardOf(const SongConfig& song) {
  const KeyRange keys{song.keyboardStartNote,
                      std::min(int{song.keyboardStartNote} + int{song.keyboardKeyCount} - 1, highestNote)};
  return keys.isEmpty() ? KeyRange{} : keys;
}

/// The keys whose transposed note does not exist, so that several of them sound as one.
KeyRange displaced(const KeyRange& split, int transpose) {
  return transpose > 0 ? split.within({highestNote + 1 - transpose, highestNote}) : split.within({0, -transpose - 1});
}

class SplitCheck {
 public:
  explicit SplitCheck(const SongConfig& song) : song_(song), keyboard_(keyboardOf(song)) {}

  std::vector<Finding> check() {
    for (std::size_t index = 0; index < song_.channels.size(); ++index) {
      const auto& channel = song_.channels[index];
      strip_ = FindingStrip{index, channel.name};
      if (pluginPathKind(channel.pluginPath) != PluginPathKind::empty) {
        checkStrip(channel);
      }
    }
    strip_.reset();
    addGaps();
    return std::move(findings_);
  }

 private:
  void add(FindingKind kind, std::string subject) {
    findings_.push_back({.kind = kind, .strip = strip_, .subject = std::move(subject)});
  }

  void checkStrip(const ChannelConfig& channel) {
    const KeyRange split{channel.minNote, channel.maxNote};
    const auto kind = pluginPathKind(channel.pluginPath);
    if (split.isEmpty()) {
      add(FindingKind::noKeyReaches, keysText({split.first, split.first}) + " > " + keysText({split.last, split.last}));
      return;
    }
    const KeyRange played = split.within(keyboard_);
    if (played.isEmpty()) {
      add(FindingKind::splitOffKeyboard, keysText(split));
      return;
    }
    addBeyondKeyboard(split);
    if (kind == PluginPathKind::visual) {
      checkClips(channel, played);
      return;
    }
    const bool isInstrument = kind != PluginPathKind::playback;
    for (int note = played.first; note <= played.last; ++note) {
      reached_.set(static_cast<std::size_t>(note));
      if (isInstrument) {
        instrumentKeys_.set(static_cast<std::size_t>(note));
      }
    }
    const KeyRange lost = displaced(played, channel.transpose);
    if (isInstrument && !lost.isEmpty()) {
      add(FindingKind::transposedTooFar, keysText(lost));
    }
  }

  // An end of the range of all notes was never set, so it says nothing of the keyboard.
  void addBeyondKeyboard(const KeyRange& split) {
    const KeyRange below{split.first == 0 ? keyboard_.first : split.first, keyboard_.first - 1};
    const KeyRange above{keyboard_.last + 1, split.last == highestNote ? keyboard_.last : split.last};
    for (const auto& beyond : {below, above}) {
      if (!beyond.isEmpty()) {
        add(FindingKind::splitBeyondKeyboard, keysText(beyond));
      }
    }
  }

  void checkClips(const ChannelConfig& channel, const KeyRange& played) {
    for (const auto& clip : channel.visualClipMappings) {
      if (!played.holds(clip.note)) {
        add(FindingKind::clipUnreachable, noteName(clip.note) + ": " + clip.filePath);
      }
    }
  }

  // Only between instruments: a single key below them that starts a track makes none.
  void addGaps() {
    int before = -1;  // the last key of an instrument
    for (int note = 0; note <= highestNote; ++note) {
      if (!instrumentKeys_.test(static_cast<std::size_t>(note))) {
        continue;
      }
      for (int key = before + 1; before >= 0 && key < note; ++key) {
        int last = key;
        while (last < note && !reached_.test(static_cast<std::size_t>(last))) {
          ++last;
        }
        if (last > key) {
          add(FindingKind::splitGap, keysText({key, last - 1}));
        }
        key = last;
      }
      before = note;
    }
  }

  const SongConfig& song_;
  const KeyRange keyboard_;
  std::vector<Finding> findings_;
  std::optional<FindingStrip> strip_;
  Keys reached_;         // by instruments and tracks
  Keys instrumentKeys_;  // by instruments
};

}  // namespace

std::vector<Finding> checkSplits(const SongConfig& song) {
  return SplitCheck(song).check();
}

}  // namespace vrel
