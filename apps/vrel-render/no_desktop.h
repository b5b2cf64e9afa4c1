// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

#include "platform/desktop.h"

namespace vrel::render {

/// The desktop of a program without a display: no screen, no focus, and every question is cancelled.
class NoDesktop final : public Desktop {
 public:
  std::optional<std::size_t> runModal(const NSAlert& /*alert*/) override { return std::nullopt; }
  [[nodiscard]] bool isAlertShown() const override { return false; }
  std::optional<std::filesystem::path> runModal(const NSOpenPanel& /*panel*/) override { return std::nullopt; }
  std::optional<std::filesystem::path> runModal(const NSSavePanel& /*panel*/) override { return std::nullopt; }
  std::vector<NSScreen> screens() override { return {}; }
  void activateApplication() override {}
  void makeNothingFirstResponder() override {}
  void replyToApplicationShouldTerminate(bool /*shouldTerminate*/) override {}
};

}  // namespace vrel::render
