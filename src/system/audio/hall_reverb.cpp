// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/hall_reverb.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "system/audio/hall_tuning.h"

namespace vrel::audio {
namespace {

// The repeated beginning: a slice, and the neighbours that the interpolation looks at.
constexpr std::uint32_t repeatedFrames = 128;
constexpr std::size_t clearingPortion = 4096;

bool isPrime(std::uint32_t number) {
  for (std::uint32_t divisor = 2; divisor * divisor <= number; ++divisor) {
    if (number % divisor == 0) {
      return false;
    }
  }
  return number >= 2;
}

std::uint32_t primeFrames(double seconds, double sampleRate) {
  auto frames = static_cast<std::uint32_t>(std::lround(seconds * sampleRate));
  while (!isPrime(frames)) {
    ++frames;
  }
  return frames;
}

bool isSilent(const float* samples, std::size_t count) {
  return std::all_of(samples, samples + count, [](float sample) { return sample == 0.0F; });
}

/// The pole of y += (1 - pole) (x - y) with this amplitude at this angle.
float poleFor(double amplitude, double angle) {
  const double power = amplitude * amplitude;
  const double a = 1.0 - power;
  const double b = 1.0 - power * std::cos(angle);
  return static_cast<float>((b - std::sqrt(b * b - a * a)) / a);
}

}  // namespace

bool HallReverb::DelayMemory::put(std::uint32_t offset, const float* source, std::uint32_t count) noexcept {
  const std::uint32_t position = write + offset;
  std::copy_n(source, count, samples + position);
  if (write < repeatedFrames) {
    std::copy_n(source, count, samples + size + position);
  }
  return isSilent(source, count);
}

const float* HallReverb::DelayMemory::at(std::uint32_t offset, std::uint32_t framesAgo) const noexcept {
  const std::uint32_t position = write + offset;
  return samples + (position >= framesAgo ? position - framesAgo : position + size - framesAgo);
}

void HallReverb::DelayMemory::advance() noexcept {
  write += sliceFrames;
  if (write == size) {
    write = 0;
  }
}

void HallReverb::prepare(double sampleRate) {
  if (sampleRate == sampleRate_) {
    return;
  }
  sampleRate_ = sampleRate;
  driftFrames_ = hall::driftSeconds * sampleRate;
  highPassPole_ = static_cast<float>(std::exp(-2.0 * std::numbers::pi * hall::highPassHertz / sampleRate));
  layOut(sampleRate);
  for (std::size_t index = 0; index < lineCount; ++index) {
    Line& line = lines_[index];
    const double seconds = line.memory.delay / sampleRate;
    line.loss = static_cast<float>(std::pow(10.0, -3.0 * seconds / hall::decaySeconds));
    const double dampingExponent = -3.0 * seconds * (1.0 / hall::highDecaySeconds - 1.0 / hall::decaySeconds);
    const double angle = 2.0 * std::numbers::pi * hall::highDecayHertz / sampleRate;
    line.damping = poleFor(std::pow(10.0, dampingExponent), angle);
    const double turn = 2.0 * std::numbers::pi * hall::driftHertz[index] * sliceFrames / sampleRate;
    line.turnCosine = std::cos(turn);
    line.turnSine = std::sin(turn);
  }
  resetStates();
}

void HallReverb::layOut(double sampleRate) {
  std::vector<DelayMemory*> all;
  for (std::size_t channel = 0; channel < paths_.size(); ++channel) {
    paths_[channel].preDelay.delay = static_cast<std::uint32_t>(std::lround(hall::preDelaySeconds * sampleRate));
    all.push_back(&paths_[channel].preDelay);
    for (std::size_t stage = 0; stage < allpassCount; ++stage) {
      paths_[channel].allpasses[stage].delay = primeFrames(hall::allpassSeconds[channel][stage], sampleRate);
      all.push_back(&paths_[channel].allpasses[stage]);
    }
  }
  for (std::size_t index = 0; index < lineCount; ++index) {
    lines_[index].memory.delay = primeFrames(hall::lineSeconds[index], sampleRate);
    all.push_back(&lines_[index].memory);
  }
  const auto reach = static_cast<std::uint32_t>(std::ceil(driftFrames_)) + 4;
  std::size_t total = 0;
  longestFrames_ = 0;
  for (DelayMemory* const memory : all) {
    // No delay may reach into the slice that is being written, at whatever rate.
    memory->delay = std::max(memory->delay, sliceFrames + reach);
    memory->size = (memory->delay + reach + 2 * sliceFrames) / sliceFrames * sliceFrames;
    total += memory->size + repeatedFrames;
    longestFrames_ = std::max(longestFrames_, memory->size);
  }
  memory_.assign(total, 0.0F);
  float* next = memory_.data();
  for (DelayMemory* const memory : all) {
    memory->samples = next;
    next += memory->size + repeatedFrames;
  }
}

void HallReverb::resetStates() noexcept {
  cleared_ = memory_.size();
  offset_ = 0;
  isEmpty_ = true;
  quietFrames_ = 0;
  for (InputPath& path : paths_) {
    path.highPassInput = 0;
    path.highPassOutput = 0;
    path.preDelay.write = 0;
    for (DelayMemory& allpass : path.allpasses) {
      allpass.write = 0;
    }
  }
  for (std::size_t index = 0; index < lineCount; ++index) {
    Line& line = lines_[index];
    const double phase = 2.0 * std::numbers::pi * static_cast<double>(index) / lineCount;
    line.memory.write = 0;
    line.lowPass = 0;
    line.cosine = std::cos(phase);
    line.sine = std::sin(phase);
    line.delayEnd = line.memory.delay + driftFrames_ * line.sine;
  }
}

bool HallReverb::clearPortion() noexcept {
  if (cleared_ == memory_.size()) {
    return true;
  }
  const std::size_t count = std::min(clearingPortion, memory_.size() - cleared_);
  std::fill_n(memory_.begin() + static_cast<std::ptrdiff_t>(cleared_), count, 0.0F);
  cleared_ += count;
  return false;
}

void HallReverb::clearRest() noexcept {
  std::fill(memory_.begin() + static_cast<std::ptrdiff_t>(cleared_), memory_.end(), 0.0F);
  resetStates();
}

bool HallReverb::process(const float* left, const float* right, float* wetLeft, float* wetRight,
                         std::uint32_t frameCount) noexcept {
  const bool isQuiet = mayRest_ && isSilent(left, frameCount) && isSilent(right, frameCount);
  if (isQuiet && isEmpty_) {
    std::fill_n(wetLeft, frameCount, 0.0F);
    std::fill_n(wetRight == nullptr ? wetLeft : wetRight, frameCount, 0.0F);
    rest(frameCount);
    return false;
  }
  isEmpty_ = false;
  isStoring_ = false;
  cleared_ = 0;
  for (std::uint32_t done = 0; done < frameCount;) {
    if (offset_ == 0) {
      beginSlice();
    }
    const std::uint32_t count = std::min(frameCount - done, sliceFrames - offset_);
    processPart(left + done, right + done, wetLeft + done, wetRight == nullptr ? nullptr : wetRight + done, count);
    done += count;
    offset_ += count;
    if (offset_ == sliceFrames) {
      endSlice();
    }
  }
  // Where all memories have been written over with silence, none is left.
  quietFrames_ = isQuiet && !isStoring_ ? quietFrames_ + frameCount : 0;
  isEmpty_ = quietFrames_ >= longestFrames_ && isWithoutState();
  return true;
}

void HallReverb::rest(std::uint32_t frameCount) noexcept {
  for (std::uint32_t done = 0; done < frameCount;) {
    if (offset_ == 0) {
      beginSlice();
    }
    const std::uint32_t count = std::min(frameCount - done, sliceFrames - offset_);
    done += count;
    offset_ += count;
    if (offset_ == sliceFrames) {
      endSlice();
    }
  }
}

bool HallReverb::isWithoutState() const noexcept {
  const auto isAtRest = [](const InputPath& path) { return path.highPassInput == 0.0F && path.highPassOutput == 0.0F; };
  const auto isEmpty = [](const Line& line) { return line.lowPass == 0.0F; };
  return std::ranges::all_of(paths_, isAtRest) && std::ranges::all_of(lines_, isEmpty);
}

void HallReverb::beginSlice() noexcept {
  for (Line& line : lines_) {
    const double sine = line.sine * line.turnCosine + line.cosine * line.turnSine;
    const double cosine = line.cosine * line.turnCosine - line.sine * line.turnSine;
    // Keeps the length of the rotating vector at one, however long it runs.
    const double correction = 1.5 - 0.5 * (sine * sine + cosine * cosine);
    line.sine = sine * correction;
    line.cosine = cosine * correction;
    line.delayBegin = line.delayEnd;
    line.delayEnd = line.memory.delay + driftFrames_ * line.sine;
  }
}

void HallReverb::endSlice() noexcept {
  offset_ = 0;
  for (InputPath& path : paths_) {
    path.preDelay.advance();
    for (DelayMemory& allpass : path.allpasses) {
      allpass.advance();
    }
  }
  for (Line& line : lines_) {
    line.memory.advance();
  }
}

void HallReverb::processPart(const float* left, const float* right, float* wetLeft, float* wetRight,
                             std::uint32_t count) noexcept {
  std::array<Slice, 2> diffused;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled by the next two lines
  diffuse(paths_[0], left, diffused[0], count);
  diffuse(paths_[1], right, diffused[1], count);
  for (std::size_t index = 0; index < lineCount; ++index) {
    readLine(lines_[index], slices_[index].data(), count);
  }
  for (std::size_t first = 0; first < lineCount; first += 4) {
    damp(first, count);
  }
  collect(diffused[0], hall::leftSigns, wetLeft, count);
  if (wetRight != nullptr) {
    collect(diffused[1], hall::rightSigns, wetRight, count);
  }
  mixLines(count);
  for (std::size_t index = 0; index < lineCount; ++index) {
    const Slice& input = diffused[index % 2];
    Slice& slice = slices_[index];
    const float gain = hall::inputSigns[index];
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      slice[frame] += gain * input[frame];
    }
    isStoring_ = !lines_[index].memory.put(offset_, slice.data(), count) || isStoring_;
  }
}

void HallReverb::diffuse(InputPath& path, const float* input, Slice& diffused, std::uint32_t count) noexcept {
  float previousInput = path.highPassInput;
  float output = path.highPassOutput;
  for (std::uint32_t frame = 0; frame < count; ++frame) {
    output = highPassPole_ * (output + input[frame] - previousInput);
    previousInput = input[frame];
    diffused[frame] = output;
  }
  path.highPassInput = previousInput;
  path.highPassOutput = output;

  isStoring_ = !path.preDelay.put(offset_, diffused.data(), count) || isStoring_;
  std::copy_n(path.preDelay.at(offset_, path.preDelay.delay), count, diffused.data());
  Slice stored;
  for (DelayMemory& allpass : path.allpasses) {
    const float* const delayed = allpass.at(offset_, allpass.delay);
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      const float in = diffused[frame];
      const float out = delayed[frame] - hall::allpassGain * in;
      stored[frame] = in + hall::allpassGain * out;
      diffused[frame] = out;
    }
    isStoring_ = !allpass.put(offset_, stored.data(), count) || isStoring_;
  }
}

void HallReverb::readLine(const Line& line, float* output, std::uint32_t count) const noexcept {
  const double step = (line.delayEnd - line.delayBegin) / sliceFrames;
  const double lowest = std::min(line.delayBegin, line.delayEnd - step);
  const auto whole = static_cast<std::uint32_t>(lowest);
  // Cubic interpolation between the frames `whole` and `whole + 1` ago. Where a whole number is
  // crossed within the slice the fraction runs a hair past 1, where the curve goes on smoothly.
  const float* const source = line.memory.at(offset_, whole + 2);
  const auto begin = static_cast<float>(line.delayBegin - whole);
  const auto perFrame = static_cast<float>(step);
  for (std::uint32_t frame = 0; frame < count; ++frame) {
    const float f = begin + perFrame * static_cast<float>(offset_ + frame);
    const float above = f + 1.0F;
    const float below = f - 1.0F;
    const float further = f - 2.0F;
    const float outer = f * below * (1.0F / 6.0F);
    const float inner = above * further * 0.5F;
    output[frame] = source[frame + 3] * (-outer * further) + source[frame + 2] * (inner * below) -
                    source[frame + 1] * (inner * f) + source[frame] * (outer * above);
  }
}

void HallReverb::damp(std::size_t firstLine, std::uint32_t count) noexcept {
  // Four recursions at once, since each alone waits for its own last result.
  std::array<float, 4> state{};
  std::array<float, 4> pass{};
  std::array<float, 4> pole{};
  for (std::size_t fifo = 0; fifo < 4; ++fifo) {
    const Line& line = lines_[firstLine + fifo];
    state[fifo] = line.lowPass;
    pole[fifo] = line.damping;
    pass[fifo] = (1.0F - line.damping) * line.loss;
  }
  for (std::uint32_t frame = 0; frame < count; ++frame) {
    for (std::size_t fifo = 0; fifo < 4; ++fifo) {
      float& sample = slices_[firstLine + fifo][frame];
      state[fifo] = pass[fifo] * sample + pole[fifo] * state[fifo];
      sample = state[fifo];
    }
  }
  for (std::size_t fifo = 0; fifo < 4; ++fifo) {
    lines_[firstLine + fifo].lowPass = state[fifo];
  }
}

void HallReverb::mixLines(std::uint32_t count) noexcept {
  // A Hadamard matrix by butterflies; each stage keeps energy up to a factor of two, set right at the end.
  for (std::size_t half = 1; half < lineCount; half *= 2) {
    const float scale = half == lineCount / 2 ? 0.25F : 1.0F;
    for (std::size_t index = 0; index < lineCount; ++index) {
      if ((index & half) != 0) {
        continue;
      }
      Slice& upper = slices_[index];
      Slice& lower = slices_[index + half];
      for (std::uint32_t frame = 0; frame < count; ++frame) {
        const float sum = upper[frame] + lower[frame];
        const float difference = upper[frame] - lower[frame];
        upper[frame] = sum * scale;
        lower[frame] = difference * scale;
      }
    }
  }
}

void HallReverb::collect(const Slice& early, const std::array<float, lineCount>& signs, float* wet,
                         std::uint32_t count) const noexcept {
  for (std::uint32_t frame = 0; frame < count; ++frame) {
    wet[frame] = hall::earlyLevel * early[frame];
  }
  for (std::size_t index = 0; index < lineCount; ++index) {
    const float gain = hall::lateLevel * signs[index];
    const Slice& slice = slices_[index];
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      wet[frame] += gain * slice[frame];
    }
  }
}

}  // namespace vrel::audio
