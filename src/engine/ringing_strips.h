// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "foundation/life_token.h"
#include "foundation/uuid.h"

namespace vrel {

class AudioChannel;
class HostClock;
class MainQueue;
struct Strips;

/// Strips of the song that went, which sound on beside the next song: instrument, effects, reverb and level as they
/// were, and of what is played only what ends their notes.
///
/// They are in `Strips::ringing` and nowhere else: not shown, not stored, not controlled. Their instruments are not in
/// the pool, so the next song never has one of them. A strip ends when it has been silent for a while, and at the
/// latest when the time is over, for which the rest fades. Strips of one song ring at a time, so that memory and
/// processor stay bounded. Main thread.
class RingingStrips {
 public:
  using Channels = std::vector<std::shared_ptr<AudioChannel>>;

  /// A strip is silent when nothing louder than -100 decibels has left it for so long, longer than an echo pauses.
  static constexpr float silentLevel = 1e-5F;
  static constexpr double silentSeconds = 2.0;

  /// For how long a strip that still sounds fades before its time is over, but for half of that time at most.
  static constexpr double longestFade = 0.5;

  struct Collaborators {
    Strips& strips;
    MainQueue& mainQueue;
    const HostClock& clock;
    std::function<void(const Channels&)> takeDown;  // gets those that have ended, which are in no list any more
  };

  /// All are borrowed.
  explicit RingingStrips(Collaborators collaborators);

  /// Whether the strip has an instrument that is heard. Audio files end with their song: a track does not die away, and
  /// a loop would never end. Clips have no sound.
  [[nodiscard]] static bool canRing(const AudioChannel& channel);

  /// The strips in `Strips::ringing`, from now on for `seconds`. They have been moved there since the last `end`.
  void begin(double seconds);

  /// Ends all of them, or one.
  void end();
  void end(const std::shared_ptr<AudioChannel>& channel);

 private:
  void takeOut(const Channels& gone);
  void look();
  void lookAgain(double secondsLeft);
  void endSilent();
  void fade(double secondsLeft);

  Strips& strips_;
  MainQueue& mainQueue_;
  const HostClock& clock_;
  const std::function<void(const Channels&)> takeDown_;
  double endsAt_ = 0;
  double fadeSeconds_ = 0;
  std::uint64_t turn_ = 0;          // of `begin` and `end`; what was to look for an earlier one is late
  std::map<Uuid, double> heardAt_;  // by strip
  LifeToken life_;
};

}  // namespace vrel
