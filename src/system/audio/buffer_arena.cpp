// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/buffer_arena.h"

namespace vrel::audio {

float* BufferArena::buffer(std::size_t number) {
  while (number >= chunks_.size() * buffersPerChunk) {
    chunks_.push_back(std::make_unique<Chunk>());
  }
  return (*chunks_[number / buffersPerChunk])[number % buffersPerChunk].samples.data();
}

}  // namespace vrel::audio
