// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "foundation/result.h"
#include "system/audio/device_event.h"

namespace vrel::audio {

class TimedEvents;

/// What a device plays: the engine, seen from below.
class BlockRenderer {
 public:
  virtual ~BlockRenderer() = default;

  /// Fills both channels with the next `frameCount` frames, any number from 1. Takes the audio role on
  /// the calling thread; never from two threads at a time.
  virtual void render(float* left, float* right, std::uint32_t frameCount) noexcept = 0;

  /// The same, with what MIDI sources have sent for these frames, by frame. Marks what the instruments have got; the
  /// rest is for the main thread to route.
  virtual void renderWithEvents(float* left, float* right, std::uint32_t frameCount,
                                std::span<DeviceEvent> /*events*/) noexcept {
    render(left, right, frameCount);
  }

  /// Delivers what waits for the end of a block. Called after each block, and outside the audio
  /// role, by a device that is not in real time; a real one never calls it.
  virtual void pump() = 0;
};

/// Where the sound goes. Main thread, except for what it calls.
///
/// Order of calls: `prepare`, `start`, then any number of blocks are asked for, then `stop`. Bigger blocks
/// than the graph takes are split there, not here.
class OutputDevice {
 public:
  virtual ~OutputDevice() = default;

  /// Takes over settings that were changed, and a device of another rate that has been found; it has stopped then, if
  /// that could not be done while it runs.
  [[nodiscard]] virtual Outcome prepare() { return {}; }

  /// `handler` is called on the main thread when a device of another sample rate waits for the next `prepare`.
  virtual void setRateHandler(std::function<void()> /*handler*/) {}

  /// Frames per second, and the usual size of a block. Fixed while it runs, but for a block size that
  /// others who share the device may change.
  [[nodiscard]] virtual double sampleRate() const = 0;
  [[nodiscard]] virtual std::uint32_t blockFrames() const = 0;

  /// Whether blocks are due at fixed times, so that a late one is heard.
  [[nodiscard]] virtual bool isRealTime() const = 0;

  [[nodiscard]] virtual bool isRunning() const = 0;

  /// What MIDI sources with a clock of their own send for the blocks; null where there are none.
  [[nodiscard]] virtual std::shared_ptr<TimedEvents> timedEvents() const { return nullptr; }

  /// Begins to ask `renderer` for blocks. It must outlive the run. An error when the device cannot
  /// be opened, or already runs.
  [[nodiscard]] virtual Outcome start(BlockRenderer& renderer) = 0;

  /// Once it has returned, no block is asked for any more. Nothing when not running.
  virtual void stop() = 0;
};

}  // namespace vrel::audio
