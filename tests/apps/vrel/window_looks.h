// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRectF>
#include <string>
#include <vector>

class QQuickItem;

namespace vrel::app::test {

/// What is seen of an item and everything in it, judged by where it lies. Places are in pixels of the window.
class WindowLooks {
 public:
  /// Borrows the item, which must be in a window.
  explicit WindowLooks(const QQuickItem& root) : root_(root) {}

  /// Words that are cut off, or reach beyond their own item.
  [[nodiscard]] std::vector<std::string> cutOffWords() const;
  /// Words of fewer pixels than can be read.
  [[nodiscard]] std::vector<std::string> tinyWords() const;
  /// Controls for pointer and finger that are smaller than this, in points.
  [[nodiscard]] std::vector<std::string> smallTargets(double points) const;
  /// Pairs of controls, scroll bars among them, and of controls or words with words that do not belong to them.
  [[nodiscard]] std::vector<std::string> overlaps() const;

 private:
  const QQuickItem& root_;
};

/// Where an item is; empty when it cannot be seen whole.
[[nodiscard]] QRectF placeInWindow(const QQuickItem& item);

}  // namespace vrel::app::test
