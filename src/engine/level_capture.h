// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

namespace vrel {

class AudioChannel;
class AudioNodeFactory;
class AVAudioEngine;
class HostClock;
class MainQueue;
class MixLevels;
class RepeatingTimer;
struct Strips;

/// Catches what is heard for the meters: raw peaks on the tap threads, displayed peaks with their
/// decay on the main thread.
///
/// A tap sees the signal ahead of its mixer's level, so the level is multiplied in here. Tap blocks
/// hold the channel weakly and touch nothing of it but the raw peaks (under `meterLock`) and
/// `meterLevel`; everything else is for the main thread.
class LevelCapture {
 public:
  LevelCapture(const Strips& strips, const MixLevels& levels, AVAudioEngine& engine, AudioNodeFactory& nodes,
               HostClock& clock);
  ~LevelCapture();

  /// Makes the meter node if there is none, and its tap if there is none.
  void installMeterTap(AudioChannel& channel);
  void removeMeterTap(AudioChannel& channel);

  /// The tap of the master, on the main mixer, for the engine's whole life.
  void installMainMixerTap();

  /// Raises the raw peaks of a preloaded playback to the file's peak at the playing position.
  void feedPlaybackMeter(AudioChannel& channel);

  /// 60 times a second: playback meters, then a peak of p falls to 0.9 p - 0.01.
  void startMeterDecayTimer(MainQueue& mainQueue);

 private:
  void decayPeaks();

  const Strips& strips_;
  const MixLevels& levels_;
  AVAudioEngine& engine_;
  AudioNodeFactory& nodes_;
  HostClock& clock_;
  std::unique_ptr<RepeatingTimer> decayTimer_;
};

}  // namespace vrel
