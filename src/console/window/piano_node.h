// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QSGNode>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "console/piano_layout.h"

class QQuickWindow;
class QSGImageNode;
class QSGRectangleNode;
class QSGTexture;

namespace vrel::window {

/// The keys in the scene: a picture for each, the white ones below the black ones. Keys that look alike share one
/// picture. The thread that renders.
class PianoNode final : public QSGNode {
 public:
  /// The fill of a held key; none for one that is not held.
  using HeldColor = std::function<std::optional<QColor>(int note)>;

  PianoNode(QQuickWindow& window, const PianoLayout& layout, qreal pixelsPerPoint);
  ~PianoNode() override;
  PianoNode(const PianoNode&) = delete;
  PianoNode& operator=(const PianoNode&) = delete;

  [[nodiscard]] qreal scale() const { return scale_; }
  /// Gives the keys that have changed their other picture; how many that were.
  int show(const HeldColor& heldColor);
  /// Marks the key that the keyboard of the computer plays.
  void showCursor(const std::optional<int>& note);

 private:
  struct Key {
    int note;
    QSGImageNode* node;
    std::optional<QRgb> fill;
  };
  using Look = std::pair<bool, std::optional<QRgb>>;  // black, fill of a held one

  void addKey(int note);
  void addName(int note);
  [[nodiscard]] QSGTexture* picture(bool isBlack, std::optional<QRgb> fill);

  QQuickWindow& window_;
  PianoLayout layout_;
  qreal scale_;
  std::map<Look, std::unique_ptr<QSGTexture>> pictures_;
  std::vector<Key> keys_;
  QSGRectangleNode* cursor_;
};

}  // namespace vrel::window
