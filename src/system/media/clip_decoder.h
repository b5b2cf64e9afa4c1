// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "foundation/result.h"
#include "system/media/clip_picture.h"

namespace vrel::system {

/// The pictures of a movie file, one after the other, each with its time from the first.
///
/// Times and length are told by the pictures themselves; what the header claims is not believed. Sound is not
/// read. Damage ends a pass early and is no other fault. The file stays open, so what becomes of its name does not
/// matter. One thread at a time.
class ClipDecoder {
 public:
  /// Opens a plain file. `isOver`, which may be null and must outlive the decoder, breaks off any reading once it is
  /// true.
  [[nodiscard]] static Result<std::unique_ptr<ClipDecoder>> open(const std::string& path,
                                                                 const std::atomic<bool>* isOver);
  ~ClipDecoder();
  ClipDecoder(const ClipDecoder&) = delete;
  ClipDecoder& operator=(const ClipDecoder&) = delete;

  /// The next picture in the order of showing; null at the end of the pass.
  [[nodiscard]] ClipPicturePointer next();

  /// Where the last picture of this pass ends, which after a whole pass is the length of the clip: seconds.
  [[nodiscard]] double passSeconds() const;

  /// The next picture will be the first one. False when the file can not be read from its start again.
  bool rewind();

  /// Lets go of all that decoding needs until the next `rewind`; `next` gives nothing until then.
  void rest();
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
