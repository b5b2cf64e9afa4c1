// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <vector>

#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "platform/instrument_route.h"

namespace vrel {

class AudioChannel;
class AVAudioEngine;
struct Strips;

/// Keeps the platform's engine up to date on which instruments are played, and by which rules, so that it can route
/// what the machine's MIDI sources send without the main thread.
///
/// A change of a strip is in force from the next block on. Main thread.
class InstrumentRoutes {
 public:
  /// All is borrowed.
  InstrumentRoutes(const Strips& strips, AVAudioEngine& engine) : strips_(strips), engine_(engine) {}

  /// The strip's settings and its instrument are followed from now on, or no longer.
  void follow(AudioChannel& channel);
  void leave(const AudioChannel& channel);

  /// To be called when strips came, went or moved.
  void publish();

 private:
  const Strips& strips_;
  AVAudioEngine& engine_;
  std::vector<InstrumentRoute> published_;
  std::map<Uuid, std::vector<Signal<>::Connection>> followed_;  // by strip
};

}  // namespace vrel
