// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/thread_roles.h"
#include "system/audio/node_processor.h"

namespace vrel::audio {

/// The sound of a large hall, without the direct sound: a decay of 3 seconds, darker the higher.
///
/// Signal path, each channel: a high pass against offsets, 20 ms of pre-delay, seven allpasses that
/// smear the onset; then a network of sixteen delay lines of mutually prime lengths, fed back through a
/// mixing matrix that keeps energy, each line with the losses that its length calls for. The
/// lines' lengths drift slowly and each in its own way, so that no resonance stays in place. The
/// channels are taken from the lines with orthogonal signs.
///
/// Works in slices of 64 frames on a grid that is fixed in time, so the result does not depend on
/// the size of the blocks. All memory is one segment, sized by `prepare`.
///
/// While nothing comes in and nothing is left in its memory, it rests: only the drift goes on, so what comes then
/// sounds as if it had never rested.
class HallReverb {
 public:
  HallReverb() = default;
  /// One that does not rest, for comparison.
  explicit HallReverb(bool mayRest) : mayRest_(mayRest) {}

  /// Sizes everything for the rate and clears it. Frames per second.
  void prepare(double sampleRate) VREL_NOT_AUDIO_THREAD;

  /// Writes the wet signal. For a single channel `right` equals `left`, and `wetRight` is null. False when it rests:
  /// the wet signal is silence.
  bool process(const float* left, const float* right, float* wetLeft, float* wetRight,
               std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD;

  /// Forgets all sound, in portions, so that no block pays for all of it. True when all is clear.
  bool clearPortion() noexcept VREL_AUDIO_THREAD;

  /// Forgets what portions have not reached yet.
  void clearRest() noexcept VREL_AUDIO_THREAD;

 private:
  static constexpr std::size_t lineCount = 16;
  static constexpr std::size_t allpassCount = 7;  // per channel
  static constexpr std::uint32_t sliceFrames = 64;

  /// A ring whose beginning is repeated behind its end, so that any slice can be read in one segment.
  struct DelayMemory {
    float* samples = nullptr;
    std::uint32_t size = 0;   // a multiple of sliceFrames
    std::uint32_t write = 0;  // where the present slice begins
    std::uint32_t delay = 0;  // frames; for a line its middle

    /// True when it was silence.
    bool put(std::uint32_t offset, const float* source, std::uint32_t count) noexcept;
    [[nodiscard]] const float* at(std::uint32_t offset, std::uint32_t framesAgo) const noexcept;
    void advance() noexcept;
  };

  struct Line {
    DelayMemory memory;
    float loss = 0;     // what is left of the amplitude after one pass
    float damping = 0;  // pole of the low pass
    float lowPass = 0;  // its state
    // Drift: a slow sine by rotation; the delay moves in a straight line from slice to slice.
    double turnCosine = 1;
    double turnSine = 0;
    double cosine = 1;
    double sine = 0;
    double delayBegin = 0;
    double delayEnd = 0;
  };

  struct InputPath {
    DelayMemory preDelay;
    std::array<DelayMemory, allpassCount> allpasses;
    float highPassInput = 0;
    float highPassOutput = 0;
  };

  using Slice = std::array<float, sliceFrames>;

  void layOut(double sampleRate);
  void resetStates() noexcept;
  void rest(std::uint32_t frameCount) noexcept;
  [[nodiscard]] bool isWithoutState() const noexcept;
  void beginSlice() noexcept;
  void endSlice() noexcept;
  void processPart(const float* left, const float* right, float* wetLeft, float* wetRight,
                   std::uint32_t count) noexcept;
  void diffuse(InputPath& path, const float* input, Slice& diffused, std::uint32_t count) noexcept;
  void readLine(const Line& line, float* output, std::uint32_t count) const noexcept;
  void damp(std::size_t firstLine, std::uint32_t count) noexcept;
  void mixLines(std::uint32_t count) noexcept;
  void collect(const Slice& early, const std::array<float, lineCount>& signs, float* wet,
               std::uint32_t count) const noexcept;

  double sampleRate_ = 0;
  float highPassPole_ = 0;
  double driftFrames_ = 0;
  std::vector<float> memory_;
  std::size_t cleared_ = 0;   // floats of memory_ that are known to be zero, from the beginning
  std::uint32_t offset_ = 0;  // frames of the present slice that are done
  bool mayRest_ = true;
  bool isEmpty_ = true;              // memory and states are zero
  bool isStoring_ = false;           // what it stores is not silence; in the block under way
  std::uint32_t quietFrames_ = 0;    // since it began to take in and store silence only
  std::uint32_t longestFrames_ = 0;  // of all delay memories
  std::array<InputPath, 2> paths_;
  std::array<Line, lineCount> lines_;
  alignas(64) std::array<Slice, lineCount> slices_{};
};

}  // namespace vrel::audio
