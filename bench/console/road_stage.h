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
#include "vrel/application.h"
#include "vrel/session.h"

class QQuickWindow;

namespace vrel::app::bench {

/// The real program, on the JACK server of the environment, with a song of as many strips on stage as asked for, each
/// with an instrument in a process of its own.
///
/// It is made on Qt's thread. As long as nobody runs Qt's loop there is no window: what the logic sends it stays
/// behind, which is one batch.
class RoadStage {
 public:
  /// Lets time pass, on Qt's thread, until the answer is yes; false when that takes too long.
  using WaitUntil = std::function<bool(const std::function<bool()>& holds)>;

  /// Returns when all instruments are there. Throws when they do not come.
  RoadStage(std::size_t strips, WaitUntil waitUntil);

  /// Called on the logic's thread for every event that goes into the last strip's instrument, the last to get it.
  void watchLastStrip(std::function<void()> onEvent);

  /// Brings a message to the main queue as `MidiInput` does; `before` is called there right before it is routed. Any
  /// thread.
  void post(std::uint8_t status, std::uint8_t data1, std::uint8_t data2, std::function<void()> before);

  /// The strips whose meters show something else than when this was asked last. Any one thread.
  [[nodiscard]] std::size_t movedMeters();

  /// Tells of each of the window's frames.
  [[nodiscard]] window::MeterBoard* meterFrames() { return program_.window.model().meters(); }

  /// Null without one.
  [[nodiscard]] QQuickWindow* window() { return program_.window.quickWindow(); }
  [[nodiscard]] bool isEveryStripSeen();

 private:
  template <typename T>
  T onLogic(const std::function<T(Session&)>& ask) {
    auto answer = std::make_shared<std::promise<T>>();
    program_.logic.postToSession([answer, ask](Session& session) { answer->set_value(ask(session)); });
    return answer->get_future().get();
  }

  void putOnStage(std::size_t strips);

  struct Meter {
    std::shared_ptr<window::MeterCell> cell;
    float shown = 0;
  };

  const WaitUntil waitUntil_;
  Application program_;
  AudioEngine* engine_ = nullptr;  // the logic's
  std::vector<Meter> meters_;
};

}  // namespace vrel::app::bench
