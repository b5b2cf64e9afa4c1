// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace vrel {

using FileBytes = std::vector<std::uint8_t>;

/// Writes the events of one track. Times are ticks since the event before.
class TrackWriter {
 public:
  /// Bytes as given, be they an event or not.
  TrackWriter& raw(std::uint32_t delta, std::initializer_list<std::uint8_t> bytes) {
    variableLength(delta);
    bytes_.insert(bytes_.end(), bytes);
    return *this;
  }

  TrackWriter& note(std::uint32_t delta, std::uint8_t number) { return raw(delta, {0x90, number, 100}); }

  TrackWriter& tempo(std::uint32_t delta, std::uint32_t microsecondsPerQuarter) {
    return raw(delta, {0xFF, 0x51, 3, byteOf(microsecondsPerQuarter, 16), byteOf(microsecondsPerQuarter, 8),
                       byteOf(microsecondsPerQuarter, 0)});
  }

  TrackWriter& meta(std::uint32_t delta, std::uint8_t type, std::string_view text) {
    raw(delta, {0xFF, type});
    variableLength(static_cast<std::uint32_t>(text.size()));
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    return *this;
  }

  TrackWriter& end(std::uint32_t delta = 0) { return raw(delta, {0xFF, 0x2F, 0}); }

  [[nodiscard]] const FileBytes& bytes() const { return bytes_; }

  static std::uint8_t byteOf(std::uint32_t value, unsigned shift) { return static_cast<std::uint8_t>(value >> shift); }

 private:
  void variableLength(std::uint32_t value) {
    for (unsigned shift = 28; shift > 0; shift -= 7) {
      if ((value >> shift) != 0) {
        bytes_.push_back(static_cast<std::uint8_t>(0x80U | ((value >> shift) & 0x7FU)));
      }
    }
    bytes_.push_back(static_cast<std::uint8_t>(value & 0x7FU));
  }

  FileBytes bytes_;
};

/// Puts a MIDI file together. What the header announces need not be true.
class MidiFileWriter {
 public:
  MidiFileWriter(std::uint16_t format, std::uint16_t trackCount, std::uint16_t division) {
    chunk("MThd",
          {TrackWriter::byteOf(format, 8), TrackWriter::byteOf(format, 0), TrackWriter::byteOf(trackCount, 8),
           TrackWriter::byteOf(trackCount, 0), TrackWriter::byteOf(division, 8), TrackWriter::byteOf(division, 0)});
  }

  MidiFileWriter& track(const TrackWriter& track) { return chunk("MTrk", track.bytes()); }

  MidiFileWriter& chunk(std::string_view name, const FileBytes& content) {
    return chunk(name, content, static_cast<std::uint32_t>(content.size()));
  }

  MidiFileWriter& chunk(std::string_view name, const FileBytes& content, std::uint32_t announcedLength) {
    bytes_.insert(bytes_.end(), name.begin(), name.end());
    for (unsigned shift = 32; shift > 0; shift -= 8) {
      bytes_.push_back(TrackWriter::byteOf(announcedLength, shift - 8));
    }
    bytes_.insert(bytes_.end(), content.begin(), content.end());
    return *this;
  }

  [[nodiscard]] const FileBytes& bytes() const { return bytes_; }

 private:
  FileBytes bytes_;
};

}  // namespace vrel
