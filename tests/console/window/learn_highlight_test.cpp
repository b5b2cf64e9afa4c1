// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/learn_highlight.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QList>
#include <QObject>
#include <QVariant>

namespace vrel::window {
namespace {

TEST(LookOfALearnableControl, IsNothingOutsideLearnMode) {
  const LearnHighlight look;
  EXPECT_FALSE(look.isShown());
}

TEST(LookOfALearnableControl, IsDashedInOrangeWhileItCanBePicked) {
  LearnHighlight look;
  look.setProperty("isEnabled", true);
  EXPECT_TRUE(look.isShown());
  EXPECT_EQ(look.stroke(), QColor::fromRgbF(1.0F, 0.5F, 0.0F));
  EXPECT_EQ(look.dashes(), (QList<qreal>{4 / 1.5, 3 / 1.5})) << "of a stroke 1.5 wide";
  EXPECT_NEAR(look.shadow().alphaF(), 0.35, 0.001);
  EXPECT_EQ(look.shadowRadius(), 3);
  EXPECT_EQ(LearnHighlight::cornerRadius(), 4);
}

TEST(LookOfALearnableControl, IsDrawnThroughInCyanWhileItWaitsAndSaysSo) {
  LearnHighlight look;
  look.setProperty("isEnabled", true);
  int changes = 0;
  QObject::connect(&look, &LearnHighlight::changed, [&changes] { ++changes; });
  look.setProperty("isPending", true);
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(look.stroke(), QColor::fromRgbF(0.0F, 1.0F, 1.0F));
  EXPECT_EQ(look.strokeWidth(), 2);
  EXPECT_TRUE(look.dashes().isEmpty());
  EXPECT_NEAR(look.shadow().alphaF(), 0.55, 0.001);
}

}  // namespace
}  // namespace vrel::window
