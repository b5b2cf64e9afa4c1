// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>

namespace vrel {

/// An instrument that reports the events it is given by the main thread; what is routed on the audio thread is not
/// among them. For a log of a performance; an instrument node that offers it also derives from this class, and whoever
/// wants the log looks for it.
class ObservableInstrument {
 public:
  using EventObserver = std::function<void(std::uint8_t status, std::uint8_t data1, std::uint8_t data2)>;

  virtual ~ObservableInstrument() = default;

  /// Calls `observer` for every event that goes into the instrument, in order, on the main thread and
  /// before `sendMIDIEvent` returns. Replaces the one before; an empty one ends it. Main thread.
  virtual void setEventObserver(EventObserver observer) = 0;
};

}  // namespace vrel
