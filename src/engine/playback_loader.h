// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "document/setlist.h"

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
struct PreparedPlayback;

/// Gives a channel an audio file to play. The file is opened and its range read before the graph is
/// touched; what is missing leaves the channel without a player, with its status and a line. Main thread.
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
  };

  explicit PlaybackLoader(const Collaborators& collaborators) : with_(collaborators) {}

  /// Loads what the record says: file, range, loop and stop mode.
  void loadPlaybackInstrument(AudioChannel& channel, const ChannelConfig& record);

  /// The same with what the channel has; nothing when it names no file.
  void loadAgain(AudioChannel& channel);

 private:
  void install(AudioChannel& channel, const ChannelConfig& record, const PreparedPlayback& prepared);

  Collaborators with_;
};

}  // namespace vrel
