// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/serial_thread.h"
#include "platform/background_work.h"

namespace vrel::system {

class MainLoop;

/// Background work beside a main loop, which runs inside each call of `run` and `waitUntil`.
class BackgroundThread final : public BackgroundWork {
 public:
  /// The loop is borrowed.
  explicit BackgroundThread(MainLoop& loop) : loop_(loop) {}

  void run(const Work& work, const Work& ended) override;
  void waitUntil(const std::function<bool()>& isOver) override;

 private:
  MainLoop& loop_;
  SerialThread thread_{SerialThread::AtEnd::runWork};
};

}  // namespace vrel::system
