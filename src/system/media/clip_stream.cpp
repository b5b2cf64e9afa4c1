// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_stream.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace vrel::system {
namespace {

constexpr double worstLateness = 0.5;   // seconds; a clip that is later goes on from where it is
constexpr double shortestPass = 0.001;  // seconds

}  // namespace

ClipStream::ClipStream(std::string path, const std::atomic<bool>& isOver) : path_(std::move(path)), isOver_(isOver) {}

void ClipStream::rewind() {
  std::deque<Timed> dropped;  // freed after the lock
  std::deque<Timed> droppedToo;
  const MutexLock lock(mutex_);
  dropped.swap(ahead_);
  droppedToo.swap(recent_);
  ++start_;
  hasEnded_ = false;
  position_ = 0;
  startedAt_.reset();
  queueKept(0);
}

void ClipStream::play(double now) {
  const MutexLock lock(mutex_);
  if (!isPlaying_ && startedAt_) {
    startedAt_ = now - position_;
  } else if (!startedAt_ && !kept_.empty()) {
    startedAt_ = now;
  }
  isPlaying_ = true;
}

void ClipStream::pause(double now) {
  const MutexLock lock(mutex_);
  position_ = isPlaying_ ? positionAt(now) : position_;
  isPlaying_ = false;
}

void ClipStream::setForwardBuffer(double seconds) {
  const MutexLock lock(mutex_);
  forwardBuffer_ = seconds;
}

void ClipStream::setLooping(bool loops) {
  const MutexLock lock(mutex_);
  loops_ = loops;
}

// A clip that was started before it had a picture counts its time from the first one on.
double ClipStream::positionAt(double now) {
  if (!isPlaying_) {
    return position_;
  }
  if (!startedAt_ && !kept_.empty()) {
    startedAt_ = now - position_;
  }
  return startedAt_ ? std::max(0.0, now - *startedAt_) : 0;
}

ClipPicturePointer ClipStream::picture(double instant) {
  std::vector<Timed> dropped;  // freed after the lock
  const MutexLock lock(mutex_);
  double position = positionAt(instant);
  position_ = position;
  if (kept_.empty()) {
    return nullptr;
  }
  if (isWhole_) {
    return pictureOfWholeClip(position);
  }
  if (startedAt_ && !ahead_.empty() && position - ahead_.back().seconds > worstLateness && !hasEnded_) {
    *startedAt_ += position - ahead_.back().seconds;
    position = ahead_.back().seconds;
  }
  while (!ahead_.empty() && ahead_.front().seconds <= position) {
    recent_.push_back(std::move(ahead_.front()));
    ahead_.pop_front();
  }
  // When even the latest taker is due the second, nobody asks for the first any more.
  while (recent_.size() > 1 && recent_[1].seconds <= position - takersApart) {
    dropped.push_back(std::move(recent_.front()));
    recent_.pop_front();
  }
  const auto after = std::upper_bound(recent_.begin(), recent_.end(), position,
                                      [](double seconds, const Timed& each) { return seconds < each.seconds; });
  return after == recent_.begin() ? kept_.front() : std::prev(after)->picture;
}

ClipPicturePointer ClipStream::pictureOfWholeClip(double position) {
  const double inPass = loops_ ? std::fmod(position, passSeconds_) : position;
  const auto after = std::upper_bound(kept_.begin(), kept_.end(), inPass,
                                      [](double seconds, const auto& each) { return seconds < each->seconds(); });
  return after == kept_.begin() ? kept_.front() : *std::prev(after);
}

void ClipStream::queueKept(double passStart) {
  for (const auto& each : kept_) {
    ahead_.push_back({passStart + each->seconds(), each});
  }
}

ClipStream::Request ClipStream::request() const {
  const MutexLock lock(mutex_);
  if (!isPrepared_) {
    return isPlaying_ ? Request::decoding : Request::preparing;
  }
  if (isWhole_ || kept_.empty()) {
    return Request::nothing;
  }
  if (!isPlaying_) {
    return isAwake_ ? Request::suspending : Request::nothing;
  }
  if (decodedStart_ != start_ || skipped_ > 0) {
    return Request::decoding;
  }
  const bool isFarEnough = !ahead_.empty() && ahead_.back().seconds > position_ + forwardBuffer_;
  const std::size_t behind = recent_.empty() ? 0 : recent_.size() - 1;
  const bool isFull = ahead_.size() + behind >= aheadPictures;
  return hasEnded_ || (isFarEnough && ahead_.size() > 1) || isFull ? Request::nothing : Request::decoding;
}

void ClipStream::step() {
  switch (request()) {
    case Request::nothing:
      return;
    case Request::suspending: {
      decoder_->suspend();
      const MutexLock lock(mutex_);
      isAwake_ = false;
      decodedStart_ = start_ - 1;
      return;
    }
    case Request::preparing:
    case Request::decoding:
      if (isPrepared()) {
        decode();
      } else {
        prepare();
      }
  }
}

void ClipStream::prepare() {
  if (decoder_ == nullptr) {
    auto opened = ClipDecoder::open(path_, &isOver_);
    if (!opened) {
      endPreparation(true);
      return;
    }
    decoder_ = std::move(opened).value();
  }
  if (auto picture = decoder_->next()) {
    keep(std::move(picture));
  } else {
    endPreparation(true);
  }
}

void ClipStream::keep(ClipPicturePointer picture) {
  bool isEnough = false;
  {
    const MutexLock lock(mutex_);
    keptBytes_ += picture->byteCount();
    ahead_.push_back({picture->seconds(), picture});
    kept_.push_back(std::move(picture));
    isEnough = kept_.size() >= keptPictures || keptBytes_ >= keptBytes;
  }
  if (isEnough) {
    endPreparation(decoder_->isStill());
  }
}

void ClipStream::endPreparation(bool isWholeClip) {
  const double length = decoder_ != nullptr ? std::max(decoder_->passSeconds(), shortestPass) : shortestPass;
  if (isWholeClip) {
    decoder_.reset();
  } else {
    decoder_->suspend();
  }
  const MutexLock lock(mutex_);
  isPrepared_ = true;
  isWhole_ = isWholeClip;
  passSeconds_ = length;
  decodedStart_ = start_ - 1;  // decoding has yet to follow any start
  if (isWholeClip) {
    ahead_.clear();
  }
}

void ClipStream::followFromStart() {
  const bool isReadable = decoder_->rewind();
  const MutexLock lock(mutex_);
  isAwake_ = isReadable;
  skipped_ = isReadable ? kept_.size() : 0;
}

void ClipStream::decode() {
  bool isBehindAStart = false;
  {
    const MutexLock lock(mutex_);
    isBehindAStart = decodedStart_ != start_;
    decodedStart_ = start_;
  }
  if (isBehindAStart) {
    passStart_ = 0;
    followFromStart();
  }
  auto picture = decoder_->next();
  if (picture == nullptr) {
    endPass();
    return;
  }
  const MutexLock lock(mutex_);
  if (decodedStart_ != start_) {
    return;  // rewound meanwhile
  }
  if (skipped_ > 0) {
    --skipped_;
    return;
  }
  ahead_.push_back({passStart_ + picture->seconds(), std::move(picture)});
}

// What cannot be read again, in whole or beyond what is kept, is repeated from what is kept.
void ClipStream::endPass() {
  bool isWorthReading = false;
  {
    const MutexLock lock(mutex_);
    hasEnded_ = hasEnded_ || (decodedStart_ == start_ && !loops_);
    if (decodedStart_ != start_) {
      return;
    }
    if (hasEnded_) {
      skipped_ = 0;
      return;
    }
    isWorthReading = isAwake_ && skipped_ == 0;
    skipped_ = 0;
    isAwake_ = isWorthReading;
    passStart_ += std::max({decoder_->passSeconds(), kept_.back()->endSeconds(), shortestPass});
  }
  if (isWorthReading) {
    followFromStart();
  } else {
    decoder_->suspend();
  }
  const MutexLock lock(mutex_);
  if (decodedStart_ == start_) {
    queueKept(passStart_);
  }
}

bool ClipStream::isPrepared() const {
  const MutexLock lock(mutex_);
  return isPrepared_;
}

std::size_t ClipStream::keptByteCount() const {
  const MutexLock lock(mutex_);
  return keptBytes_;
}

}  // namespace vrel::system
