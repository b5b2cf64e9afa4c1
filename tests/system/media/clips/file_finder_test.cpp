// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/file_finder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vrel::system {
namespace {

/// Folders below "/silent" answer when the test lets them, all others at once.
class FileFinding : public testing::Test {
 protected:
  ~FileFinding() override {
    answer.set_value();
    finder.reset();
  }

  [[nodiscard]] std::future<bool> find(const std::string& path) {
    auto found = std::make_shared<std::promise<bool>>();
    finder->find(path, [found](bool isThere) { found->set_value(isThere); });
    return found->get_future();
  }

  static bool isAnswered(const std::future<bool>& answer) {
    return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  }

  std::promise<void> answer;
  std::shared_ptr<std::atomic<int>> hanging = std::make_shared<std::atomic<int>>(0);
  std::unique_ptr<FileFinder> finder = std::make_unique<FileFinder>(
      [answered = answer.get_future().share(), hanging = hanging](const std::string& path) {
        if (path.starts_with("/silent")) {
          ++*hanging;
          answered.wait();
        }
        return path.ends_with("here");
      });
};

TEST_F(FileFinding, SaysWhatIsThere) {
  EXPECT_TRUE(find("/clips/here").get());
  EXPECT_FALSE(find("/clips/gone").get());
  EXPECT_FALSE(find("").get());
}

TEST_F(FileFinding, AFolderThatDoesNotAnswerHoldsUpNoOther) {
  std::vector<std::future<bool>> silent;
  for (int file = 0; file < 100; ++file) {
    silent.push_back(find("/silent/" + std::to_string(file) + " here"));
    silent.push_back(find("/silent/other/" + std::to_string(file)));
  }
  for (int file = 0; file < 20; ++file) {
    EXPECT_TRUE(find("/clips/" + std::to_string(file % 3) + "/here").get());
  }
  EXPECT_LE(*hanging, 2) << "one thread a folder";
  for (const auto& each : silent) {
    EXPECT_FALSE(isAnswered(each));
  }
  answer.set_value();
  for (std::size_t index = 0; index < silent.size(); ++index) {
    EXPECT_EQ(silent[index].get(), index % 2 == 0);
  }
  answer = {};
}

TEST_F(FileFinding, ItsEndWaitsForNoFolderAndDropsWhatIsUnanswered) {
  auto first = find("/silent/here");
  auto second = find("/silent/here too");
  while (*hanging == 0) {
    std::this_thread::yield();
  }
  finder.reset();
  EXPECT_THROW(first.get(), std::future_error);
  EXPECT_THROW(second.get(), std::future_error);
}

}  // namespace
}  // namespace vrel::system
