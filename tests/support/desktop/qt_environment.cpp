// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <cstdlib>
#include <memory>

namespace vrel::window {
namespace {

/// Qt without a screen, for as long as the tests run.
class QtEnvironment : public testing::Environment {
 public:
  void SetUp() override {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("QT_QUICK_BACKEND", "software", 1);
    application_ = std::make_unique<QGuiApplication>(argumentCount_, arguments_);
  }

  void TearDown() override { application_.reset(); }

 private:
  int argumentCount_ = 1;
  char name_[12] = "window_test";
  char* arguments_[2] = {name_, nullptr};
  std::unique_ptr<QGuiApplication> application_;
};

const auto* const environment = testing::AddGlobalTestEnvironment(new QtEnvironment);

}  // namespace
}  // namespace vrel::window
