// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/single_instance.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QCoreApplication>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace vrel::app {
namespace {

using Answer = SingleInstance::Answer;
using Setlist = std::optional<std::filesystem::path>;

/// Programs that share the folder of a session.
class SingleInstanceTest : public testing::Test {
 protected:
  SingleInstanceTest() {
    std::string folder = testing::TempDir() + "vrel_instance_XXXXXX";
    root_ = ::mkdtemp(folder.data());
  }
  ~SingleInstanceTest() override { std::filesystem::remove_all(root_); }

  void serve(SingleInstance& instance, Answer answer) {
    instance.serve([this, answer](const Setlist& setlist) {
      received.push_back(setlist);
      return answer;
    });
  }

  /// From another program, while this one's loop runs.
  [[nodiscard]] Answer handedOver(const Setlist& setlist) const {
    auto answer = std::async(std::launch::async, [&] { return SingleInstance(folder()).handOver(setlist); });
    while (answer.wait_for(std::chrono::milliseconds(2)) != std::future_status::ready) {
      QCoreApplication::processEvents();
    }
    return answer.get();
  }

  [[nodiscard]] std::filesystem::path folder() const { return root_ / "vrel"; }

  std::vector<Setlist> received;

 private:
  std::filesystem::path root_;
};

TEST_F(SingleInstanceTest, TheSecondHandsItsSetlistToTheFirst) {
  SingleInstance first(folder());
  EXPECT_TRUE(first.isFirst());
  EXPECT_FALSE(SingleInstance(folder()).isFirst());
  serve(first, Answer::opens);
  EXPECT_EQ(handedOver("/home/me/Brüder & Söhne.vrel"), Answer::opens);
  EXPECT_EQ(handedOver(std::nullopt), Answer::opens);
  EXPECT_EQ(received, (std::vector<Setlist>{"/home/me/Brüder & Söhne.vrel", std::nullopt}));
}

TEST_F(SingleInstanceTest, InLiveModeTheFirstRefuses) {
  SingleInstance first(folder());
  serve(first, Answer::isLive);
  EXPECT_EQ(handedOver("/home/me/gig.vrel"), Answer::isLive);
}

TEST_F(SingleInstanceTest, AfterTheFirstHasEndedTheNextIsFirst) {
  {
    SingleInstance first(folder());
    serve(first, Answer::opens);
  }
  SingleInstance next(folder());
  EXPECT_TRUE(next.isFirst());
}

TEST_F(SingleInstanceTest, ASocketThatAKilledProgramLeftIsNoProgram) {
  std::filesystem::create_directories(folder());
  std::ofstream(folder() / "lock") << "";
  std::ofstream(folder() / "open.socket") << "left over";
  SingleInstance first(folder());
  ASSERT_TRUE(first.isFirst());
  serve(first, Answer::opens);
  EXPECT_EQ(handedOver("/home/me/gig.vrel"), Answer::opens);
}

TEST_F(SingleInstanceTest, WithoutAFolderOfTheSessionEverybodyIsFirst) {
  EXPECT_TRUE(SingleInstance({}).isFirst());
  const auto nowhere = folder() / "below" / "it";
  SingleInstance one(nowhere);
  serve(one, Answer::opens);
  EXPECT_TRUE(SingleInstance(nowhere).isFirst());
  EXPECT_FALSE(std::filesystem::exists(folder()));
}

TEST_F(SingleInstanceTest, AFirstThatDoesNotListenIsWaitedForAndThenReported) {
  const SingleInstance first(folder());
  EXPECT_EQ(SingleInstance(folder()).handOver("/home/me/gig.vrel", std::chrono::milliseconds(50)), Answer::noResponse);
}

TEST_F(SingleInstanceTest, AFirstWhoseLoopDoesNotTurnKeepsNobodyBeyondTheTimeout) {
  SingleInstance first(folder());
  serve(first, Answer::opens);
  for (int more = 0; more < 12; ++more) {  // than wait to be accepted
    EXPECT_EQ(SingleInstance(folder()).handOver("/home/me/gig.vrel", std::chrono::milliseconds(10)),
              Answer::noResponse);
  }
}

TEST_F(SingleInstanceTest, ASetlistWhoseSenderHasGivenUpIsNotOpened) {
  SingleInstance first(folder());
  serve(first, Answer::opens);
  ASSERT_EQ(SingleInstance(folder()).handOver("/home/me/early.vrel", std::chrono::milliseconds(10)),
            Answer::noResponse);
  EXPECT_EQ(handedOver("/home/me/gig.vrel"), Answer::opens);
  EXPECT_EQ(received, (std::vector<Setlist>{"/home/me/gig.vrel"}));
}

}  // namespace
}  // namespace vrel::app
