// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QSize>

class QOpenGLContext;
class QOpenGLFunctions;

namespace vrel::system {

/// A buffer off the screen, whose pixels are read back. Made, used and destroyed with the same context current, which
/// outlives it; of a lost one nothing is released.
class StageReader {
 public:
  explicit StageReader(QOpenGLContext& context);
  ~StageReader();
  StageReader(const StageReader&) = delete;
  StageReader& operator=(const StageReader&) = delete;

  /// All is drawn into it from now on.
  void bind(QSize size);
  /// From the top left; null when there is no buffer of that size.
  [[nodiscard]] QImage read() const;

  /// Its context is gone, and all that it held there.
  void forgetContext() { isContextLost_ = true; }

 private:
  QOpenGLFunctions& gl_;
  QSize size_;
  unsigned buffer_ = 0;
  unsigned pixels_ = 0;
  bool isContextLost_ = false;
};

}  // namespace vrel::system
