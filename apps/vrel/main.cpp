// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QQuickStyle>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/version.h"
#include "system/files/user_folders.h"
#include "system/run_log/crash_trace.h"
#include "system/run_log/run_log.h"
#include "vrel/application.h"
#include "vrel/arguments.h"
#include "vrel/display_choice.h"
#include "vrel/qt_messages.h"
#include "vrel/session_bus.h"
#include "vrel/single_instance.h"
#include "vrel/termination.h"
#include "vrel/widgets.h"

namespace {

using vrel::app::SingleInstance;

constexpr int exitUsage = 2;

int fail(int exitCode, const std::string& description) {
  std::fprintf(stderr, "vrel: %s\n", description.c_str());
  return exitCode;
}

/// Ends this program in favour of the one that runs.
int handOver(const SingleInstance& instance, const vrel::app::Arguments& arguments) {
  switch (instance.handOver(arguments.setlist)) {
    case SingleInstance::Answer::opens:
      return EXIT_SUCCESS;
    case SingleInstance::Answer::isLive:
      return fail(EXIT_FAILURE, "VREL is in Live mode, which opens no setlist");
    case SingleInstance::Answer::noResponse:
      break;
  }
  return fail(EXIT_FAILURE, "VREL is running and does not answer");
}

/// The log of this run with its first lines; null where there can be none, which is reported.
std::unique_ptr<vrel::system::RunLog> openLog() {
  auto opened = vrel::system::RunLog::open({.folder = vrel::system::userLogsFolder()});
  if (!opened) {
    (void)fail(EXIT_FAILURE, "no log of this run: " + opened.error().description);
    return nullptr;
  }
  auto log = std::move(opened).value();
  log->print("VREL " + std::string(vrel::programVersion()));
  if (!log->crashBefore().empty()) {
    log->print("The run before crashed; its trace is " + log->crashBefore().string());
  }
  return log;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace std::chrono_literals;
  const std::vector<std::string> given(argv + (argc > 0 ? 1 : 0), argv + argc);
  if (const auto answer = vrel::app::printedAnswer(given)) {
    std::fputs(answer->c_str(), stdout);
    return EXIT_SUCCESS;
  }
  vrel::app::forgoAbsentSessionBus();
  vrel::app::preferX11();
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("VREL"));
  QApplication::setDesktopFileName(QStringLiteral("vrel"));
  QApplication::setQuitOnLastWindowClosed(false);
  QQuickStyle::setStyle(QStringLiteral("Basic"));
  vrel::app::darkenApplication();

  const std::vector<std::string> own(argv + 1, argv + argc);  // Qt has taken its own
  const auto arguments = vrel::app::parseArguments(own);
  if (!arguments) {
    return fail(exitUsage, arguments.error().description + " (see --help)");
  }
  const auto folder = vrel::system::userRuntimeFolder();
  auto instance = std::make_unique<SingleInstance>(folder);
  if (!instance->isFirst()) {
    return handOver(*instance, arguments.value());
  }

  const auto log = openLog();
  std::optional<vrel::system::CrashTrace> crashes;
  std::optional<vrel::app::QtMessages> messages;
  if (log != nullptr) {
    crashes.emplace(log->crashPath());
    messages.emplace(*log);
  }
  vrel::app::ShutdownWatchdog deadline;
  vrel::app::Application program(log.get());
  const vrel::app::TerminationSignals signals([&program] { program.systemEnds(); });
  program.start();
  if (arguments.value().setlist) {
    program.loadSetlist(*arguments.value().setlist);
  }
  program.offerUnsavedEdits();
  instance->serve([&program](const auto& setlist) {
    if (setlist && !program.openSetlist(*setlist)) {
      return SingleInstance::Answer::isLive;
    }
    program.window.comeForward();
    return SingleInstance::Answer::opens;
  });
  const int result = QApplication::exec();
  deadline.start(10s);
  instance.reset();  // who starts from here on is the first
  return result;
}
