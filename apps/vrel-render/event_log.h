// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "channel/channel_status.h"
#include "document/setlist.h"
#include "foundation/result.h"

namespace vrel::render {

/// A file with one JSON object a line, in order. Each begins with {"t":seconds,"kind":"...", and goes
/// on:
///
///   midi      "channel":strip,"status":byte,"data1":byte,"data2":byte    what an instrument received
///   status    "channel":strip,"status":"text"
///   song      "index":index                            a song comes on stage; all later strips belong to it
///   switch    "index":index,"milliseconds":n,"pendingLoads":n    the song is loaded, after so many plug-ins
///   control   "target":"word","channel":strip,"value":0 to 1,"pressed":true or false    a learned control acts
///   dirty     "dirty":true or false                    whether there are unsaved edits
///   sandbox   "channel":strip,"pid":process            a plug-in runs in this process
///   crash     "channel":strip,"pid":process            that process crashed
///   clip      "channel":strip,"note":note,"opacity":1 or 0    a clip starts, or begins to fade
///
/// The channel is null for an effect of the master and for a control of no strip. Seconds are show time and read
/// back exactly. A failed write is reported by `close`.
class EventLog {
 public:
  /// Creates or replaces the file.
  [[nodiscard]] static Result<EventLog> create(const std::string& path);

  void midi(double seconds, std::size_t strip, std::uint8_t status, std::uint8_t data1, std::uint8_t data2);
  void status(double seconds, std::size_t strip, ChannelStatus status);
  void song(double seconds, std::size_t index);
  void songSwitch(double seconds, std::size_t index, int milliseconds, int pendingLoads);
  void control(double seconds, const MidiControlTarget& target, bool isPressed, float value);
  void dirty(double seconds, bool isDirty);
  using Strip = std::optional<std::size_t>;
  void sandbox(double seconds, Strip strip, int processId);
  void crash(double seconds, Strip strip, int processId);
  void clip(double seconds, std::size_t strip, std::uint8_t note, double opacity);

  /// Completes the file.
  [[nodiscard]] Outcome close();

 private:
  EventLog(std::string path, std::ofstream file);

  std::string path_;
  std::ofstream file_;
};

}  // namespace vrel::render
