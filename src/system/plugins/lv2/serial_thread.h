// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <thread>

namespace vrel::lv2 {

/// One thread that runs work in the order it was posted. The plug-in library is not thread-safe, so
/// everything that touches it runs here.
///
/// Threads: `post` and `runAndWait` from anywhere, but never from inside an audio block.
/// Ownership: the destructor first lets all posted work run. When the last owner lets go on the
/// thread itself, which can not wait for its own end, the thread ends by itself soon after.
class SerialThread {
 public:
  using Work = std::function<void()>;

  SerialThread();
  ~SerialThread();
  SerialThread(const SerialThread&) = delete;
  SerialThread& operator=(const SerialThread&) = delete;

  void post(Work work);

  /// Returns when `work` has run. On the thread itself it runs at once, ahead of what is posted.
  void runAndWait(const Work& work);

  [[nodiscard]] bool isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

 private:
  struct Queue;
  static void serve(Queue& queue);

  std::shared_ptr<Queue> queue_;
  std::thread thread_;
};

}  // namespace vrel::lv2
