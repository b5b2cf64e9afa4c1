// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "channel/channel_status.h"
#include "channel/playback_run_view.h"
#include "document/plugin_path.h"
#include "document/setlist.h"
#include "foundation/mutex.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "platform/audio_buffer.h"
#include "platform/audio_node.h"
#include "platform/audio_unit.h"

namespace vrel {

class AudioChannel;
class AVAudioFile;

/// What a channel notifies by itself: that a value was assigned on which the mix depends.
class ChannelMixer {
 public:
  virtual ~ChannelMixer() = default;
  virtual void applyMixerLevels() = 0;
  virtual void applyReverbMix(AudioChannel& channel) = 0;
};

/// The live object behind one channel strip, and behind the master.
///
/// It holds values and nodes and does no audio work. `pluginPath` alone says what it plays,
/// but only the engine's load and unload operations change what sounds; assigning the path drives
/// nothing. Values are not limited here; each user limits what it reads.
///
/// Threads: main thread, but for the raw peaks, which are under `meterLock`, `meterLevel` and `playbackRunView`.
/// Ownership: the engine's list owns the channels, a channel owns its nodes beside the graph, and
/// `engine` is weak; a channel whose engine has gone takes all assignments and does nothing more.
class AudioChannel : public std::enable_shared_from_this<AudioChannel> {
 public:
  /// Makes no node and touches no graph.
  AudioChannel(std::string channelName, std::weak_ptr<ChannelMixer> owner);

  const Uuid id = Uuid::fresh();
  Observable<std::string> name;

  // Assigning any of these five re-applies the mix, equal value or not: a solo can change the level
  // of every other strip.
  Observable<float> volume{0.8F};  // fader position, 0 to 1
  Observable<float> gain{0.5F};    // gain position, 0 to 1; 0.5 is 0 decibels
  Observable<float> reverb{0.0F};  // send position, 0 to 1
  Observable<bool> mute{false};
  Observable<bool> solo{false};

  Observable<std::string> pluginPath;
  Observable<std::string> pluginName;
  Observable<ChannelStatus> status{ChannelStatus::noPlugin};
  Observable<bool> isRinging{false};                          // sounds on, off the stage, once the next song is there
  Observable<std::vector<float>> color{{1.0F, 0.33F, 0.0F}};  // red, green, blue, 0 to 1

  // Read by the router at each message.
  Observable<std::uint8_t> minNote{0};
  Observable<std::uint8_t> maxNote{127};
  Observable<std::int8_t> transpose{0};  // semitones
  Observable<bool> sendSustain{true};
  Observable<bool> sendExpression{true};
  Observable<bool> sustainControlsRotor{false};

  Observable<std::vector<AudioPluginSlot>> effectSlots;  // in signal order

  Observable<std::string> playbackFilePath;
  Observable<bool> playbackLoop{false};
  Observable<double> playbackStartTime{0};  // seconds
  Observable<double> playbackEndTime{0};    // seconds
  Observable<PlaybackStopMode> playbackStopMode;
  Observable<std::vector<VisualClipMapping>> visualClipMappings;
  Observable<bool> playbackIsPlaying{false};
  Observable<bool> playbackStopRequested{false};
  Observable<std::optional<Uuid>> playbackRunToken;
  Observable<std::optional<double>> playbackMeterStartedAt;             // media time, seconds
  Observable<std::vector<std::pair<float, float>>> playbackMeterPeaks;  // left, right

  /// What the player queue sees of the run: follows the token, the stop request and the loop.
  const std::shared_ptr<PlaybackRunView> playbackRunView = std::make_shared<PlaybackRunView>();

  Observable<float> peakL{0};  // displayed peaks, linear
  Observable<float> peakR{0};

  Mutex meterLock;
  float rawMeterPeakL VREL_GUARDED_BY(meterLock) = 0;
  float rawMeterPeakR VREL_GUARDED_BY(meterLock) = 0;

  /// The level that `applyMixerLevels` last gave this channel, for the tap that must show what is
  /// heard. Written on the main thread, read on the tap's.
  std::atomic<float> meterLevel{0};

  Observable<std::shared_ptr<AVAudioNode>> instrumentNode;
  std::uint64_t instrumentRequests = 0;  // what the strip was asked to play; a load that ends after a later one is late

  /// What is left of an instrument that has died: what it was and its last state. Holds while the path is the same,
  /// until the next instrument is installed.
  struct LostState {
    std::string pluginPath;
    std::string stateBase64;
  };
  std::optional<LostState> lostState;

  Observable<std::shared_ptr<AVAudioPCMBuffer>> playbackBuffer;
  Observable<std::shared_ptr<AVAudioFile>> playbackFile;
  Observable<double> playbackFileDuration{0};  // seconds
  Observable<std::int64_t> playbackStartFrame{0};
  Observable<std::uint32_t> playbackFrameCount{0};
  Observable<std::map<Uuid, std::shared_ptr<AVAudioUnit>>> effectNodes;  // by the slot's id
  Observable<std::set<Uuid>> failedEffects;  // slots whose effect has died or could not be loaded
  Observable<std::shared_ptr<AVAudioUnitReverb>> reverbNode;
  Observable<std::shared_ptr<AVAudioMixerNode>> meterNode;
  Observable<bool> meterTapInstalled{false};

  const std::weak_ptr<ChannelMixer> engine;

  /// Makes the playback idle. The player is not touched.
  void endPlaybackRun();

  /// The state that an instrument which has died left to this path.
  [[nodiscard]] std::optional<SharedText> lostStateBase64() const;

  /// The form of `pluginPath`.
  [[nodiscard]] PluginPathKind pluginKind() const { return pluginPathKind(pluginPath.get()); }

  /// The instrument as something that is played; null for an empty, playback or visual channel.
  [[nodiscard]] AVAudioUnitMIDIInstrument* midiInstrument() const;
};

}  // namespace vrel
