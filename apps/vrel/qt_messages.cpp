// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/qt_messages.h"

#include <QString>
#include <atomic>

#include "platform/console_output.h"

namespace vrel::app {
namespace {

std::atomic<ConsoleOutput*> logOfMessages{nullptr};
QtMessageHandler handlerBefore = nullptr;

void logMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (auto* const log = logOfMessages.load()) {
    log->print(message.toStdString());
  }
  handlerBefore(type, context, message);
}

}  // namespace

QtMessages::QtMessages(ConsoleOutput& log) {
  logOfMessages = &log;
  handlerBefore = qInstallMessageHandler(logMessage);
}

QtMessages::~QtMessages() {
  qInstallMessageHandler(handlerBefore);
  logOfMessages = nullptr;
}

}  // namespace vrel::app
