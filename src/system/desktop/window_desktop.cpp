// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/desktop/window_desktop.h"

#include <algorithm>
#include <utility>

#include "system/dispatch/main_loop.h"

namespace vrel::system {

std::optional<std::size_t> WindowDesktop::runModal(const NSAlert& alert) {
  if (isCancelled_) {
    return std::nullopt;
  }
  if (openPanels_ > 0) {
    window_.cancelPanels();
  }
  const auto question = std::make_shared<Question>(Question{alert, false, {}});
  questions_.push_back(question);
  showTopQuestion();
  loop_.runUntil([this, &question] { return isCancelled_ || question->isAnswered; });
  std::erase(questions_, question);
  showTopQuestion();
  return question->answer;
}

void WindowDesktop::answerAlert(std::optional<std::size_t> button) {
  if (questions_.empty()) {
    return;
  }
  Question& top = *questions_.back();
  if (top.isAnswered || (button && *button >= top.alert.buttons.size())) {
    return;
  }
  top.isAnswered = true;
  top.answer = button;
}

void WindowDesktop::showTopQuestion() {
  shownAlert.set(questions_.empty() ? std::nullopt : std::optional(questions_.back()->alert));
}

void WindowDesktop::cancelQuestions() {
  isCancelled_ = true;
}

std::optional<std::filesystem::path> WindowDesktop::waitForPanel(
    const std::function<void(WindowServices::PanelAnswer)>& show) {
  // The one that is open is in front, and is answered first.
  if (isCancelled_ || openPanels_ > 0) {
    return std::nullopt;
  }
  struct Answer {
    bool isThere = false;
    std::optional<std::filesystem::path> file;
  };
  const auto answer = std::make_shared<Answer>();
  show([answer](const std::optional<std::filesystem::path>& file) { *answer = {true, file}; });
  ++openPanels_;
  loop_.runUntil([this, &answer] { return isCancelled_ || answer->isThere; });
  --openPanels_;
  return answer->file;
}

std::optional<std::filesystem::path> WindowDesktop::runModal(const NSOpenPanel& panel) {
  return waitForPanel([&](WindowServices::PanelAnswer answer) { window_.showOpenPanel(panel, std::move(answer)); });
}

std::optional<std::filesystem::path> WindowDesktop::runModal(const NSSavePanel& panel) {
  return waitForPanel([&](WindowServices::PanelAnswer answer) { window_.showSavePanel(panel, std::move(answer)); });
}

void WindowDesktop::replyToApplicationShouldTerminate(bool shouldTerminate) {
  if (shouldTerminate) {
    window_.quit();
  }
}

}  // namespace vrel::system
