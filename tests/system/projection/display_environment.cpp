// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <cstdlib>
#include <memory>

#include "support/ui/virtual_display.h"

namespace vrel::system {
namespace {

/// Qt with OpenGL in software, on an X server of the tests' own.
class DisplayEnvironment : public testing::Environment {
 public:
  void SetUp() override {
    ::setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
    display_ = std::make_unique<app::test::VirtualDisplay>(1280, 720);
    application_ = std::make_unique<QGuiApplication>(argumentCount_, arguments_);
  }

  void TearDown() override {
    application_.reset();
    display_.reset();
  }

 private:
  int argumentCount_ = 1;
  char name_[16] = "projection_test";
  char* arguments_[2] = {name_, nullptr};
  std::unique_ptr<app::test::VirtualDisplay> display_;
  std::unique_ptr<QGuiApplication> application_;
};

const auto* const environment = testing::AddGlobalTestEnvironment(new DisplayEnvironment);

}  // namespace
}  // namespace vrel::system
