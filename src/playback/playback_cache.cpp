// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/playback_cache.h"

#include <algorithm>
#include <utility>

#include "platform/audio_file.h"
#include "platform/dispatch.h"
#include "playback/playback_envelope.h"

namespace vrel {
namespace {

constexpr int queueCount = 2;
constexpr std::uint32_t chunkFrames = 1U << 16U;  // decoded at once; the end of the program waits for that

/// A range of a file in memory, under the frame numbers of the file.
class DecodedFile final : public AVAudioFile {
 public:
  DecodedFile(std::int64_t length, std::int64_t start, std::shared_ptr<AVAudioPCMBuffer> buffer)
      : length_(length), start_(start), buffer_(std::move(buffer)) {}

  [[nodiscard]] AVAudioFormat processingFormat() const override { return buffer_->format(); }
  [[nodiscard]] std::int64_t length() const override { return length_; }
  [[nodiscard]] std::int64_t framePosition() const override { return position_; }
  void setFramePosition(std::int64_t frame) override { position_ = std::clamp<std::int64_t>(frame, 0, length_); }
  [[nodiscard]] Outcome readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) override {
    const std::int64_t from = position_ - start_;
    const std::int64_t held = from < 0 ? 0 : std::max<std::int64_t>(buffer_->frameLength - from, 0);
    const auto count = static_cast<std::uint32_t>(std::min<std::int64_t>({held, frameCount, buffer.frameCapacity()}));
    for (std::uint32_t channel = 0; channel < buffer_->format().channelCount; ++channel) {
      std::copy_n(buffer_->floatChannelData()[channel] + from, count, buffer.floatChannelData()[channel]);
    }
    buffer.frameLength = count;
    position_ += count;
    return {};
  }

 private:
  const std::int64_t length_;
  const std::int64_t start_;
  const std::shared_ptr<AVAudioPCMBuffer> buffer_;
  std::int64_t position_ = 0;
};

std::uint64_t bytesOf(const AVAudioFormat& format, const PlaybackRange& range) {
  return std::uint64_t{range.frameCount} * format.channelCount * sizeof(float);
}

}  // namespace

PlaybackCache::PlaybackCache(AudioFileFactory& files, DispatchQueueFactory& queues, std::uint64_t mostBytes)
    : files_(files), mostBytes_(mostBytes) {
  for (int index = 1; index <= queueCount; ++index) {
    queues_.push_back(queues.makeSerialQueue("vrel.playback.decoder." + std::to_string(index)));
  }
}

PlaybackCache::~PlaybackCache() {
  isOver_ = true;
}

// The times of a channel change when it is loaded, to where its file begins and ends; the frames do not.
bool PlaybackCache::isOf(const Entry& entry, const Range& range) {
  if (entry.range.path != range.path || !entry.playback) {
    return entry.range == range;
  }
  const double rate = entry.playback->buffer->format().sampleRate;
  const auto asked = normalisedPlaybackRange(range.start, range.end, entry.playback->duration, rate);
  return asked.startFrame == entry.playback->range.startFrame && asked.frameCount == entry.playback->range.frameCount;
}

PlaybackCache::Entries::iterator PlaybackCache::find(const Range& range) {
  return std::find_if(entries_.begin(), entries_.end(), [&range](const Entry& entry) { return isOf(entry, range); });
}

PlaybackCache::Entries::iterator PlaybackCache::findUnderWay(const Range& range) {
  return std::find_if(entries_.begin(), entries_.end(),
                      [&range](const Entry& entry) { return entry.isUnderWay && entry.range == range; });
}

/// How soon it is wanted: the number of ranges before it; all of them for one that is not wanted.
std::size_t PlaybackCache::placeOf(const Entry& entry) const {
  const auto found =
      std::find_if(wanted_.begin(), wanted_.end(), [&entry](const Range& range) { return isOf(entry, range); });
  return static_cast<std::size_t>(found - wanted_.begin());
}

void PlaybackCache::decodeAhead(std::vector<Range> wanted) {
  const auto dropped = std::make_shared<Entries>();  // freed by a decoder: releasing so much memory takes time
  {
    const MutexLock lock(mutex_);
    wanted_ = std::move(wanted);
    Entries kept;
    for (Entry& entry : entries_) {
      const bool isKept = entry.isUnderWay || (entry.playback && placeOf(entry) < wanted_.size());
      (isKept ? kept : *dropped).push_back(std::move(entry));
    }
    entries_ = std::move(kept);
  }
  queues_.front()->async([dropped] { dropped->clear(); });
  for (const auto& queue : queues_) {
    queue->async([this] { work(); });
  }
}

std::optional<PreparedPlayback> PlaybackCache::prepared(const Range& range) {
  const auto identity = files_.contentIdentity(range.path);
  Entry changed;  // freed after the lock
  const MutexLock lock(mutex_);
  const auto entry = find(range);
  if (entry == entries_.end() || !entry->playback) {
    return std::nullopt;
  }
  if (entry->identity != identity) {
    changed = std::move(*entry);
    entries_.erase(entry);
    return std::nullopt;
  }
  PreparedPlayback playback = *entry->playback;
  const double rate = playback.buffer->format().sampleRate;
  playback.range = normalisedPlaybackRange(range.start, range.end, playback.duration, rate);
  playback.file = std::make_shared<DecodedFile>(entry->fileFrames, playback.range.startFrame, playback.buffer);
  return playback;
}

void PlaybackCache::work() {
  while (const auto range = beginNext()) {
    end(decode(*range));
  }
}

std::optional<PlaybackCache::Range> PlaybackCache::beginNext() {
  const MutexLock lock(mutex_);
  for (const Range& range : wanted_) {
    if (!isOver_ && find(range) == entries_.end()) {
      entries_.emplace_back().range = range;
      return range;
    }
  }
  return std::nullopt;
}

PlaybackCache::Entry PlaybackCache::decode(const Range& range) {
  Entry decoded;
  decoded.range = range;
  const auto identity = files_.contentIdentity(range.path);
  auto opened = identity ? openPlayback(files_, range.path, range.start, range.end) : Error{"unknown"};
  if (opened && readRange(range, opened.value())) {
    decoded.identity = *identity;
    decoded.playback = std::move(opened).value();
    decoded.fileFrames = decoded.playback->file->length();
    decoded.bytes = bytesOf(decoded.playback->buffer->format(), decoded.playback->range);
    decoded.playback->file = nullptr;
  }
  decoded.isUnderWay = false;
  return decoded;
}

bool PlaybackCache::readRange(const Range& range, PreparedPlayback& playback) {
  const AVAudioFormat format = playback.file->processingFormat();
  const std::uint32_t frames = playback.range.frameCount;
  playback.buffer = reserve(range, bytesOf(format, playback.range)) ? files_.makePCMBuffer(format, frames) : nullptr;
  if (playback.buffer == nullptr) {
    return false;
  }
  playback.file->setFramePosition(playback.range.startFrame);
  for (std::uint32_t done = 0; done < frames; done = playback.buffer->frameLength) {
    std::vector<float*> rest;
    for (std::uint32_t channel = 0; channel < format.channelCount; ++channel) {
      rest.push_back(playback.buffer->floatChannelData()[channel] + done);
    }
    AVAudioPCMBuffer chunk(format, std::min(chunkFrames, frames - done), rest);
    if (isOver_ || !isWanted(range) || playback.file->readIntoBuffer(chunk, chunk.frameCapacity())) {
      return false;
    }
    playback.buffer->frameLength = done + chunk.frameLength;
    if (chunk.frameLength == 0) {
      break;  // the file ends early, and plays so
    }
  }
  playback.meterPeaks = playbackEnvelope(*playback.buffer);
  return true;
}

/// Whether the range fits, without those that are wanted later.
bool PlaybackCache::reserve(const Range& range, std::uint64_t bytes) {
  Entries dropped;  // freed after the lock
  const MutexLock lock(mutex_);
  const auto entry = findUnderWay(range);
  if (entry == entries_.end()) {
    return false;
  }
  entry->bytes = bytes;
  const std::size_t place = placeOf(*entry);
  for (;;) {
    std::uint64_t total = 0;
    auto last = entries_.end();
    for (auto each = entries_.begin(); each != entries_.end(); ++each) {
      total += each->bytes;
      if (each->playback && placeOf(*each) > place && (last == entries_.end() || placeOf(*each) > placeOf(*last))) {
        last = each;
      }
    }
    if (total <= mostBytes_) {
      return true;
    }
    if (last == entries_.end()) {
      break;
    }
    dropped.emplace_back().playback = std::move(last->playback);
    last->playback.reset();  // and not decoded again before the next call
    last->bytes = 0;
  }
  entry->bytes = 0;
  return false;
}

bool PlaybackCache::isWanted(const Range& range) {
  const MutexLock lock(mutex_);
  return std::find(wanted_.begin(), wanted_.end(), range) != wanted_.end();
}

void PlaybackCache::end(Entry decoded) {
  const MutexLock lock(mutex_);
  if (const auto entry = findUnderWay(decoded.range); entry != entries_.end()) {
    *entry = std::move(decoded);
  }
}

}  // namespace vrel
