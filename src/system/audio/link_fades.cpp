// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/link_fades.h"

#include <algorithm>
#include <cstddef>

namespace vrel::audio {
namespace {

void copyToAll(const Stream& input, const Stream& output, std::uint32_t frameCount) noexcept {
  for (std::uint32_t channel = 0; channel < output.channelCount; ++channel) {
    if (input.channelCount == 0) {
      std::fill_n(output.channels[channel], frameCount, 0.0F);
    } else {
      std::copy_n(input.channels[std::min(channel, input.channelCount - 1)], frameCount, output.channels[channel]);
    }
  }
}

}  // namespace

bool LinkFades::enter(const Inputs& inputs, Stream& spare, std::uint32_t frameCount, std::uint64_t block) noexcept {
  const bool isNew = enteredBlock_ == 0 || enteredBlock_ + 1 != block;
  enteredBlock_ = block;
  if (isNew) {
    tailDone_ = fadeFrames;
  } else {
    gatherDeparted(inputs, block);
  }
  for (std::size_t index = 0; index < inputs.streams.size(); ++index) {
    inputs.sources[index]->readFrom(*this, inputs.streams[index], frameCount, block, isNew);
  }
  return tailDone_ < fadeFrames && addTail(inputs.streams, spare, frameCount);
}

void LinkFades::leave(const Stream& output, std::uint32_t frameCount, std::uint64_t block, Delivery delivery) noexcept {
  const auto begin = static_cast<std::uint32_t>(output_.end % ringFrames);
  const std::uint32_t first = std::min(frameCount, ringFrames - begin);
  for (std::uint32_t channel = 0; channel < output.channelCount; ++channel) {
    std::copy_n(output.channels[channel], first, ring_[channel].data() + begin);
    std::copy_n(output.channels[channel] + first, frameCount - first, ring_[channel].data());
  }
  earlierOutput_ = output_;
  output_ = {block, output_.end + frameCount, output.channelCount, delivery};
}

bool LinkFades::wasReadBy(const LinkFades& reader, std::uint64_t block) const {
  const Link& link = linkBefore(block);
  return link.reader == &reader && link.block != 0 && link.block + 1 == block;
}

// A node that did not play in the block before begins with what it is given, unless that comes out of another one.
std::uint32_t LinkFades::nextFadeIn(const LinkFades& reader, std::uint64_t block, bool isReaderNew) const {
  const Link& link = linkBefore(block);
  const Output& earlier = outputBefore(block);
  if (isReaderNew) {
    return link.block != 0 && link.block + 1 == block ? 0 : fadeFrames;
  }
  const bool isSame = wasReadBy(reader, block) && earlier.channelCount == output_.channelCount &&
                      earlier.delivery == output_.delivery && earlier.delivery != Delivery::missing;
  return isSame ? link.fadedIn : 0;
}

void LinkFades::readFrom(const LinkFades& reader, const Stream& stream, std::uint32_t frameCount, std::uint64_t block,
                         bool isReaderNew) noexcept {
  const std::uint32_t begin = nextFadeIn(reader, block, isReaderNew);
  const std::uint32_t count = std::min(frameCount, fadeFrames - begin);
  for (std::uint32_t channel = 0; channel < stream.channelCount; ++channel) {
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      stream.channels[channel][frame] *= fadeInAt(begin + frame, fadeFrames);
    }
  }
  earlierLink_ = link_;
  link_ = {&reader, block, begin + count};
  lastReadBlock_.store(block, std::memory_order_relaxed);
}

// With the level that it had: one that was itself fading in goes on from there.
void LinkFades::addHistory(Channels& histories, std::uint64_t block) const noexcept {
  const Output& output = outputBefore(block);
  const std::uint32_t fadedIn = linkBefore(block).fadedIn;
  const float level = fadedIn < fadeFrames ? fadeInAt(fadedIn, fadeFrames) : 1.0F;
  const auto begin = static_cast<std::uint32_t>((output.end + ringFrames - continuationHistory) % ringFrames);
  for (std::uint32_t channel = 0; channel < histories.size(); ++channel) {
    const auto& samples = ring_[std::min(channel, output.channelCount - 1)];
    for (std::uint32_t frame = 0; frame < continuationHistory; ++frame) {
      histories[channel][frame] += level * samples[(begin + frame) % ringFrames];
    }
  }
}

bool LinkFades::hasLeft(const LinkFades& source, std::uint64_t block) const {
  const Output& earlier = source.outputBefore(block);
  return source.wasReadBy(*this, block) && earlier.block + 1 == block && earlier.delivery != Delivery::missing &&
         earlier.channelCount > 0;
}

void LinkFades::gatherDeparted(const Inputs& inputs, std::uint64_t block) noexcept {
  const auto isGone = [&](const LinkFades* source) { return hasLeft(*source, block); };
  const auto isOther = [&](const LinkFades* source) {
    const Output& now = source->output_;
    const Output& earlier = source->earlierOutput_;
    return (now.delivery != earlier.delivery || now.channelCount != earlier.channelCount) && hasLeft(*source, block);
  };
  if (std::ranges::none_of(inputs.departed, isGone) && std::ranges::none_of(inputs.sources, isOther)) {
    return;
  }
  Channels histories{};
  std::uint32_t channelCount = 0;
  const auto addIf = [&](const auto& isAdded, const LinkFades& source) {
    if (isAdded(&source)) {
      channelCount = std::max(channelCount, source.outputBefore(block).channelCount);
      source.addHistory(histories, block);
    }
  };
  for (const LinkFades* const source : inputs.departed) {
    addIf(isGone, *source);
  }
  for (const LinkFades* const source : inputs.sources) {
    addIf(isOther, *source);
  }
  beginTail(histories, channelCount);
}

// The end of an earlier tail goes on in the new one.
void LinkFades::beginTail(const Channels& histories, std::uint32_t channelCount) noexcept {
  const std::uint32_t left = fadeFrames - tailDone_;
  if (left > 0 && channelCount > tailChannels_) {
    tail_[1] = tail_[0];
  }
  tailChannels_ = left > 0 ? std::max(tailChannels_, channelCount) : channelCount;
  std::array<float, fadeFrames> continuation{};
  for (std::uint32_t channel = 0; channel < tailChannels_; ++channel) {
    if (channel < channelCount) {
      continueSignal(histories[channel], continuation);
    }
    auto& tail = tail_[channel];
    for (std::uint32_t frame = 0; frame < fadeFrames; ++frame) {
      const float rest = frame < left ? tail[tailDone_ + frame] : 0.0F;
      tail[frame] = rest + continuation[frame] * (1.0F - fadeInAt(frame, fadeFrames));
    }
  }
  tailDone_ = 0;
}

// A stereo end does not fit into a mono input. Where that is the only one, `spare` takes the place of it.
bool LinkFades::addTail(std::span<const Stream> streams, Stream& spare, std::uint32_t frameCount) noexcept {
  const std::uint32_t count = std::min(frameCount, fadeFrames - tailDone_);
  const auto fits = [this](const Stream& stream) { return stream.channelCount >= tailChannels_; };
  const auto found = std::ranges::find_if(streams, fits);
  const bool isSpare = found == streams.end() && streams.size() <= 1;
  if (isSpare) {
    spare.channelCount = tailChannels_;
    copyToAll(streams.empty() ? Stream{} : streams.front(), spare, frameCount);
  }
  const Stream into = isSpare ? spare : found == streams.end() ? streams.front() : *found;
  for (std::uint32_t channel = 0; channel < into.channelCount; ++channel) {
    const float* const tail = tail_[std::min(channel, tailChannels_ - 1)].data() + tailDone_;
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      into.channels[channel][frame] += tail[frame];
    }
  }
  tailDone_ += count;
  return isSpare;
}

}  // namespace vrel::audio
