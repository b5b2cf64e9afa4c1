// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <memory>

namespace vrel {
class VideoPicture;
}  // namespace vrel

namespace vrel::window {

/// One picture of a clip: as its decoder gave it, for the window to make an image of when it shows it, or an image. A
/// value.
class ClipFrame {
  Q_GADGET
  QML_VALUE_TYPE(clipFrame)

 public:
  std::shared_ptr<const VideoPicture> picture;  // null for none
  QImage image;                                 // null for none

  bool operator==(const ClipFrame&) const = default;
};

}  // namespace vrel::window
