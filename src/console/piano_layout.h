// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

// Where the keys of the on-screen keyboard are, and where the splits of the strips lie above them. Points; the origin
// is the upper left corner of the keys, or of the band above them. Plain values, any thread.

namespace vrel {

/// Whether a note's key is a black one.
[[nodiscard]] constexpr bool isBlackKey(int note) {
  constexpr unsigned blackPitchClasses = 0b0101'0100'1010;  // C# D# F# G# A#
  return ((blackPitchClasses >> static_cast<unsigned>(note % 12)) & 1U) != 0;
}

struct KeyRect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
};

/// The keys from `startNote` on. Notes above 127 have keys, too, which no strip plays.
class PianoLayout {
 public:
  static constexpr double keysHeight = 85;
  static constexpr double narrowestKey = 12;
  static constexpr double widestKey = 35;

  PianoLayout() = default;
  /// In a view of this width, which the keys may leave free or exceed.
  PianoLayout(int startNote, int keyCount, double viewWidth, double height = keysHeight);

  [[nodiscard]] const std::vector<int>& whites() const { return whites_; }
  [[nodiscard]] const std::vector<int>& blacks() const { return blacks_; }
  [[nodiscard]] int startNote() const { return startNote_; }
  [[nodiscard]] int keyCount() const { return keyCount_; }
  [[nodiscard]] double whiteWidth() const { return whiteWidth_; }
  /// Of all keys together.
  [[nodiscard]] double width() const { return whiteWidth_ * static_cast<double>(whites_.size()); }
  [[nodiscard]] double height() const { return height_; }

  [[nodiscard]] bool has(int note) const { return note >= startNote_ && note < startNote_ + keyCount_; }
  /// The middle of a white key, the joint at which a black one lies; 0 for what is not on the keyboard.
  [[nodiscard]] double keyX(int note) const;
  /// Of a note on the keyboard.
  [[nodiscard]] KeyRect keyRect(int note) const;

  /// Inside the drawn keyboard, which includes its edges.
  [[nodiscard]] bool contains(double x, double y) const { return x >= 0 && y >= 0 && x <= width() && y <= height_; }
  /// The key under a place, a black one first.
  [[nodiscard]] std::optional<int> noteAt(double x, double y) const;
  /// The key whose `keyX` is nearest, of two the lower; none without keys.
  [[nodiscard]] std::optional<int> nearestNote(double x) const;

 private:
  static constexpr double blackWidthShare = 0.65;
  static constexpr double blackHeightShare = 0.6;

  int startNote_ = 0;
  int keyCount_ = 0;
  double height_ = keysHeight;
  double whiteWidth_ = narrowestKey;
  std::vector<int> whites_;
  std::vector<int> blacks_;
};

/// The notes that a strip takes, as the band above the keys shows them: one row for each strip.
struct SplitBar {
  int minNote = 0;
  int maxNote = 127;
};

/// The strip that gives a pressed key its colour: the first that takes the note.
[[nodiscard]] std::optional<std::size_t> claimant(const std::vector<SplitBar>& bars, int note);

namespace split_band {

/// For this many strips.
[[nodiscard]] double height(std::size_t rows);
/// The middle of a row.
[[nodiscard]] double middle(std::size_t row);
[[nodiscard]] KeyRect bar(const PianoLayout& layout, const SplitBar& bar, std::size_t row);
/// Around the bar of the selected strip.
[[nodiscard]] KeyRect frame(const PianoLayout& layout, const SplitBar& bar, std::size_t row);
/// The row at a height, which is clamped to the band; none without strips.
[[nodiscard]] std::optional<std::size_t> rowAt(double y, std::size_t rows);

inline constexpr double handleSize = 8;

}  // namespace split_band

}  // namespace vrel
