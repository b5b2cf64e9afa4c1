// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>

#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "visuals/visual_engine.h"

namespace vrel {
class AudioEngine;
namespace system {
class OfflineClock;
}  // namespace system
}  // namespace vrel

namespace vrel::render {

class EventLog;

/// Logs whenever a clip starts or begins to fade. Main thread.
class ClipRecorder {
 public:
  /// All are borrowed; without a log it does nothing.
  ClipRecorder(AudioEngine& engine, const system::OfflineClock& clock, EventLog* log);
  ClipRecorder(const ClipRecorder&) = delete;
  ClipRecorder& operator=(const ClipRecorder&) = delete;

 private:
  void follow(const VrelVisualEngine::Players& players);
  [[nodiscard]] std::optional<std::size_t> stripOf(const VrelVisualClipPlayer& player) const;

  AudioEngine& engine_;
  const system::OfflineClock& clock_;
  EventLog* log_;
  std::map<Uuid, Signal<const double&>::Connection> opacities_;  // of the clips that are shown
  Signal<const VrelVisualEngine::Players&>::Connection players_;
};

}  // namespace vrel::render
