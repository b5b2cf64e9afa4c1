// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "foundation/result.h"
#include "system/media/clip_picture.h"

namespace vrel::system {

/// The pictures of a movie file, one after the other, each with its time from the first; or the one of a still.
///
/// Times and length come from the pictures themselves, not from the header. Audio is not read. Damage only ends a pass
/// early. The file stays open or is in memory, so it may be renamed or removed meanwhile. One thread at a time.
class ClipDecoder {
 public:
  /// Opens a regular file; anything else fails at once. `isOver`, which may be null and must outlive the decoder,
  /// interrupts any reading once it is true.
  [[nodiscard]] static Result<std::unique_ptr<ClipDecoder>> open(const std::string& path,
                                                                 const std::atomic<bool>* isOver);
  ~ClipDecoder();
  ClipDecoder(const ClipDecoder&) = delete;
  ClipDecoder& operator=(const ClipDecoder&) = delete;

  /// The next picture in display order; null at the end of the pass.
  [[nodiscard]] ClipPicturePointer next();

  /// Where the last picture of this pass ends, which after a whole pass is the length of the clip: seconds.
  [[nodiscard]] double passSeconds() const;

  /// The length that the file's header states, which nothing is timed by: seconds; 0 where it states none.
  [[nodiscard]] double statedSeconds() const;

  /// A still picture, which is opened also when it is too large: then it has no picture.
  [[nodiscard]] bool isStill() const;
  [[nodiscard]] bool isTooLarge() const;

  /// The next picture will be the first one. False when the file cannot be read from its start again.
  bool rewind();

  /// Releases the codec until the next `rewind`; `next` returns null until then.
  void suspend();
  [[nodiscard]] bool isAwake() const;

 private:
  struct Parts;
  explicit ClipDecoder(std::unique_ptr<Parts> parts);
  [[nodiscard]] bool wake();
  [[nodiscard]] bool feed();
  [[nodiscard]] ClipPicturePointer take();

  std::unique_ptr<Parts> parts_;
};

}  // namespace vrel::system
