// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/player_stream.h"

#include <algorithm>
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

AVAudioFormat PlayerStream::Piece::format() const {
  return file != nullptr ? file->processingFormat() : buffer->format();
}

PlayerStream::PlayerStream(std::shared_ptr<AudioConverterFactory> converters, std::shared_ptr<RenderCounters> counters)
    : converters_(std::move(converters)), counters_(std::move(counters)) {}

void PlayerStream::prepare() {
  const std::scoped_lock both(io_, state_);
  if (lanes_.empty()) {
    lanes_.push_back(std::make_unique<PlayerLane>());
  }
  for (auto& side : silence_) {
    side.resize(chunkFrames);
  }
}

void PlayerStream::schedule(Piece piece) {
  prepare();
  Handlers consumed;
  {
    const std::scoped_lock io(io_);
    {
      const std::scoped_lock state(state_);
      if (filling_ == nullptr || isLeaving_) {
        takeFreshLane();
      } else if (isPlaying_ && filling_->waiting() == 0) {
        RenderCounters::add(counters_->starvedBlocks);  // it came too late to follow without a gap
      }
      if (isFinished_) {
        converter_ = nullptr;
        converterRates_ = {};
        isFinished_ = false;
      }
      filling_->isComplete.store(false);
      pieces_.push_back(std::move(piece));
      resting_.store(nullptr);
    }
    while (wantsHead() && readSome()) {
    }
    const std::scoped_lock state(state_);
    if (filling_ != nullptr) {
      noteCompletion();  // of a piece without frames
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

bool PlayerStream::wantsHead() {
  const std::scoped_lock state(state_);
  return filling_ != nullptr && filling_->waiting() < headFrames;
}

void PlayerStream::play() {
  const std::scoped_lock state(state_);
  isPlaying_ = true;
  if (!isLeaving_) {
    sounding_.store(filling_);
  }
}

void PlayerStream::stop() {
  Handlers stopped;
  {
    const std::scoped_lock state(state_);
    for (auto& piece : pieces_) {
      stopped.push_back(std::move(piece.completionHandler));
    }
    isLeaving_ = isLeaving_ || (isPlaying_ && pieces_.empty());
    pieces_.clear();
    resting_.store(nullptr);
    ++generation_;
    isPlaying_ = false;
    if (!isLeaving_) {
      filling_ = nullptr;
      sounding_.store(nullptr);
    }
  }
  for (const auto& handler : stopped) {
    handler();
  }
}

void PlayerStream::takeFreshLane() {
  const auto isFree = [this](const auto& lane) {
    return lane.get() != sounding_.load() && lane.get() != entered_.load();
  };
  auto found = std::find_if(lanes_.begin(), lanes_.end(), isFree);
  if (found == lanes_.end()) {
    lanes_.push_back(std::make_unique<PlayerLane>());
    found = std::prev(lanes_.end());
  }
  filling_ = found->get();
  filling_->reset(++lastSerial_);
  isLeaving_ = false;
  isFinished_ = false;
  converter_ = nullptr;
  converterRates_ = {};
}

PlayerStream::Piece* PlayerStream::nextUnread() {
  const auto next = std::find_if(pieces_.begin(), pieces_.end(), [](const Piece& piece) { return !piece.isRead(); });
  return next == pieces_.end() ? nullptr : &*next;
}

bool PlayerStream::mayRest() const {
  const PlayerLane* const lane = resting_.load();
  return lane != nullptr && lane->read() < nextLook_.load();
}

// Under both: when there is room to read on, when a piece is consumed, or when the conversion has to be finished.
void PlayerStream::noteNextLook() {
  if (filling_ == nullptr) {
    return;
  }
  const auto before = [](std::uint64_t frame, std::uint64_t distance) {
    return frame > distance ? frame - distance : 0;
  };
  std::uint64_t look = UINT64_MAX;
  if (nextUnread() != nullptr) {
    look = before(filling_->written(), PlayerLane::capacity - neededRoom);
  }
  if (!pieces_.empty() && pieces_.front().isRead()) {
    look = std::min(look, before(pieces_.front().endsAt, lookahead));
  } else if (pieces_.empty() && converter_ != nullptr && !isFinished_) {
    look = before(filling_->written(), lookahead);
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
    const std::scoped_lock io(io_);
    didRead = readSome();
    const std::scoped_lock state(state_);
    consumed = takeConsumed();
    noteNextLook();
  }
  for (const auto& handler : consumed) {
    handler();
  }
  return didRead || !consumed.empty();
}

bool PlayerStream::isActive() {
  const std::scoped_lock state(state_);
  return !pieces_.empty() || (filling_ != nullptr && !filling_->isComplete.load());
}

// Under io_. The state is left alone while the disk is waited for, so that a stop need not wait; the lane
// is given to nobody else meanwhile.
bool PlayerStream::readSome() {
  Piece piece;
  std::uint64_t generation = 0;
  PlayerLane* lane = nullptr;
  {
    const std::scoped_lock state(state_);
    const Piece* const next = nextUnread();
    if (next == nullptr || filling_ == nullptr || filling_->room() < neededRoom) {
      return false;
    }
    piece = *next;
    generation = generation_;
    lane = filling_;
  }
  const Rates rates{piece.format().sampleRate, sampleRate_.load()};
  const double ratio = rates[0] > 0 && rates[1] > rates[0] ? rates[1] / rates[0] : 1;
  const auto most = std::clamp<std::int64_t>(static_cast<std::int64_t>(mostConvertedFrames / ratio), 1, chunkFrames);
  auto frames = static_cast<std::uint32_t>(std::min(most, piece.frameCount - piece.done));
  const bool isStraight = piece.file != nullptr && piece.format().channelCount == read_.size() && !converts(rates);
  if (isStraight) {
    const PlayerLane::Space space = lane->space();
    frames = std::min(frames, space.frameCount);
    AVAudioPCMBuffer straight(piece.format(), frames, space.sides);
    readFile(piece, straight, frames);
  } else {
    readAside(piece, frames);
  }
  const std::scoped_lock state(state_);
  if (generation != generation_) {
    return true;  // stopped meanwhile
  }
  carryOver(frames, rates, isStraight);
  Piece& reading = *nextUnread();
  reading.done += frames;
  if (reading.isRead() && reading.loops) {
    reading.done = 0;
  }
  noteCompletion();
  return true;
}

// What can not be read is silent and takes its time all the same.
void PlayerStream::readFile(const Piece& piece, AVAudioPCMBuffer& to, std::uint32_t frames) {
  if (piece.file->framePosition() != piece.start + piece.done) {
    piece.file->setFramePosition(piece.start + piece.done);
  }
  to.frameLength = 0;
  static_cast<void>(piece.file->readIntoBuffer(to, frames));
  const std::uint32_t got = std::min(to.frameLength, frames);
  if (got == frames) {
    return;
  }
  for (std::uint32_t channel = 0; channel < to.format().channelCount; ++channel) {
    std::fill(to.floatChannelData()[channel] + got, to.floatChannelData()[channel] + frames, 0.0F);
  }
  RenderCounters::add(counters_->unreadFrames, frames - got);
}

void PlayerStream::readAside(const Piece& piece, std::uint32_t frames) {
  const AVAudioFormat format = piece.format();
  if (piece.file != nullptr) {
    if (scratch_ == nullptr || !(scratch_->format() == format)) {
      scratch_ = std::make_shared<AVAudioPCMBuffer>(format, chunkFrames);
    }
    readFile(piece, *scratch_, frames);
  }
  const AVAudioPCMBuffer& from = piece.file != nullptr ? *scratch_ : *piece.buffer;
  const std::int64_t at = piece.file != nullptr ? 0 : piece.start + piece.done;
  for (std::size_t side = 0; side < read_.size(); ++side) {
    const std::size_t channel = std::min<std::size_t>(side, std::max(format.channelCount, 1U) - 1);
    read_[side] = format.channelCount > 0 ? from.floatChannelData()[channel] + at : silence_[side].data();
  }
}

bool PlayerStream::converts(const Rates& rates) const {
  return converters_ != nullptr && rates[0] > 0 && rates[1] > 0 && rates[0] != rates[1];
}

// Under both. Moments only: a conversion of one chunk at most.
void PlayerStream::carryOver(std::uint32_t frames, const Rates& rates, bool isStraight) {
  if (!converts(rates)) {
    converter_ = nullptr;
  } else if (rates != converterRates_) {
    converter_ = converters_->makeConverter(rates[0], rates[1]);
  }
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
    const PlayerLane::Space space = filling_->space();
    const auto progress =
        converter_->convert({read_[0] + taken, read_[1] + taken}, frames - taken, space.sides, space.frameCount);
    filling_->commit(progress.given);
    taken += progress.taken;
    const bool hasGivenAll = taken >= frames && progress.given < space.frameCount;
    if (hasGivenAll || (progress.taken == 0 && progress.given == 0)) {
      return;
    }
  }
}

// Under both.
void PlayerStream::noteCompletion() {
  for (auto& piece : pieces_) {
    if (piece.isRead() && piece.endsAt == 0) {
      piece.endsAt = filling_->written();
    }
  }
  if (nextUnread() == nullptr && converter_ == nullptr) {
    filling_->isComplete.store(true);
  }
}

PlayerStream::Handlers PlayerStream::takeConsumed() {
  Handlers consumed;
  while (!pieces_.empty() && pieces_.front().isRead() && filling_ != nullptr &&
         pieces_.front().endsAt <= filling_->read() + lookahead) {
    consumed.push_back(std::move(pieces_.front().completionHandler));
    pieces_.pop_front();
  }
  return consumed;
}

bool PlayerStream::finish(std::uint32_t frames) {
  if (mayRest()) {
    return false;
  }
  const std::scoped_lock both(io_, state_);
  if (converter_ == nullptr || isFinished_ || filling_ == nullptr || !pieces_.empty() || filling_->waiting() > frames) {
    return false;
  }
  for (std::uint32_t given = 1; given > 0;) {
    const PlayerLane::Space space = filling_->space();
    given = space.frameCount > 0 ? converter_->finish(space.sides, space.frameCount) : 0;
    filling_->commit(given);
  }
  isFinished_ = true;
  filling_->isComplete.store(true);
  return true;
}

PlayerLane* PlayerStream::enterLane() noexcept {
  // A stop between the two looks makes it look again; nobody stops twice in that time.
  constexpr int mostLooks = 8;
  PlayerLane* lane = sounding_.load();
  for (int look = 0; look < mostLooks; ++look) {
    entered_.store(lane);
    PlayerLane* const again = sounding_.load();
    if (again == lane) {
      return lane;
    }
    lane = again;
  }
  entered_.store(nullptr);
  return nullptr;
}

}  // namespace vrel::audio
