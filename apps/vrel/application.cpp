// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/application.h"

#include <optional>
#include <utility>
#include <vector>

#include "foundation/main_thread.h"
#include "vrel/session.h"

namespace vrel::app {

LogicThread::~LogicThread() {
  end();
}

void LogicThread::start(UiThread& window, ConsoleOutput* runLog) {
  thread_ = std::thread([this, &window, runLog] { run(window, runLog); });
}

void LogicThread::run(UiThread& window, ConsoleOutput* runLog) {
  const MainThreadScope mainThread;
  session_ = std::make_unique<Session>(loop_, window, runLog);
  session_->start();
  loop_.runUntil([this] { return isEnding_; });
  session_.reset();
}

void LogicThread::end() {
  if (!thread_.joinable()) {
    return;
  }
  loop_.async([this] {
    isEnding_ = true;
    session_->cancelQuestions();
  });
  thread_.join();
}

void LogicThread::post(std::function<void()> action) {
  loop_.async(std::move(action));
}

void LogicThread::postToSession(std::function<void(Session&)> action) {
  loop_.async([this, action = std::move(action)] {
    if (session_ != nullptr && !isEnding_) {
      action(*session_);
    }
  });
}

void LogicThread::postCommand(window::ConsoleCommands::Action action) {
  postToSession([action = std::move(action)](Session& session) { session.carryOut(action); });
}

Application::Application(ConsoleOutput* runLog)
    : window([this](auto action) { logic.postCommand(std::move(action)); },
             [this](auto action) { logic.post(std::move(action)); }),
      runLog_(runLog) {
  window.onScreens = [this](std::vector<NSScreen> screens) {
    logic.postToSession([screens = std::move(screens)](Session& session) { session.setScreens(screens); });
  };
  window.onWindowResolved = [this](bool isFullScreen, const std::optional<NSScreen>& screen) {
    logic.postToSession([=](Session& session) { session.windowResolved(isFullScreen, screen); });
  };
  window.onFront = [this](const char* notification) {
    logic.postToSession([notification](Session& session) { session.windowCameToFront(notification); });
  };
  window.onWindowNumber = [this](std::uint64_t number) {
    logic.postToSession([number](Session& session) { session.setWindowNumber(number); });
  };
  window.onStageWatched = [this](bool isWatched) {
    logic.postToSession([isWatched](Session& session) { session.watchStage(isWatched); });
  };
  window.onCloseRequest = [this] { logic.postToSession([](Session& session) { session.requestTermination(); }); };
  window.onSystemEnd = [this] { systemEnds(); };
}

void Application::loadSetlist(const std::filesystem::path& path) {
  logic.postToSession([path](Session& session) { session.content().setlistFiles().loadSetlist(path); });
}

void Application::offerUnsavedEdits() {
  logic.postToSession([](Session& session) { session.offerUnsavedEdits(); });
}

bool Application::openSetlist(const std::filesystem::path& path) {
  logic.postToSession([path](Session& session) { session.content().setlistFiles().openRecentSetlist(path); });
  return !window.model().session()->isLive();
}

void Application::systemEnds() {
  logic.postToSession([](Session& session) { session.systemEnds(); });
}

Application::~Application() {
  // A window that answers no more must not stay on the screen.
  window.leaveScreen();
  logic.end();
}

}  // namespace vrel::app
