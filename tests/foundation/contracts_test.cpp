// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/contracts.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "foundation/main_thread.h"
#include "foundation/thread_roles.h"
#include "support/contract_policy.h"

namespace vrel {
namespace {

using test::ContractPolicyScope;

bool isSmall(int number) {
  return VREL_EXPECTS(number < 10);
}

bool isPositive(int number) {
  return VREL_EXPECTS(number > 0);
}

bool isEven(int number) {
  return VREL_EXPECTS(number % 2 == 0);
}

TEST(Contracts, WhatHoldsIsNotCounted) {
  const auto before = contractViolations();
  EXPECT_TRUE(isSmall(9));
  EXPECT_EQ(contractViolations(), before);
}

TEST(Contracts, AViolationEndsTheProgramInDevelopment) {
  const ContractPolicyScope policy(ContractPolicy::terminate);
  EXPECT_DEATH(static_cast<void>(isSmall(10)), "Contract violated at contracts_test.cpp:[0-9]+: number < 10");
}

TEST(Contracts, ThisBuildEndsTheProgramUnlessItIsForTheStage) {
#ifdef NDEBUG
  EXPECT_EQ(contractPolicy(), ContractPolicy::recover);
#else
  EXPECT_EQ(contractPolicy(), ContractPolicy::terminate);
#endif
}

TEST(Contracts, AViolationOnStageIsCountedEachTimeAndLoggedOncePerPlace) {
  const ContractPolicyScope policy(ContractPolicy::recover);
  const auto before = contractViolations();
  testing::internal::CaptureStderr();
  for (int number = 0; number > -3; --number) {
    EXPECT_FALSE(isPositive(number));
  }
  const std::string log = testing::internal::GetCapturedStderr();
  EXPECT_EQ(contractViolations(), before + 3);
  EXPECT_NE(log.find("number > 0"), std::string::npos);
  EXPECT_EQ(log.find("number > 0"), log.rfind("number > 0"));
}

TEST(Contracts, AViolationInAnAudioBlockIsCountedAndLoggedAtTheNextOneOutside) {
  const ContractPolicyScope policy(ContractPolicy::recover);
  const auto before = contractViolations();
  testing::internal::CaptureStderr();
  {
    const AudioThreadScope block;
    EXPECT_FALSE(isEven(1));
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(contractViolations(), before + 1);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(isEven(1));
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST(MainThread, IsTheProgramsFirstThreadAndNoOther) {
  EXPECT_TRUE(isMainThread());
  bool isOtherMain = true;
  std::thread([&] { isOtherMain = isMainThread(); }).join();
  EXPECT_FALSE(isOtherMain);
}

TEST(MainThread, IsTheOneThatHoldsTheScopeAndThenTheFirstAgain) {
  bool isOtherMain = false;
  std::thread([&] {
    const MainThreadScope scope;
    isOtherMain = isMainThread();
  }).join();
  EXPECT_TRUE(isOtherMain);
  EXPECT_TRUE(isMainThread());
}

}  // namespace
}  // namespace vrel
