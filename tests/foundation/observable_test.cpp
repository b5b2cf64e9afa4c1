// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/observable.h"

#include <gtest/gtest.h>

#include <vector>

namespace vrel {
namespace {

TEST(Observable, TellsItsReadersOfARealChangeOnly) {
  Observable<int> value{1};
  std::vector<int> seen;
  const auto connection = value.changed.connect([&](int now) { seen.push_back(now); });
  value.set(2);
  value.set(2);
  value.set(3);
  EXPECT_EQ(seen, (std::vector{2, 3}));
}

TEST(Observable, RunsItsEffectOnEveryAssignmentBeforeReadersAreTold) {
  Observable<int> value{1};
  std::vector<int> order;
  value.setEffect([&] { order.push_back(0); });
  const auto connection = value.changed.connect([&](int now) { order.push_back(now); });
  value.set(1);
  value.set(2);
  EXPECT_EQ(order, (std::vector{0, 0, 2}));
}

TEST(Observable, AReaderThatLetGoOfItsConnectionHearsNothing) {
  Observable<int> value{1};
  int calls = 0;
  auto connection = value.changed.connect([&](int) { ++calls; });
  connection.reset();
  value.set(2);
  EXPECT_EQ(calls, 0);
}

TEST(Signal, AListenerMayJoinOrLeaveWhileItIsCalled) {
  Signal<> signal;
  int late = 0;
  int second = 0;
  Signal<>::Connection joined;
  Signal<>::Connection leaving;
  const auto first = signal.connect([&] {
    if (joined == nullptr) {
      joined = signal.connect([&] { ++late; });
    }
    leaving.reset();
  });
  leaving = signal.connect([&] { ++second; });
  signal.emit();
  EXPECT_EQ(second, 0);
  EXPECT_EQ(late, 0) << "a listener hears from the next emission on";
  signal.emit();
  EXPECT_EQ(late, 1);
}

}  // namespace
}  // namespace vrel
