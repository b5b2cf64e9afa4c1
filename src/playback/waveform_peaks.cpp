// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/waveform_peaks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "foundation/fnv1a64.h"

namespace vrel {
namespace {

constexpr float placeholderPeak = 0.18F;
constexpr float fullBlock = 255.0F;
constexpr std::string_view storedMark = "vrel peaks 1\n";

/// The greatest absolute sample. Several at a time: one after the other, each would wait for the one before.
float peakOf(const float* samples, std::uint32_t count) {
  constexpr std::uint32_t lanes = 8;
  std::array<float, lanes> peaks{};
  std::uint32_t frame = 0;
  for (; frame + lanes <= count; frame += lanes) {
    for (std::uint32_t lane = 0; lane < lanes; ++lane) {
      const float size = std::fabs(samples[frame + lane]);
      peaks[lane] = size > peaks[lane] ? size : peaks[lane];
    }
  }
  for (; frame < count; ++frame) {
    peaks[0] = std::max(peaks[0], std::fabs(samples[frame]));
  }
  return *std::max_element(peaks.begin(), peaks.end());
}

std::uint8_t storedBlock(float peak) {
  return static_cast<std::uint8_t>(std::ceil(std::min(peak, 1.0F) * fullBlock));
}

template <typename Value>
void append(std::string& bytes, const Value& value) {
  static_assert(std::is_trivially_copyable_v<Value>);
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

/// Takes values from the front of a text; fails once for all when it is too short.
class StoredReader {
 public:
  explicit StoredReader(std::string_view bytes) : rest_(bytes) {}

  template <typename Value>
  Value value() {
    Value value{};
    if (const auto bytes = take(sizeof value); bytes.size() == sizeof value) {
      std::memcpy(&value, bytes.data(), sizeof value);
    }
    return value;
  }

  template <typename Value>
  std::vector<Value> list() {
    const auto count = value<std::uint64_t>();
    if (count > rest_.size() / sizeof(Value)) {
      hasFailed_ = true;
      return {};
    }
    std::vector<Value> values(static_cast<std::size_t>(count));
    const auto bytes = take(values.size() * sizeof(Value));
    if (!bytes.empty()) {
      std::memcpy(values.data(), bytes.data(), bytes.size());
    }
    return values;
  }

  [[nodiscard]] bool isAtEnd() const { return !hasFailed_ && rest_.empty(); }

 private:
  std::string_view take(std::size_t count) {
    if (count > rest_.size()) {
      hasFailed_ = true;
      return {};
    }
    const auto taken = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return taken;
  }

  std::string_view rest_;
  bool hasFailed_ = false;
};

template <typename Value>
void appendList(std::string& bytes, const std::vector<Value>& values) {
  append(bytes, std::uint64_t{values.size()});
  bytes.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(Value));
}

/// The part of `count` equal parts of `frames` that begins before and ends behind at least one frame.
struct Part {
  std::int64_t from;
  std::int64_t to;
};

Part partOf(std::int64_t frames, std::size_t count, std::size_t index) {
  const auto parts = static_cast<std::int64_t>(count);
  const auto part = static_cast<std::int64_t>(index);
  const std::int64_t from = frames * part / parts;
  return {from, std::max(from + 1, frames * (part + 1) / parts)};
}

}  // namespace

std::int64_t framesPerBar(std::int64_t frames) {
  constexpr auto most = static_cast<std::int64_t>(WaveformPeaks::mostBars);
  return frames < most ? 1 : frames / most;
}

std::size_t barCount(std::int64_t frames) {
  return static_cast<std::size_t>(std::clamp<std::int64_t>(frames, 0, WaveformPeaks::mostBars));
}

PeakScan::PeakScan(std::int64_t frames, double sampleRate) {
  peaks_.frames = frames;
  peaks_.sampleRate = sampleRate;
}

void PeakScan::add(const AVAudioPCMBuffer& buffer) {
  const std::int64_t barFrames = framesPerBar(peaks_.frames);
  for (std::uint32_t done = 0; done < buffer.frameLength;) {
    const std::int64_t toBlock = WaveformPeaks::blockFrames - position_ % WaveformPeaks::blockFrames;
    const std::int64_t toBar = barFrames - position_ % barFrames;
    const auto count = static_cast<std::uint32_t>(std::min<std::int64_t>({toBlock, toBar, buffer.frameLength - done}));
    addStretch(buffer, done, count);
    done += count;
  }
}

void PeakScan::addStretch(const AVAudioPCMBuffer& buffer, std::uint32_t from, std::uint32_t count) {
  float peak = buffer.floatChannelData() == nullptr ? placeholderPeak : 0.0F;
  for (std::uint32_t channel = 0; channel < buffer.format().channelCount; ++channel) {
    peak = std::max(peak, peakOf(buffer.floatChannelData()[channel] + from, count));
  }
  peak = std::min(peak, 1.0F);
  const auto bar = static_cast<std::size_t>(position_ / framesPerBar(peaks_.frames));
  if (bar < barCount(peaks_.frames)) {
    peaks_.bars.resize(std::max(peaks_.bars.size(), bar + 1));
    peaks_.bars[bar] = std::max(peaks_.bars[bar], peak);
  }
  const auto block = static_cast<std::size_t>(position_ / WaveformPeaks::blockFrames);
  peaks_.blocks.resize(std::max(peaks_.blocks.size(), block + 1));
  peaks_.blocks[block] = std::max(peaks_.blocks[block], storedBlock(peak));
  position_ += count;
}

void PeakScan::end() {
  peaks_.bars.resize(barCount(peaks_.frames));
}

std::vector<WaveformColumn> barColumns(const WaveformPeaks& peaks) {
  std::vector<WaveformColumn> columns;
  columns.reserve(peaks.bars.size());
  for (const float peak : peaks.bars) {
    columns.push_back({-peak, peak});
  }
  if (!columns.empty()) {
    columns.resize(barCount(peaks.frames));
  }
  return columns;
}

std::vector<WaveformColumn> blockColumns(const WaveformPeaks& peaks, std::int64_t from, std::int64_t frames,
                                         std::size_t count) {
  std::vector<WaveformColumn> columns(count);
  const auto known = static_cast<std::int64_t>(peaks.blocks.size());
  for (std::size_t index = 0; index < count; ++index) {
    const auto part = partOf(frames, count, index);
    const std::int64_t first = (from + part.from) / WaveformPeaks::blockFrames;
    const std::int64_t last = std::min(known - 1, (from + part.to - 1) / WaveformPeaks::blockFrames);
    std::uint8_t peak = 0;
    for (std::int64_t block = std::max<std::int64_t>(first, 0); block <= last; ++block) {
      peak = std::max(peak, peaks.blocks[static_cast<std::size_t>(block)]);
    }
    columns[index] = {static_cast<float>(peak) / -fullBlock, static_cast<float>(peak) / fullBlock};
  }
  return columns;
}

std::vector<WaveformColumn> frameColumns(const AVAudioPCMBuffer& buffer, std::size_t count) {
  std::vector<WaveformColumn> columns(count);
  const std::int64_t frames = buffer.frameLength;
  const std::uint32_t channels = buffer.floatChannelData() == nullptr ? 0 : buffer.format().channelCount;
  for (std::size_t index = 0; index < count && channels > 0; ++index) {
    const auto part = partOf(frames, count, index);
    if (part.to > frames) {
      break;
    }
    auto& column = columns[index];
    column = {1, -1};
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
      const float* const samples = buffer.floatChannelData()[channel];
      const auto [low, high] = std::minmax_element(samples + part.from, samples + part.to);
      column.low = std::min(column.low, std::max(*low, -1.0F));
      column.high = std::max(column.high, std::min(*high, 1.0F));
    }
  }
  return columns;
}

std::optional<std::uint32_t> nearestZeroCrossing(const AVAudioPCMBuffer& buffer, std::uint32_t near) {
  const auto sumAt = [&](std::uint32_t frame) {
    double sum = 0;
    for (std::uint32_t channel = 0; channel < buffer.format().channelCount; ++channel) {
      sum += static_cast<double>(buffer.floatChannelData()[channel][frame]);
    }
    return sum;
  };
  std::optional<std::uint32_t> best;
  const auto distance = [near](std::uint32_t frame) { return frame > near ? frame - near : near - frame; };
  for (std::uint32_t frame = 1; frame < buffer.frameLength; ++frame) {
    const bool crosses = (sumAt(frame - 1) < 0) != (sumAt(frame) < 0);
    if (crosses && (!best || distance(frame) < distance(*best))) {
      best = frame;
    }
  }
  return best;
}

std::string storedPeaks(const WaveformPeaks& peaks, const std::string& identity) {
  std::string bytes(storedMark);
  appendList(bytes, std::vector<char>(identity.begin(), identity.end()));
  append(bytes, peaks.frames);
  append(bytes, peaks.sampleRate);
  appendList(bytes, peaks.bars);
  appendList(bytes, peaks.blocks);
  append(bytes, fnv1a64(bytes));
  return bytes;
}

std::optional<WaveformPeaks> peaksFromStored(const std::string& bytes, const std::string& identity) {
  std::string_view content(bytes);
  if (!content.starts_with(storedMark) || content.size() < storedMark.size() + sizeof(std::uint64_t)) {
    return std::nullopt;
  }
  std::uint64_t sum = 0;
  std::memcpy(&sum, content.data() + content.size() - sizeof sum, sizeof sum);
  content.remove_suffix(sizeof sum);
  if (fnv1a64(content) != sum) {
    return std::nullopt;
  }
  content.remove_prefix(storedMark.size());
  StoredReader reader(content);
  const auto owner = reader.list<char>();
  WaveformPeaks peaks;
  peaks.frames = reader.value<std::int64_t>();
  peaks.sampleRate = reader.value<double>();
  peaks.bars = reader.list<float>();
  peaks.blocks = reader.list<std::uint8_t>();
  if (!reader.isAtEnd() || std::string_view(owner.data(), owner.size()) != identity) {
    return std::nullopt;
  }
  return peaks;
}

}  // namespace vrel
