// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "system/audio/node_processor.h"

namespace vrel::audio {

/// The memory of all connections of an engine: buffers of one block each, numbered from 0. It only
/// grows, and a buffer never moves, so a plan that is still being rendered keeps its buffers while
/// the next one is compiled. Plans share them: only one renders at a time. Main thread.
class BufferArena {
 public:
  /// The buffer with this number; made when it is the first time that it is asked for.
  [[nodiscard]] float* buffer(std::size_t number);

 private:
  // An odd number of cache lines: block starts spread over the cache instead of meeting in one place.
  static constexpr std::size_t strideFloats = maximumBlockFrames + 16;
  static_assert((strideFloats / 16) % 2 == 1 && strideFloats % 16 == 0);

  struct alignas(64) Buffer {
    std::array<float, strideFloats> samples{};
  };

  static constexpr std::size_t buffersPerChunk = 16;
  using Chunk = std::array<Buffer, buffersPerChunk>;

  std::vector<std::unique_ptr<Chunk>> chunks_;
};

}  // namespace vrel::audio
