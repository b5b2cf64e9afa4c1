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

constexpr std::uint32_t chunkFrames = 4096;         // read at once
constexpr std::uint32_t headFrames = 4096;          // read before a run begins
constexpr std::uint32_t convertedRoom = 3U << 12U;  // more than comes of one chunk
constexpr std::uint32_t mostConvertedFrames = 1U << 12U;

}  // namespace

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
    look = before(filling_->written(), PlayerLane::capacity - convertedRoom);
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

// Under io_. The state is left alone while the disk is waited for, so that a stop need not wait.
bool PlayerStream::readSome() {
  Piece piece;
  std::uint64_t generation = 0;
  {
    const std::scoped_lock state(state_);
    const Piece* const next = nextUnread();
    if (next == nullptr || filling_ == nullptr || filling_->room() < convertedRoom) {
      return false;
    }
    piece = *next;
    generation = generation_;
  }
  const double target = sampleRate_.load();
  const double source =
      piece.file != nullptr ? piece.file->processingFormat().sampleRate : piece.buffer->format().sampleRate;
  const double ratio = source > 0 && target > source ? target / source : 1;
  const auto most = std::clamp<std::int64_t>(static_cast<std::int64_t>(mostConvertedFrames / ratio), 1, chunkFrames);
  const auto frames = static_cast<std::uint32_t>(std::min(most, piece.frameCount - piece.done));
  double rate = source;
  const std::uint32_t count = readPiece(piece, frames, rate);
  const std::scoped_lock state(state_);
  if (generation != generation_) {
    return true;  // stopped meanwhile
  }
  carryOver(count, rate);
  Piece& reading = *nextUnread();
  reading.done += count;
  if (reading.isRead() && reading.loops) {
    reading.done = 0;
  }
  noteCompletion();
  return true;
}

std::uint32_t PlayerStream::readPiece(const Piece& piece, std::uint32_t frames, double& rate) {
  const auto& format = piece.file != nullptr ? piece.file->processingFormat() : piece.buffer->format();
  rate = format.sampleRate;
  std::int64_t at = 0;
  std::uint32_t got = 0;
  if (piece.file == nullptr) {
    at = piece.start + piece.done;
    got = frames;
  } else {
    if (scratch_ == nullptr || !(scratch_->format() == format)) {
      scratch_ = std::make_shared<AVAudioPCMBuffer>(format, chunkFrames);
    }
    scratch_->frameLength = 0;
    if (piece.file->framePosition() != piece.start + piece.done) {
      piece.file->setFramePosition(piece.start + piece.done);
    }
    got = piece.file->readIntoBuffer(*scratch_, frames) ? 0 : std::min(scratch_->frameLength, frames);
  }
  const AVAudioPCMBuffer& from = piece.file != nullptr ? *scratch_ : *piece.buffer;
  for (std::size_t side = 0; side < read_.size(); ++side) {
    if (format.channelCount == 0) {
      read_[side] = silence_[side].data();
      continue;
    }
    float* const samples = from.floatChannelData()[std::min<std::size_t>(side, format.channelCount - 1)] + at;
    if (piece.file != nullptr) {
      std::fill(samples + got, samples + frames, 0.0F);
    }
    read_[side] = samples;
  }
  if (got < frames) {
    RenderCounters::add(counters_->unreadFrames, frames - got);
  }
  return frames;
}

// Under both. Moments only: a conversion of one chunk at most.
void PlayerStream::carryOver(std::uint32_t frames, double rate) {
  const std::array<double, 2> rates{rate, sampleRate_.load()};
  const bool converts = converters_ != nullptr && rates[0] > 0 && rates[1] > 0 && rates[0] != rates[1];
  if (converts && rates != converterRates_) {
    converter_ = converters_->makeConverter(rates[0], rates[1]);
    for (auto& side : converted_) {
      side.resize(convertedRoom);
    }
  } else if (!converts) {
    converter_ = nullptr;
  }
  converterRates_ = rates;
  if (converter_ != nullptr) {
    convertAndWrite(frames);
  } else {
    filling_->write(read_[0], read_[1], std::min(frames, filling_->room()));
  }
}

void PlayerStream::convertAndWrite(std::uint32_t frames) {
  std::uint32_t taken = 0;
  while (true) {
    const auto room = std::min(convertedRoom, filling_->room());
    const auto progress = converter_->convert({read_[0] + taken, read_[1] + taken}, frames - taken,
                                              {converted_[0].data(), converted_[1].data()}, room);
    filling_->write(converted_[0].data(), converted_[1].data(), progress.given);
    taken += progress.taken;
    if (taken >= frames || (progress.taken == 0 && progress.given == 0)) {
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
  while (const std::uint32_t given = converter_->finish({converted_[0].data(), converted_[1].data()},
                                                        std::min(convertedRoom, filling_->room()))) {
    filling_->write(converted_[0].data(), converted_[1].data(), given);
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
