// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "foundation/result.h"
#include "playback/playback_range.h"

namespace vrel {

class AudioFileFactory;
class AVAudioFile;
class AVAudioPCMBuffer;
class ConsoleOutput;

/// A file that is ready to be played: everything that has to be read for it is read.
struct PreparedPlayback {
  std::shared_ptr<AVAudioFile> file;         // never null
  std::shared_ptr<AVAudioPCMBuffer> buffer;  // the range in memory; null when it can only stream
  double duration = 0;                       // of the whole file, seconds
  PlaybackRange range;
  std::vector<std::pair<float, float>> meterPeaks;  // empty without a buffer
};

/// Opens the file for a range between two times, in seconds, to be streamed. Fails when it cannot be opened.
[[nodiscard]] Result<PreparedPlayback> openPlayback(AudioFileFactory& files, const std::string& path, double start,
                                                    double end);

/// Opens the file and reads the range between two times, in seconds. Fails only when it cannot be
/// opened; a range that cannot be read is logged.
[[nodiscard]] Result<PreparedPlayback> preparePlayback(AudioFileFactory& files, const std::string& path, double start,
                                                       double end, ConsoleOutput& console);

}  // namespace vrel
