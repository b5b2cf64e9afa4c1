// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop.h"

namespace vrel::simulation {

/// A desktop with a list of answers. Questions are recorded; a question without an answer is cancelled.
class ScriptedDesktop : public Desktop {
 public:
  std::deque<std::size_t> alertAnswers;  // indices of buttons
  std::deque<std::filesystem::path> openPanelAnswers;
  std::deque<std::filesystem::path> savePanelAnswers;
  std::vector<NSScreen> screenList;
  std::function<void()> whileAsking;  // the main loop runs while a question is open

  std::vector<NSAlert> alerts;
  std::vector<NSOpenPanel> openPanels;
  std::vector<NSSavePanel> savePanels;
  std::vector<bool> terminationReplies;
  int focusClearings = 0;
  int activations = 0;

  std::optional<std::size_t> runModal(const NSAlert& alert) override {
    alerts.push_back(alert);
    ++standingAlerts_;
    const auto answer = answered(alertAnswers);
    --standingAlerts_;
    return answer;
  }

  [[nodiscard]] bool isAlertShown() const override { return standingAlerts_ > 0; }

  std::optional<std::filesystem::path> runModal(const NSOpenPanel& panel) override {
    openPanels.push_back(panel);
    return answered(openPanelAnswers);
  }

  std::optional<std::filesystem::path> runModal(const NSSavePanel& panel) override {
    savePanels.push_back(panel);
    return answered(savePanelAnswers);
  }

  std::vector<NSScreen> screens() override { return screenList; }

  void activateApplication() override { ++activations; }

  void makeNothingFirstResponder() override { ++focusClearings; }

  void replyToApplicationShouldTerminate(bool shouldTerminate) override {
    terminationReplies.push_back(shouldTerminate);
  }

 private:
  int standingAlerts_ = 0;

  template <typename Answer>
  std::optional<Answer> answered(std::deque<Answer>& answers) {
    if (whileAsking) {
      whileAsking();
    }
    if (answers.empty()) {
      return std::nullopt;
    }
    const auto answer = answers.front();
    answers.pop_front();
    return answer;
  }
};

}  // namespace vrel::simulation
