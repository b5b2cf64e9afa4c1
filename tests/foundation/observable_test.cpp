// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/observable.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "support/contract_policy.h"

namespace vrel {
namespace {

TEST(Observable, NotifiesItsReadersOfARealChangeOnly) {
  Observable<int> value{1};
  std::vector<int> seen;
  const auto connection = value.changed.connect([&](int now) { seen.push_back(now); });
  value.set(2);
  value.set(2);
  value.set(3);
  EXPECT_EQ(seen, (std::vector{2, 3}));
}

TEST(Observable, RunsItsEffectOnEveryAssignmentBeforeReadersAreNotified) {
  Observable<int> value{1};
  std::vector<int> order;
  value.setEffect([&] { order.push_back(0); });
  const auto connection = value.changed.connect([&](int now) { order.push_back(now); });
  value.set(1);
  value.set(2);
  EXPECT_EQ(order, (std::vector{0, 0, 2}));
}

TEST(Observable, AReaderThatReleasedItsConnectionIsNotNotified) {
  Observable<int> value{1};
  int calls = 0;
  auto connection = value.changed.connect([&](int) { ++calls; });
  connection.reset();
  value.set(2);
  EXPECT_EQ(calls, 0);
}

TEST(Observable, IsOfTheMainThreadOnly) {
  const test::ContractPolicyScope policy(ContractPolicy::terminate);
  EXPECT_DEATH(std::thread([] { Observable<int>().set(1); }).join(), "Contract violated at observable.h.*isMainThread");
}

TEST(Observable, RefusesAnAssignmentOnAnotherThreadOnStage) {
  const test::ContractPolicyScope policy(ContractPolicy::recover);
  const auto before = contractViolations();
  Observable<int> value{1};
  int calls = 0;
  const auto connection = value.changed.connect([&](int) { ++calls; });
  std::thread([&] {
    value.set(2);
    value.modify([](int& number) { number = 3; });
    value.changed.emit(4);
    EXPECT_EQ(value.changed.connect([&](int) { ++calls; }), nullptr);
  }).join();
  EXPECT_EQ(contractViolations(), before + 4);
  EXPECT_EQ(value.get(), 1);
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
  EXPECT_EQ(late, 0) << "a listener is called from the next emission on";
  signal.emit();
  EXPECT_EQ(late, 1);
}

}  // namespace
}  // namespace vrel
