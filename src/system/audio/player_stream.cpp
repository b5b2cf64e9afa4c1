// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/player_stream.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

#include "platform/audio_file.h"

namespace vrel::audio {
namespace {

constexpr std::uint32_t chunkFrames = 4096;      // read at once
constexpr std::uint32_t headFrames = 4096;       // read before a run begins
constexpr std::uint32_t neededRoom = 3U << 12U;  // more than comes of one chunk
constexpr std::uint32_t mostConvertedFrames = 1U << 12U;

}  // namespace

AVAudioFormat PlayerStream::Segment::format() const {
  return file != nullptr ? file->processingFormat() : buffer->format();
}

PlayerStream::PlayerStream(std::shared_ptr<AudioConverterFactory> converters, std::shared_ptr<RenderCounters> counters)
    : converters_(std::move(converters)), counters_(std::move(counters)) {}

void PlayerStream::prepare() {
  const MutexLock io(io_);
  const MutexLock state(state_);
  if (fifos_.empty()) {
    fifos_.push_back(std::make_unique<PlaybackFifo>());
  }
  for (auto& channel : silence_) {
    channel.resize(chunkFrames);
  }
}

void PlayerStream::schedule(Segment segment) {
  prepare();
  Handlers consumed;
  {
    const MutexLock io(io_);
    {
      const MutexLock state(state_);
      if (isAwaiting(segment)) {
        Segment& sounding = segments_.front();
        sounding.completionHandler = std::move(segment.completionHandler);
        sounding.isAwaited = false;
        sounding.passesDone = filling_->passesRead();
      } else {
        append(std::move(segment));
      }
      resting_.store(nullptr);
    }
    while (wantsHead() && readSome()) {
    }
    const MutexLock state(state_);
    if (filling_ != nullptr) {
      noteCompletion();  // of a segment without frames
    }
    if (isPlaying_) {
      sounding_.store(filling_);
    }
    consumed = takeConsumed();
  }
  for (const auto& handler : consumed) {
    handler();
  }
}

void PlayerStream::append(Segment segment) {
  const bool isCut = !segments_.empty() && segments_.front().isAwaited;  // something else was awaited
  if (isCut) {
    segments_.clear();
  }
  if (filling_ == nullptr || isCut || (segments_.empty() && filling_->hasEnded())) {
    takeFreeFifo();
  } else if (isPlaying_ && filling_->waiting() == 0) {
    RenderCounters::add(counters_->underrunBlocks);  // it came too late to follow without a gap
  }
  if (isFinished_) {
    converter_ = nullptr;
    converterRates_ = {};
    isFinished_ = false;
  }
  filling_->isComplete.store(false);
  segment.repeats = isRepeating_.load() && segment.frameCount > 0;
  segments_.push_back(std::move(segment));
}

bool PlayerStream::isAwaiting(const Segment& segment) const {
  if (segments_.empty() || !segments_.front().isAwaited || filling_ == nullptr) {
    return false;
  }
  const Segment& sounding = segments_.front();
  return sounding.file == segment.file && sounding.buffer == segment.buffer && sounding.start == segment.start &&
         sounding.frameCount == segment.frameCount;
}

bool PlayerStream::isPlaying() const {
  const MutexLock state(state_);
  return isPlaying_;
}

bool PlayerStream::hasContinued() const {
  const MutexLock state(state_);
  return !segments_.empty() && segments_.front().isAwaited && filling_ != nullptr && !filling_->hasEnded() &&
         !isReadToItsEnd(segments_.front());
}

bool PlayerStream::wantsHead() {
  const MutexLock state(state_);
  return filling_ != nullptr && filling_->waiting() < headFrames;
}

void PlayerStream::play() {
  const MutexLock state(state_);
  isPlaying_ = true;
  sounding_.store(filling_);
}

void PlayerStream::stop() {
  Handlers stopped;
  {
    const MutexLock state(state_);
    for (auto& segment : segments_) {
      if (!segment.isAwaited) {
        stopped.push_back(std::move(segment.completionHandler));
      }
    }
    segments_.clear();
    resting_.store(nullptr);
    ++generation_;
    isPlaying_ = false;
    filling_ = nullptr;
    sounding_.store(nullptr);
  }
  for (const auto& handler : stopped) {
    handler();
  }
}

void PlayerStream::takeFreeFifo() {
  const auto isFree = [this](const auto& fifo) {
    return fifo.get() != sounding_.load() && fifo.get() != entered_.load();
  };
  auto found = std::find_if(fifos_.begin(), fifos_.end(), isFree);
  if (found == fifos_.end()) {
    fifos_.push_back(std::make_unique<PlaybackFifo>());
    found = std::prev(fifos_.end());
  }
  filling_ = found->get();
  filling_->begin(++lastSerial_);
  isFinished_ = false;
  converter_ = nullptr;
  converterRates_ = {};
}

PlayerStream::Segment* PlayerStream::nextUnread() {
  const auto next =
      std::find_if(segments_.begin(), segments_.end(), [](const Segment& segment) { return !segment.isRead(); });
  return next == segments_.end() ? nullptr : &*next;
}

bool PlayerStream::mayRest() const {
  const PlaybackFifo* const fifo = resting_.load();
  return fifo != nullptr && fifo->read() < nextLook_.load();
}

// When there is room to read on, when a segment is consumed, or when the conversion has to be finished.
void PlayerStream::noteNextLook() {
  if (filling_ == nullptr) {
    return;
  }
  const auto before = [](std::uint64_t frame, std::uint64_t distance) {
    return frame > distance ? frame - distance : 0;
  };
  std::uint64_t look = UINT64_MAX;
  if (nextUnread() != nullptr) {
    look = before(filling_->written(), PlaybackFifo::capacityFrames - neededRoom);
  }
  if (nextUnread() == nullptr && converter_ != nullptr && !isFinished_) {
    look = std::min(look, before(filling_->written(), lookahead));
  } else if (!segments_.empty() && segments_.front().isRead()) {
    look = std::min(look, segments_.front().endsAt);
  }
  if (const auto passEnd = filling_->nextPassEnd();
      passEnd && !segments_.empty() && (!segments_.front().isAwaited || !filling_->hasRoomForPass())) {
    look = std::min(look, *passEnd);
  }
  nextLook_.store(look);
  resting_.store(filling_);
}

bool PlayerStream::feed() {
  if (mayRest()) {
    return false;
  }
  Handlers consumed;
  bool didRead = false;
  {
    const MutexLock io(io_);
    didRead = readSome();
    const MutexLock state(state_);
    consumed = takeConsumed();
    noteNextLook();
  }
  for (const auto& handler : consumed) {
    handler();
  }
  return didRead || !consumed.empty();
}

bool PlayerStream::isActive() {
  const MutexLock state(state_);
  return !segments_.empty() || (filling_ != nullptr && !filling_->isComplete.load());
}

// The state is left alone while the disk is waited for, so that a stop need not wait; the fifo
// is given to nobody else meanwhile.
bool PlayerStream::readSome() {
  Segment segment;
  std::uint64_t generation = 0;
  PlaybackFifo* fifo = nullptr;
  {
    const MutexLock state(state_);
    const Segment* const next = nextUnread();
    if (next == nullptr || filling_ == nullptr || filling_->room() < neededRoom || filling_->hasEnded() ||
        (next->repeats && !filling_->hasRoomForPass())) {
      return false;
    }
    segment = *next;
    generation = generation_;
    fifo = filling_;
  }
  const Rates rates{segment.format().sampleRate, sampleRate_.load()};
  const double ratio = rates[0] > 0 && rates[1] > rates[0] ? rates[1] / rates[0] : 1;
  const auto most = std::clamp<std::int64_t>(static_cast<std::int64_t>(mostConvertedFrames / ratio), 1, chunkFrames);
  auto frames = static_cast<std::uint32_t>(std::min(most, segment.frameCount - segment.done));
  const bool isStraight = segment.file != nullptr && segment.format().channelCount == read_.size() && !converts(rates);
  if (isStraight) {
    const PlaybackFifo::Space space = fifo->space();
    frames = std::min(frames, space.frameCount);
    AVAudioPCMBuffer straight(segment.format(), frames, space.channels);
    readFile(segment, straight, frames);
  } else {
    readAside(segment, frames);
  }
  const MutexLock state(state_);
  if (generation != generation_) {
    return true;  // stopped meanwhile
  }
  moveToFifo(frames, rates, isStraight);
  Segment& reading = *nextUnread();
  reading.done += frames;
  if (reading.isRead() && reading.loops) {
    reading.done = 0;
  } else if (reading.isRead() && reading.repeats && isRepeating_.load()) {
    filling_->endPass(endOfPass());
    reading.done = 0;
  }
  noteCompletion();
  return true;
}

// What cannot be read is silent and takes its time all the same.
void PlayerStream::readFile(const Segment& segment, AVAudioPCMBuffer& to, std::uint32_t frames) {
  if (segment.file->framePosition() != segment.start + segment.done) {
    segment.file->setFramePosition(segment.start + segment.done);
  }
  to.frameLength = 0;
  static_cast<void>(segment.file->readIntoBuffer(to, frames));
  const std::uint32_t got = std::min(to.frameLength, frames);
  if (got == frames) {
    return;
  }
  for (std::uint32_t channel = 0; channel < to.format().channelCount; ++channel) {
    std::fill(to.floatChannelData()[channel] + got, to.floatChannelData()[channel] + frames, 0.0F);
  }
  RenderCounters::add(counters_->unreadFrames, frames - got);
}

void PlayerStream::readAside(const Segment& segment, std::uint32_t frames) {
  const AVAudioFormat format = segment.format();
  if (segment.file != nullptr) {
    if (scratch_ == nullptr || !(scratch_->format() == format)) {
      scratch_ = std::make_shared<AVAudioPCMBuffer>(format, chunkFrames);
    }
    readFile(segment, *scratch_, frames);
  }
  const AVAudioPCMBuffer& from = segment.file != nullptr ? *scratch_ : *segment.buffer;
  const std::int64_t at = segment.file != nullptr ? 0 : segment.start + segment.done;
  for (std::size_t channel = 0; channel < read_.size(); ++channel) {
    const std::size_t source = std::min<std::size_t>(channel, std::max(format.channelCount, 1U) - 1);
    read_[channel] = format.channelCount > 0 ? from.floatChannelData()[source] + at : silence_[channel].data();
  }
}

bool PlayerStream::converts(const Rates& rates) const {
  return converters_ != nullptr && rates[0] > 0 && rates[1] > 0 && rates[0] != rates[1];
}

// Moments only: a conversion of one chunk at most.
void PlayerStream::moveToFifo(std::uint32_t frames, const Rates& rates, bool isStraight) {
  if (!converts(rates)) {
    converter_ = nullptr;
  } else if (rates != converterRates_) {
    converter_ = converters_->makeConverter(rates[0], rates[1]);
    convertedFrom_ = filling_->written();
    convertedFrames_ = 0;
  }
  convertedFrames_ += frames;
  converterRates_ = rates;
  if (isStraight) {
    filling_->commit(frames);
  } else if (converter_ != nullptr) {
    convertAndWrite(frames);
  } else {
    filling_->write(read_, std::min(frames, filling_->room()));
  }
}

void PlayerStream::convertAndWrite(std::uint32_t frames) {
  std::uint32_t taken = 0;
  while (true) {
    const PlaybackFifo::Space space = filling_->space();
    const auto progress =
        converter_->convert({read_[0] + taken, read_[1] + taken}, frames - taken, space.channels, space.frameCount);
    filling_->commit(progress.given);
    taken += progress.taken;
    const bool hasGivenAll = taken >= frames && progress.given < space.frameCount;
    if (hasGivenAll || (progress.taken == 0 && progress.given == 0)) {
      return;
    }
  }
}

void PlayerStream::noteCompletion() {
  for (auto& segment : segments_) {
    if (segment.isRead() && segment.endsAt == 0) {
      segment.endsAt = filling_->written();
    }
  }
  if (nextUnread() == nullptr && converter_ == nullptr) {
    filling_->isComplete.store(true);
  }
}

// A converter gives frames late, but not at other times: the place is that of the last frame that went in.
std::uint64_t PlayerStream::endOfPass() const {
  if (converter_ == nullptr) {
    return filling_->written();
  }
  const double ratio = converterRates_[1] / converterRates_[0];
  return convertedFrom_ + static_cast<std::uint64_t>(std::llround(static_cast<double>(convertedFrames_) * ratio));
}

// The conversion of the last segment holds some of its frames until it is finished.
bool PlayerStream::isReadToItsEnd(const Segment& segment) const {
  const bool isWritten = filling_->isComplete.load() || &segment != &segments_.back();
  return segment.isRead() && isWritten && segment.endsAt <= filling_->read();
}

PlayerStream::Handlers PlayerStream::takeConsumed() {
  Handlers consumed;
  while (!segments_.empty() && filling_ != nullptr && !segments_.front().isAwaited) {
    Segment& front = segments_.front();
    const bool isOver = filling_->hasEnded() || isReadToItsEnd(front);
    if (!isOver && filling_->passesRead() == front.passesDone) {
      break;
    }
    consumed.push_back(std::move(front.completionHandler));
    if (isOver) {
      segments_.pop_front();
    } else {
      front.isAwaited = true;
    }
  }
  if (filling_ != nullptr && segments_.empty() && filling_->hasEnded()) {
    filling_->isComplete.store(true);
  }
  return consumed;
}

bool PlayerStream::finish(std::uint32_t frames) {
  if (mayRest()) {
    return false;
  }
  const MutexLock io(io_);
  const MutexLock state(state_);
  if (converter_ == nullptr || isFinished_ || filling_ == nullptr || nextUnread() != nullptr ||
      filling_->waiting() > frames) {
    return false;
  }
  for (std::uint32_t given = 1; given > 0;) {
    const PlaybackFifo::Space space = filling_->space();
    given = space.frameCount > 0 ? converter_->finish(space.channels, space.frameCount) : 0;
    filling_->commit(given);
  }
  isFinished_ = true;
  if (!segments_.empty()) {
    segments_.back().endsAt = filling_->written();
  }
  filling_->isComplete.store(true);
  resting_.store(nullptr);
  return true;
}

PlaybackFifo* PlayerStream::acquireFifo() noexcept {
  // A stop between the two looks makes it look again; nobody stops twice in that time.
  constexpr int mostLooks = 8;
  PlaybackFifo* fifo = sounding_.load();
  for (int look = 0; look < mostLooks; ++look) {
    entered_.store(fifo);
    PlaybackFifo* const again = sounding_.load();
    if (again == fifo) {
      return fifo;
    }
    fifo = again;
  }
  entered_.store(nullptr);
  return nullptr;
}

}  // namespace vrel::audio
