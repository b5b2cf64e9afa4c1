// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "console/window/meter_board.h"
#include "console/window_feel.h"
#include "vrel/application.h"
#include "vrel/session.h"

class QQuickWindow;

namespace vrel::app::bench {

/// The real program, on the JACK server of the environment, with a song of `strips` strips on stage, each with an
/// instrument in a process of its own.
///
/// Created on Qt's thread. Without Qt's event loop there is no window, and one mirror batch stays queued.
class NoteLatencyStage {
 public:
  /// Waits on Qt's thread until `holds`; false on a timeout.
  using WaitUntil = std::function<bool(const std::function<bool()>& holds)>;

  /// Returns when all instruments are loaded; throws on a timeout.
  NoteLatencyStage(std::size_t strips, WaitUntil waitUntil);

  /// Called on the logic's thread for every event that is sent to the last strip's instrument.
  void watchLastStrip(std::function<void()> onEvent);

  /// Posts a message to the main queue as `MidiInput` does; `before` is called there right before it is routed. Any
  /// thread.
  void post(std::uint8_t status, std::uint8_t data1, std::uint8_t data2, std::function<void()> before);

  /// Stops the processes of the first strips' instruments, and returns when all of them are behind with their blocks.
  void hang(std::size_t strips);

  /// Captures the song on stage, as a save does. Returns how long that took on the logic's thread, milliseconds. Any
  /// thread.
  double capture();

  /// Brings back what has crashed, and returns when all instruments are loaded.
  void reviveAll();

  /// The number of meters that changed since the last call. Any one thread.
  [[nodiscard]] std::size_t movedMeters();

  /// Emits `frame` for each of the window's frames.
  [[nodiscard]] window::MeterBoard* meterFrames() { return program_.window.model().meters(); }

  /// Null without a window.
  [[nodiscard]] QQuickWindow* window() { return program_.window.quickWindow(); }
  [[nodiscard]] bool isEveryStripVisible();
  /// A press on the mute button of a strip, which must be visible.
  [[nodiscard]] Press pressMute(std::size_t strip);

 private:
  template <typename T>
  T onLogic(const std::function<T(Session&)>& ask) {
    auto answer = std::make_shared<std::promise<T>>();
    program_.logic.postToSession([answer, ask](Session& session) { answer->set_value(ask(session)); });
    return answer->get_future().get();
  }

  void putOnStage(std::size_t strips);

  struct Meter {
    std::shared_ptr<MeterCell> cell;
    float shown = 0;
  };

  const WaitUntil waitUntil_;
  Application program_;
  AudioEngine* engine_ = nullptr;  // the logic's
  std::vector<Meter> meters_;
};

}  // namespace vrel::app::bench
