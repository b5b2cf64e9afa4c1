// SPDX-License-Identifier: GPL-3.0-or-later
#include "apps/vrel/window_looks.h"

#include <QFont>
#include <QQuickItem>
#include <QQuickWindow>
#include <QString>
#include <algorithm>
#include <cstddef>

namespace vrel::app::test {
namespace {

constexpr double rounding = 1;

struct Seen {
  const QQuickItem* item = nullptr;
  QRectF place;
  bool isTarget = false;

  [[nodiscard]] std::string name() const {
    const auto words = item->property("text").toString();
    return (item->objectName().isEmpty() ? words : item->objectName()).toStdString();
  }
};

template <typename Action>
void visit(const QQuickItem& item, const Action& action) {
  if (!item.isVisible() || item.opacity() == 0) {
    return;
  }
  action(item);
  const auto children = item.childItems();
  for (const QQuickItem* child : children) {
    visit(*child, action);
  }
}

bool isText(const QQuickItem& item) {
  return item.inherits("QQuickText") && !item.property("text").toString().isEmpty();
}

bool isTarget(const QQuickItem& item) {
  return item.inherits("QQuickAbstractButton") || item.inherits("QQuickTextField") ||
         (item.activeFocusOnTab() && !item.inherits("QQuickScrollBar") && !item.inherits("QQuickListView"));
}

/// One that is drawn.
bool isScrollBar(const QQuickItem& item) {
  return item.inherits("QQuickScrollBar") && item.property("size").toDouble() < 1;
}

/// The words alone, without the rest of their item.
QRectF painted(const QQuickItem& text) {
  const double width = text.property("contentWidth").toDouble();
  const double height = text.property("contentHeight").toDouble();
  const auto start = [](double room, double taken, bool isCentred, bool isAtEnd) {
    return isCentred ? (room - taken) / 2 : isAtEnd ? room - taken : 0;
  };
  const int across = text.property("effectiveHorizontalAlignment").toInt();
  const int down = text.property("verticalAlignment").toInt();
  return {start(text.width(), width, across == Qt::AlignHCenter, across == Qt::AlignRight),
          start(text.height(), height, down == Qt::AlignVCenter, down == Qt::AlignBottom), width, height};
}

/// Hints and other popups lie over things by design.
bool isOverAll(const QQuickItem& item) {
  const auto* const above = item.parentItem();
  return above != nullptr && (above->inherits("QQuickOverlay") || isOverAll(*above));
}

/// A field and the words that stand in for its own while it is not edited.
bool isSameText(const QQuickItem& item, const QQuickItem& other) {
  return item.property("text").isValid() && item.property("text") == other.property("text");
}

bool isWithin(const QQuickItem& item, const QQuickItem& other) {
  return &item == &other || other.isAncestorOf(&item);
}

}  // namespace

QRectF placeInWindow(const QQuickItem& item) {
  const QRectF here = item.mapRectToScene(QRectF(0, 0, item.width(), item.height()));
  const auto holds = [&here](const QRectF& around) {
    return around.adjusted(-rounding, -rounding, rounding, rounding).contains(here);
  };
  for (const auto* above = item.parentItem(); above != nullptr; above = above->parentItem()) {
    if (above->clip() && !holds(above->mapRectToScene(QRectF(0, 0, above->width(), above->height())))) {
      return {};
    }
  }
  return item.window() != nullptr && holds(QRectF(QPointF(), item.window()->size())) ? here : QRectF();
}

std::vector<std::string> WindowLooks::cutOffWords() const {
  std::vector<std::string> words;
  visit(root_, [&](const QQuickItem& item) {
    if (isText(item) &&
        (item.property("truncated").toBool() || item.property("contentWidth").toDouble() > item.width() + rounding ||
         item.property("contentHeight").toDouble() > item.height() + rounding)) {
      words.push_back(item.property("text").toString().toStdString());
    }
  });
  return words;
}

std::vector<std::string> WindowLooks::tinyWords() const {
  constexpr double smallest = 11;  // pixels
  std::vector<std::string> words;
  visit(root_, [&](const QQuickItem& item) {
    const double scale = item.mapRectToScene(QRectF(0, 0, 1, 1)).height();
    if (isText(item) && item.property("font").value<QFont>().pixelSize() * scale < smallest) {
      words.push_back(item.property("text").toString().toStdString());
    }
  });
  return words;
}

std::vector<std::string> WindowLooks::smallTargets(double points) const {
  std::vector<std::string> small;
  visit(root_, [&](const QQuickItem& item) {
    const QRectF place = isTarget(item) ? placeInWindow(item) : QRectF();
    const double least = points * item.window()->contentItem()->scale() - rounding;
    if (!place.isEmpty() && (place.width() < least || place.height() < least)) {
      small.push_back(Seen{&item, place, true}.name());
    }
  });
  return small;
}

std::vector<std::string> WindowLooks::overlaps() const {
  std::vector<Seen> all;
  visit(root_, [&](const QQuickItem& item) {
    const bool isControl = isTarget(item) || isScrollBar(item);
    if ((isControl || isText(item)) && !isOverAll(item) && !placeInWindow(item).isEmpty()) {
      const QRectF place = isControl ? QRectF(0, 0, item.width(), item.height()) : painted(item);
      all.push_back({&item, item.mapRectToScene(place), isControl});
    }
  });
  std::vector<std::string> overlapping;
  for (std::size_t one = 0; one < all.size(); ++one) {
    for (std::size_t other = one + 1; other < all.size(); ++other) {
      const QRectF common = all[one].place.intersected(all[other].place);
      const bool isOneThing = isWithin(*all[one].item, *all[other].item) ||
                              isWithin(*all[other].item, *all[one].item) ||
                              isSameText(*all[one].item, *all[other].item);
      if (!isOneThing && common.width() > rounding && common.height() > rounding) {
        overlapping.push_back(all[one].name() + " and " + all[other].name());
      }
    }
  }
  return overlapping;
}

}  // namespace vrel::app::test
