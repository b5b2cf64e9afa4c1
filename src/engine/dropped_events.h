// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <memory>

namespace vrel {

class AVAudioNode;
class ConsoleOutput;
class MIDIService;
struct Strips;

/// Logs which MIDI events found no room, those of instruments with the number of their strip. Main thread.
class DroppedEvents {
 public:
  /// `midi` may be null. All is borrowed.
  DroppedEvents(const Strips& strips, const MIDIService* midi, ConsoleOutput& console)
      : strips_(strips), midi_(midi), console_(console) {}

  /// A line for each count that has grown since the last call. To be called once a second or so.
  void report();

 private:
  const Strips& strips_;
  const MIDIService* const midi_;
  ConsoleOutput& console_;
  std::map<std::weak_ptr<const AVAudioNode>, std::uint64_t, std::owner_less<>> reported_;
  std::uint64_t reportedOfInput_ = 0;
};

}  // namespace vrel
