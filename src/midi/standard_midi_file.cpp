// SPDX-License-Identifier: GPL-3.0-or-later
#include "midi/standard_midi_file.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vrel {
namespace {

// 2^28 ticks a delta times 2^24 microseconds a quarter leaves no room in 64 bits for a long file.
__extension__ using Wide = unsigned __int128;

constexpr std::uint32_t defaultTempo = 500'000;  // microseconds per quarter
constexpr std::uint8_t metaEvent = 0xFF;
constexpr std::uint8_t systemExclusive = 0xF0;
constexpr std::uint8_t systemExclusiveContinued = 0xF7;
constexpr std::uint8_t metaText = 0x01;
constexpr std::uint8_t metaMarker = 0x06;
constexpr std::uint8_t metaEndOfTrack = 0x2F;
constexpr std::uint8_t metaTempo = 0x51;

/// Takes numbers off a run of bytes. The first failure stays; after it everything reads as zero.
class ByteReader {
 public:
  ByteReader(std::span<const std::uint8_t> bytes, std::size_t begin, std::size_t end)
      : bytes_(bytes), at_(begin), end_(end) {}

  [[nodiscard]] bool ok() const { return !failure_; }
  [[nodiscard]] const std::optional<Error>& failure() const { return failure_; }
  [[nodiscard]] std::size_t offset() const { return at_; }
  [[nodiscard]] std::size_t remaining() const { return end_ - at_; }

  void failAt(std::size_t offset, std::string_view words) {
    if (ok()) {
      failure_ = Error{"byte " + std::to_string(offset) + ": " + std::string(words)};
    }
  }

  /// The next `count` bytes, or none of them.
  std::span<const std::uint8_t> take(std::size_t count) {
    if (count > remaining()) {
      failAt(at_, "unexpected end of file");
    }
    if (!ok()) {
      return {};
    }
    const auto taken = bytes_.subspan(at_, count);
    at_ += count;
    return taken;
  }

  std::uint8_t byte() { return static_cast<std::uint8_t>(number(1)); }

  std::uint32_t number(std::size_t byteCount) {
    std::uint32_t value = 0;
    for (const std::uint8_t byte : take(byteCount)) {
      value = (value << 8U) | byte;
    }
    return value;
  }

  /// Seven bits a byte, at most four bytes.
  std::uint32_t variableLength() {
    const std::size_t start = at_;
    std::uint32_t value = 0;
    for (int count = 0; count < 4; ++count) {
      const std::uint8_t next = byte();
      value = (value << 7U) | (next & 0x7FU);
      if ((next & 0x80U) == 0) {
        return value;
      }
    }
    failAt(start, "variable-length quantity of more than four bytes");
    return 0;
  }

  std::string text(std::size_t byteCount) {
    const auto taken = take(byteCount);
    return {taken.begin(), taken.end()};
  }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t at_;
  std::size_t end_;
  std::optional<Error> failure_;
};

struct Header {
  std::uint32_t format = 0;
  std::uint32_t trackCount = 0;
  std::uint32_t division = 0;
};

struct TempoChange {
  std::uint64_t tick = 0;
  std::uint32_t microsecondsPerQuarter = defaultTempo;
};

struct TickedEvent {
  std::uint64_t tick = 0;
  std::variant<MidiFileMessage, MidiFileText> content;
};

/// What the tracks hold, before time is known.
struct Score {
  std::vector<TickedEvent> events;
  std::vector<TempoChange> tempoChanges;
  std::uint64_t lengthTicks = 0;
};

/// Reads the events of one track into a score.
class TrackReader {
 public:
  TrackReader(ByteReader& bytes, Score& score) : bytes_(bytes), score_(score) {}

  void read() {
    while (bytes_.ok() && !ended_) {
      if (bytes_.remaining() == 0) {
        bytes_.failAt(bytes_.offset(), "track without an End of Track event");
        return;
      }
      tick_ += bytes_.variableLength();
      readEvent();
    }
    score_.lengthTicks = std::max(score_.lengthTicks, tick_);
  }

 private:
  void readEvent() {
    const std::size_t start = bytes_.offset();
    const std::uint8_t first = bytes_.byte();
    if (!bytes_.ok()) {
      return;
    }
    if (first < 0xF0) {
      readMessage(start, first);
      return;
    }
    runningStatus_ = 0;
    if (first == metaEvent) {
      readMeta();
    } else if (first == systemExclusive || first == systemExclusiveContinued) {
      (void)bytes_.take(bytes_.variableLength());
    } else {
      bytes_.failAt(start, "system message that a file cannot hold");
    }
  }

  void readMessage(std::size_t start, std::uint8_t first) {
    const bool isStatus = first >= 0x80;
    if (isStatus) {
      runningStatus_ = first;
    } else if (runningStatus_ == 0) {
      bytes_.failAt(start, "data byte without a running status");
      return;
    }
    MidiFileMessage message{runningStatus_, isStatus ? dataByte() : first, 0};
    const unsigned kind = runningStatus_ & 0xF0U;
    if (kind != 0xC0 && kind != 0xD0) {
      message.data2 = dataByte();
    }
    if (bytes_.ok()) {
      score_.events.push_back({tick_, message});
    }
  }

  std::uint8_t dataByte() {
    const std::uint8_t byte = bytes_.byte();
    if (byte >= 0x80) {
      bytes_.failAt(bytes_.offset() - 1, "status byte where data is expected");
    }
    return byte;
  }

  void readMeta() {
    const std::uint8_t type = bytes_.byte();
    const std::uint32_t length = bytes_.variableLength();
    const std::size_t start = bytes_.offset();
    if (type == metaText || type == metaMarker) {
      const auto kind = type == metaText ? MidiFileText::Kind::text : MidiFileText::Kind::marker;
      score_.events.push_back({tick_, MidiFileText{kind, bytes_.text(length)}});
      return;
    }
    if (type == metaTempo) {
      const std::uint32_t tempo = length == 3 ? bytes_.number(3) : 0;
      if (tempo == 0) {
        bytes_.failAt(start, "invalid tempo");
      }
      score_.tempoChanges.push_back({tick_, tempo});
      return;
    }
    (void)bytes_.take(length);
    ended_ = type == metaEndOfTrack;
  }

  ByteReader& bytes_;
  Score& score_;
  std::uint64_t tick_ = 0;
  std::uint8_t runningStatus_ = 0;
  bool ended_ = false;
};

/// Turns ticks into seconds, for ticks asked for in rising order.
class Timeline {
 public:
  Timeline(std::uint32_t division, std::vector<TempoChange> tempoChanges) {
    if ((division & 0x8000U) != 0) {
      const std::uint32_t framesPerSecond = 256 - (division >> 8U);
      // 29 is the name of the 30000/1001 frames of colour television.
      const bool isDropFrame = framesPerSecond == 29;
      unitsPerTick_ = isDropFrame ? 1001 : 1;
      unitsPerSecond_ = std::uint64_t{isDropFrame ? 30'000 : framesPerSecond} * (division & 0xFFU);
      return;
    }
    unitsPerTick_ = defaultTempo;
    unitsPerSecond_ = std::uint64_t{1'000'000} * division;
    tempoChanges_ = std::move(tempoChanges);
    const auto earlier = [](const auto& a, const auto& b) { return a.tick < b.tick; };
    std::stable_sort(tempoChanges_.begin(), tempoChanges_.end(), earlier);
  }

  double seconds(std::uint64_t tick) {
    while (nextChange_ < tempoChanges_.size() && tempoChanges_[nextChange_].tick <= tick) {
      advance(tempoChanges_[nextChange_].tick);
      unitsPerTick_ = tempoChanges_[nextChange_].microsecondsPerQuarter;
      ++nextChange_;
    }
    advance(tick);
    return static_cast<double>(units_) / static_cast<double>(unitsPerSecond_);
  }

 private:
  void advance(std::uint64_t tick) {
    units_ += Wide{tick - tick_} * unitsPerTick_;
    tick_ = tick;
  }

  std::vector<TempoChange> tempoChanges_;
  std::size_t nextChange_ = 0;
  std::uint64_t unitsPerSecond_ = 1;
  std::uint32_t unitsPerTick_ = 0;
  std::uint64_t tick_ = 0;
  Wide units_ = 0;
};

bool isUsableDivision(std::uint32_t division) {
  if ((division & 0x8000U) == 0) {
    return division != 0;
  }
  constexpr std::array<std::uint32_t, 4> frameRates = {24, 25, 29, 30};
  const std::uint32_t framesPerSecond = 256 - (division >> 8U);
  return (division & 0xFFU) != 0 &&
         std::find(frameRates.begin(), frameRates.end(), framesPerSecond) != frameRates.end();
}

Header readHeader(ByteReader& bytes) {
  if (bytes.text(4) != "MThd") {
    bytes.failAt(0, "not a Standard MIDI File (no MThd)");
  }
  const std::uint32_t length = bytes.number(4);
  if (length < 6) {
    bytes.failAt(4, "MThd chunk too short");
  }
  Header header;
  header.format = bytes.number(2);
  header.trackCount = bytes.number(2);
  header.division = bytes.number(2);
  if (header.format > 1) {
    bytes.failAt(8, header.format == 2 ? "format 2 (independent tracks) is not supported" : "unknown format");
  }
  if (!isUsableDivision(header.division)) {
    bytes.failAt(12, "invalid time division");
  }
  (void)bytes.take(bytes.ok() ? length - 6 : 0);
  return header;
}

/// Reads chunks until all announced tracks are there. What follows them is ignored.
std::optional<Error> readTracks(std::span<const std::uint8_t> bytes, ByteReader& chunks, std::uint32_t trackCount,
                                Score& score) {
  for (std::uint32_t found = 0; found < trackCount && chunks.ok();) {
    if (chunks.remaining() == 0) {
      chunks.failAt(chunks.offset(), "unexpected end of file after " + std::to_string(found) + " of " +
                                         std::to_string(trackCount) + " tracks");
      break;
    }
    const std::string name = chunks.text(4);
    const std::uint32_t length = chunks.number(4);
    const std::size_t begin = chunks.offset();
    (void)chunks.take(length);
    if (chunks.ok() && name == "MTrk") {
      ByteReader content(bytes, begin, begin + length);
      TrackReader(content, score).read();
      if (!content.ok()) {
        return content.failure();
      }
      ++found;
    }
  }
  return chunks.failure();
}

}  // namespace

Result<MidiFile> readStandardMidiFile(std::span<const std::uint8_t> bytes) {
  ByteReader chunks(bytes, 0, bytes.size());
  const Header header = readHeader(chunks);
  Score score;
  if (auto failure = readTracks(bytes, chunks, header.trackCount, score)) {
    return *std::move(failure);
  }
  std::stable_sort(score.events.begin(), score.events.end(),
                   [](const TickedEvent& a, const TickedEvent& b) { return a.tick < b.tick; });
  Timeline timeline(header.division, std::move(score.tempoChanges));
  MidiFile file;
  file.events.reserve(score.events.size());
  for (TickedEvent& event : score.events) {
    file.events.push_back({timeline.seconds(event.tick), std::move(event.content)});
  }
  file.lengthSeconds = timeline.seconds(score.lengthTicks);
  return file;
}

}  // namespace vrel
