// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "document/setlist.h"
#include "foundation/result.h"

namespace vrel {

class AudioChannel;
class AudioFileFactory;
class AudioNodeFactory;
class AVAudioEngine;
class ChannelChains;
class ConsoleOutput;
class GraphMutator;
class InstrumentLoader;
class MixLevels;
class PlaybackCache;
struct PreparedPlayback;

/// Gives a channel an audio file to play. The file is opened and its range read before the graph is
/// touched, or taken from the cache; with a cache, what is not there is streamed; what is missing leaves the channel
/// without a player, with its status and a line. Main thread.
class PlaybackLoader {
 public:
  struct Collaborators {
    AudioFileFactory* files;  // null where the program reads no audio files
    AudioNodeFactory& nodes;
    AVAudioEngine& engine;
    GraphMutator& mutator;
    ChannelChains& chains;
    MixLevels& levels;
    InstrumentLoader& instruments;
    ConsoleOutput& console;
    PlaybackCache* cache;  // null where files are read when they are loaded
  };

  explicit PlaybackLoader(const Collaborators& collaborators)
      : files_(collaborators.files),
        nodes_(collaborators.nodes),
        engine_(collaborators.engine),
        mutator_(collaborators.mutator),
        chains_(collaborators.chains),
        levels_(collaborators.levels),
        instruments_(collaborators.instruments),
        console_(collaborators.console),
        cache_(collaborators.cache) {}

  /// Loads what the record says: file, range, loop and stop mode.
  void loadPlaybackInstrument(AudioChannel& channel, const ChannelConfig& record);

  /// The same with what the channel has; nothing when it names no file.
  void loadAgain(AudioChannel& channel);

 private:
  [[nodiscard]] Result<PreparedPlayback> prepare(const ChannelConfig& record);
  void install(AudioChannel& channel, const ChannelConfig& record, const PreparedPlayback& prepared);

  AudioFileFactory* files_;  // null where the program reads no audio files
  AudioNodeFactory& nodes_;
  AVAudioEngine& engine_;
  GraphMutator& mutator_;
  ChannelChains& chains_;
  MixLevels& levels_;
  InstrumentLoader& instruments_;
  ConsoleOutput& console_;
  PlaybackCache* cache_;  // null where files are read when they are loaded
};

}  // namespace vrel
