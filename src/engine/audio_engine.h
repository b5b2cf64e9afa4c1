// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/audio_device_settings.h"
#include "engine/channel_chains.h"
#include "engine/dropped_events.h"
#include "engine/effect_racks.h"
#include "engine/engine_platform.h"
#include "engine/graph_mutator.h"
#include "engine/host_musical_context.h"
#include "engine/instrument_loader.h"
#include "engine/instrument_routes.h"
#include "engine/level_capture.h"
#include "engine/mix_levels.h"
#include "engine/playback_loader.h"
#include "engine/plugin_crash_handler.h"
#include "engine/plugin_pool.h"
#include "engine/plugin_state.h"
#include "engine/ringing_strips.h"
#include "engine/strips.h"
#include "midi/midi_input.h"
#include "midi/midi_router.h"
#include "playback/playback_cache.h"
#include "playback/playback_runs.h"
#include "visuals/visual_engine.h"

namespace vrel {

/// The one engine of the process: the strips of the song on stage, the master, and what plays them.
///
/// A facade: it owns the parts, ensures their construction order, adds and removes strips, and forwards
/// everything else to the responsible part. The parts are accessible by their own names, e.g.
/// `engine.instruments().loadInstrument(...)`.
///
/// Threads: main thread. The platform engine starts on the first turn of the main queue after
/// `make`, not in it. A failed start or restart leaves a stopped engine, silent and inert, and is
/// logged and kept in `lastEngineStartError`.
class AudioEngine : public ChannelMixer, public std::enable_shared_from_this<AudioEngine> {
 public:
  /// The platform is borrowed and outlives the engine.
  [[nodiscard]] static std::shared_ptr<AudioEngine> make(const EnginePlatform& platform);
  ~AudioEngine() override;
  AudioEngine(const AudioEngine&) = delete;
  AudioEngine& operator=(const AudioEngine&) = delete;

  [[nodiscard]] const std::vector<std::shared_ptr<AudioChannel>>& channels() const { return strips_.channels; }
  [[nodiscard]] const std::shared_ptr<AudioChannel>& masterChannel() const { return strips_.masterChannel; }
  [[nodiscard]] const std::vector<std::shared_ptr<AudioChannel>>& ringingChannels() const { return strips_.ringing; }
  [[nodiscard]] AVAudioEngine& engine() { return *engine_; }
  [[nodiscard]] const Outcome& lastEngineStartError() const { return mutator_.lastEngineStartError(); }

  [[nodiscard]] GraphMutator& graph() { return mutator_; }
  [[nodiscard]] ChannelChains& chains() { return chains_; }
  [[nodiscard]] MixLevels& levels() { return levels_; }
  [[nodiscard]] LevelCapture& levelCapture() { return levelCapture_; }
  [[nodiscard]] PluginPool& pluginPool() { return *pool_; }
  [[nodiscard]] PluginState& pluginState() { return pluginState_; }
  [[nodiscard]] HostMusicalContext& musicalContext() { return *musicalContext_; }
  [[nodiscard]] InstrumentLoader& instruments() { return instruments_; }
  [[nodiscard]] PlaybackLoader& playbackLoader() { return playbackLoader_; }
  [[nodiscard]] PlaybackRuns& playbackRuns() { return playbackRuns_; }
  [[nodiscard]] VrelVisualEngine& visualEngine() { return visualEngine_; }
  [[nodiscard]] EffectRacks& effects() { return effects_; }
  [[nodiscard]] MidiRouter& midiRouter() { return router_; }

  /// Null where the platform has no devices, or no MIDI.
  [[nodiscard]] AudioDeviceSettings* deviceSettings() { return deviceSettings_ ? &*deviceSettings_ : nullptr; }
  [[nodiscard]] MidiInput* midiInput() { return midiInput_ ? &*midiInput_ : nullptr; }

  /// Set by the interface when it first appears.
  MidiRouter::Callbacks midiCallbacks;

  /// Starts the platform engine if it does not run; reasons "routeMIDI" and "panic" never start it.
  bool ensureEngineRunning(const std::string& reason);
  /// The output devices that can be chosen, by name.
  [[nodiscard]] std::vector<AudioOutputDevice> availableOutputDevices();
  /// Block size in frames, and the saved device or none for the system's default; see AudioDeviceSettings.
  void applyAudioSettings(std::uint32_t frameSize, const std::optional<std::string>& deviceUID);

  /// The song's tempo, limited to 20 to 300, with no jump of the plug-ins' beat.
  void setTempo(std::uint32_t bpm) { musicalContext_->setTempo(bpm); }

  /// The process of this plug-in has ended by itself; `how` is for the log. To be called once, on the main thread.
  void pluginDied(const std::shared_ptr<AVAudioNode>& node, const std::string& how) { deaths_.pluginDied(node, how); }

  /// Logs the MIDI events that have been dropped since the last call. To be called once a second or so.
  void reportDroppedEvents() { droppedEvents_.report(); }

  void performGraphMutation(const std::string& label, const std::function<void()>& body);

  /// Decodes what these playback channels play, the first ones first, and drops the rest. Nothing on a platform that
  /// does not decode ahead.
  void decodeAhead(const std::vector<const ChannelConfig*>& tracks);

  /// A new strip at the end, with reverb and meter, in the next of seven colours.
  std::shared_ptr<AudioChannel> addChannel(const std::string& name);

  /// Moves the strip at `from` before the one at `to`, both counted as they stand now. Changes no sound. Nothing for
  /// positions out of range; `to` may be the number of strips.
  void moveChannel(std::size_t from, std::size_t to);

  /// Takes the strip with the same id out, with all its nodes; its plug-in goes back to the pool.
  void removeChannel(const AudioChannel& channel);

  /// Takes out all strips and the master's effects, and those that still ring. Leaves the levels to the caller. Those
  /// that can ring go on beside what comes for at most so long; see RingingStrips.
  void removeAllChannels(double secondsToRing = 0);

  void routeMIDI(std::uint8_t status, std::uint8_t data1, std::uint8_t data2);
  void sendPerformanceMIDI(std::uint8_t status, std::uint8_t data1, std::uint8_t data2);
  void panic();

  void applyMixerLevels() override;
  void applyReverbMix(AudioChannel& channel) override;

 private:
  explicit AudioEngine(const EnginePlatform& platform);
  void begin();
  void followOutputRate();
  void followOutputDevice();
  void takeDown(AudioChannel& channel);
  void takeDownRung(const RingingStrips::Channels& rung);

  EnginePlatform platform_;
  std::unique_ptr<AVAudioEngine> engine_;
  Strips strips_;
  std::unique_ptr<PluginPool> pool_;
  GraphMutator mutator_;
  MixLevels levels_;
  LevelCapture levelCapture_;
  ChannelChains chains_;
  PluginState pluginState_;
  std::shared_ptr<HostMusicalContext> musicalContext_;
  VrelVisualEngine visualEngine_;
  InstrumentLoader instruments_;
  std::unique_ptr<PlaybackCache> playbackCache_;
  PlaybackLoader playbackLoader_;
  EffectRacks effects_;
  RingingStrips ringing_;
  PluginCrashHandler deaths_;
  DroppedEvents droppedEvents_;
  MidiRouter router_;
  InstrumentRoutes routes_;
  double outputRate_ = 0;  // frames per second, at the last start
  std::optional<AudioDeviceSettings> deviceSettings_;
  std::optional<MidiInput> midiInput_;
  PlaybackRuns playbackRuns_;
};

}  // namespace vrel
