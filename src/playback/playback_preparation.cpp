// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/playback_preparation.h"

#include <utility>

#include "platform/audio_file.h"
#include "platform/console_output.h"
#include "playback/playback_envelope.h"

namespace vrel {
namespace {

// A file of its own, so that the one that plays is not moved.
Outcome readRange(AudioFileFactory& files, const std::string& path, const PlaybackRange& range,
                  AVAudioPCMBuffer& buffer) {
  const auto file = files.openForReading(path);
  if (!file) {
    return file.error();
  }
  file.value()->setFramePosition(range.startFrame);
  return file.value()->readIntoBuffer(buffer, range.frameCount);
}

}  // namespace

Result<PreparedPlayback> openPlayback(AudioFileFactory& files, const std::string& path, double start, double end) {
  auto file = files.openForReading(path);
  if (!file) {
    return file.error();
  }
  PreparedPlayback prepared;
  prepared.file = std::move(file).value();
  const AVAudioFormat format = prepared.file->processingFormat();
  prepared.duration = format.sampleRate > 0 ? static_cast<double>(prepared.file->length()) / format.sampleRate : 0;
  prepared.range = normalisedPlaybackRange(start, end, prepared.duration, format.sampleRate);
  return prepared;
}

Result<PreparedPlayback> preparePlayback(AudioFileFactory& files, const std::string& path, double start, double end,
                                         ConsoleOutput& console) {
  auto opened = openPlayback(files, path, start, end);
  if (!opened) {
    return opened;
  }
  PreparedPlayback prepared = std::move(opened).value();
  prepared.buffer = files.makePCMBuffer(prepared.file->processingFormat(), prepared.range.frameCount);
  if (prepared.buffer == nullptr) {
    return prepared;
  }
  if (const auto failure = readRange(files, path, prepared.range, *prepared.buffer)) {
    console.print("Playback file will stream from disk because preloading failed: " + failure->description);
    prepared.buffer = nullptr;
    return prepared;
  }
  prepared.meterPeaks = playbackEnvelope(*prepared.buffer);
  return prepared;
}

}  // namespace vrel
