// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "foundation/result.h"

namespace vrel::render {

/// A file with one JSON object a line, in the order of occurrence:
///
///   {"t":seconds,"kind":"midi","channel":strip,"status":byte,"data1":byte,"data2":byte}
///   {"t":seconds,"kind":"status","channel":strip,"status":"text"}
///   {"t":seconds,"kind":"song","index":index}
///   {"t":seconds,"kind":"sandbox","channel":strip,"pid":process}   a plug-in with a process of its own
///   {"t":seconds,"kind":"crash","channel":strip,"pid":process}     that process has ended by itself
///   {"t":seconds,"kind":"clip","channel":strip,"note":note,"opacity":1 or 0}   a clip starts, or begins to fade
///
/// The channel of an effect of the master is null. Seconds are those of the show and read back exactly. A failed write
/// is told by `close`.
class EventLog {
 public:
  /// Creates the file, in place of what was there.
  [[nodiscard]] static Result<EventLog> create(const std::string& path);

  void midi(double seconds, std::size_t strip, std::uint8_t status, std::uint8_t data1, std::uint8_t data2);
  void status(double seconds, std::size_t strip, const std::string& text);
  void song(double seconds, std::size_t index);
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
