// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

// How clips are played: an asset is a file, an item is an asset in a queue, a player decodes the pictures of
// its items, and a looper makes a player repeat one item forever.
//
// Ownership: everything is shared and may be released last on any thread, without waiting.

namespace vrel {

/// Rows of samples, one byte each.
struct PicturePlane {
  const std::uint8_t* rows = nullptr;
  std::size_t width = 0;  // samples, or groups of interleaved ones
  std::size_t height = 0;
  std::size_t rowBytes = 0;  // from one row to the next
};

/// A picture as its codec gave it, for a renderer that converts colours itself.
struct PicturePlanes {
  enum class Layout {
    rgba,         // one plane of four samples a pixel, not premultiplied
    separate,     // Y, U, V and, with alpha, A; of a grey picture Y alone
    interleaved,  // Y; U and V in pairs
  };
  enum class Matrix { bt601, bt709, bt2020 };

  Layout layout = Layout::rgba;
  Matrix matrix = Matrix::bt709;
  bool isFullRange = false;  // of luma and chroma; alpha always is
  bool hasAlpha = false;
  std::size_t planeCount = 0;
  std::array<PicturePlane, 4> planes{};
  std::size_t chromaColumns = 1;  // pixels that a chroma sample covers in width
  std::size_t chromaRows = 1;     // and in height
  bool isChromaLeft = false;      // it belongs to the leftmost of them, not to their middle
  // How stored rows become what is seen: mirrored first, then, where transposed, rows and columns change places.
  bool mirrorsX = false;
  bool mirrorsY = false;
  bool transposed = false;
};

/// One picture of a clip, rotated and mirrored as the file says. Immutable; any thread.
class VideoPicture {
 public:
  virtual ~VideoPicture() = default;
  [[nodiscard]] virtual std::size_t width() const = 0;   // pixels
  [[nodiscard]] virtual std::size_t height() const = 0;  // pixels
  /// Seconds from the first picture of the clip.
  [[nodiscard]] virtual double seconds() const = 0;
  /// Whether any pixel may be transparent.
  [[nodiscard]] virtual bool hasAlpha() const = 0;
  /// Writes RGBA, one byte each, not premultiplied, row by row from the top left. Takes milliseconds. False, with
  /// `pixels` undefined, when there is no room for `width * height * 4` bytes or the picture cannot be
  /// converted.
  [[nodiscard]] virtual bool copyPixels(std::span<std::uint8_t> pixels) const = 0;
  /// Its samples without any conversion; valid for as long as the picture lives. `width` and `height` are what they are
  /// to be scaled to.
  [[nodiscard]] virtual PicturePlanes planes() const = 0;
};

/// A movie file. Creating one reads nothing.
class AVURLAsset {
 public:
  using Completion = std::function<void()>;
  virtual ~AVURLAsset() = default;
  /// Loads any of "playable", "duration" and "tracks" ahead of first use. The completion is called once, on any
  /// thread, whether that succeeds or not.
  virtual void loadValuesAsynchronouslyForKeys(const std::vector<std::string>& keys, Completion completion) = 0;
};

/// An asset in a player's queue. Main thread.
class AVPlayerItem {
 public:
  virtual ~AVPlayerItem() = default;
  /// How far ahead a playing player decodes, in seconds. A hint.
  virtual void setPreferredForwardBufferDuration(double seconds) = 0;
};

enum class AVPlayerActionAtItemEnd { advance, pause, none };

/// Plays the items of its queue, muted or not. Created on any thread; then main thread only.
/// No operation waits or reads a file; `copyPictureForTime` is for any thread. Without an item that can be decoded
/// there is no picture, and no error.
class AVQueuePlayer {
 public:
  virtual ~AVQueuePlayer() = default;

  virtual void setActionAtItemEnd(AVPlayerActionAtItemEnd action) = 0;
  virtual void setMuted(bool muted) = 0;
  virtual void setAutomaticallyWaitsToMinimizeStalling(bool waits) = 0;

  /// `insertItem:afterItem:` of an empty queue: the item is played once. Its last picture stays with
  /// `AVPlayerActionAtItemEnd::pause`.
  virtual void insertItem(const std::shared_ptr<AVPlayerItem>& item) = 0;

  /// Exact when both tolerances are 0. Time 0 is the first picture, which a prepared clip has ready.
  virtual void seekToTime(double seconds, double toleranceBefore, double toleranceAfter) = 0;
  virtual void play() = 0;
  virtual void pause() = 0;

  /// The playing item, or null.
  [[nodiscard]] virtual std::shared_ptr<AVPlayerItem> currentItem() const = 0;

  /// The picture that is due now; null while there is none. Call once per frame of the screen.
  [[nodiscard]] virtual std::shared_ptr<const VideoPicture> copyPicture() = 0;
  /// The picture that is due at a media time, which may lie a refresh of the screen ahead. Any thread, any number of
  /// takers at a time, each at its own rate.
  [[nodiscard]] virtual std::shared_ptr<const VideoPicture> copyPictureForTime(double mediaSeconds) = 0;
};

/// Makes a player repeat an item without a gap, for as long as it lives.
class AVPlayerLooper {
 public:
  virtual ~AVPlayerLooper() = default;
};

/// What a list shows of a clip.
struct ClipSummary {
  bool isPlayable = false;
  bool isStill = false;     // a picture that does not move
  bool isTooLarge = false;  // such a picture, with too many pixels or bytes to be shown
  double seconds = 0;       // as its file says; 0 where that is unknown
  // Its first picture, small: RGBA, row by row from the top left. Empty for what cannot be played.
  std::size_t width = 0;
  std::size_t height = 0;
  std::vector<std::uint8_t> pixels;

  bool operator==(const ClipSummary&) const = default;
};

/// Makes all of these. Any thread.
class VideoFactory {
 public:
  virtual ~VideoFactory() = default;
  /// Whether there is such a file. Never waits: the completion is called once, on any thread, unless the program ends;
  /// a folder that does not answer holds up only what is asked of it.
  virtual void findFile(const std::string& path, std::function<void(bool isThere)> completion) = 0;
  /// Looks into a file. The completion is called once, on any thread, unless the program ends.
  virtual void summarise(const std::string& path, std::function<void(const ClipSummary&)> completion) = 0;
  [[nodiscard]] virtual std::shared_ptr<AVURLAsset> makeAsset(const std::string& path) = 0;
  [[nodiscard]] virtual std::shared_ptr<AVPlayerItem> makePlayerItem(const std::shared_ptr<AVURLAsset>& asset) = 0;
  [[nodiscard]] virtual std::shared_ptr<AVQueuePlayer> makeQueuePlayer() = 0;
  /// `playerLooperWithPlayer:templateItem:`.
  [[nodiscard]] virtual std::shared_ptr<AVPlayerLooper> makePlayerLooper(
      const std::shared_ptr<AVQueuePlayer>& player, const std::shared_ptr<AVPlayerItem>& templateItem) = 0;
};

}  // namespace vrel
