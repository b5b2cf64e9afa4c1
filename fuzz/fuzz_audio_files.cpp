// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes are opened as an audio file, or refused in words. What opens is read in pieces from its start, from its
// middle and from behind its end, and keeps to what it said of itself.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "memory_file.h"
#include "system/media/audio_files.h"

namespace {

void require(bool holds, const char* words) {
  if (!holds) {
    std::fprintf(stderr, "%s\n", words);
    std::abort();
  }
}

void readSome(vrel::AVAudioFile& file, vrel::AVAudioPCMBuffer& buffer, std::int64_t from) {
  constexpr int pieces = 4;
  file.setFramePosition(from);
  require(file.framePosition() == from, "it is not where it was sent");
  for (int piece = 0; piece < pieces; ++piece) {
    const auto before = file.framePosition();
    if (file.readIntoBuffer(buffer, buffer.frameCapacity())) {
      return;
    }
    require(buffer.frameLength <= buffer.frameCapacity(), "more frames than were asked for");
    require(file.framePosition() == before + buffer.frameLength, "frames and position do not agree");
    require(file.framePosition() <= std::max(file.length(), from), "frames behind the end");
  }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer looks for this name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MemoryFile bytes(data, size);
  require(bytes.isWhole(), "no memory for the file");
  vrel::system::AudioFiles files;
  const auto opened = files.openForReading(bytes.path());
  if (!opened) {
    require(!opened.error().description.empty(), "a failure without words");
    return 0;
  }
  auto& file = *opened.value();
  const auto format = file.processingFormat();
  require(format.sampleRate > 0 && format.channelCount >= 1 && file.length() >= 0, "this can not be played");
  constexpr std::uint32_t pieceFrames = 777;
  const auto buffer = files.makePCMBuffer(format, pieceFrames);
  require(buffer != nullptr, "no memory for a piece");
  readSome(file, *buffer, 0);
  readSome(file, *buffer, file.length() / 2);
  readSome(file, *buffer, file.length());
  return 0;
}
