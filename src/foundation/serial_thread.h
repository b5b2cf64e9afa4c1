// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace vrel {

/// One thread that runs work first in, first out, and sleeps while there is none.
///
/// Threads: `post` and `runAndWait` from any, but never from inside an audio block. Work must not throw.
/// Ownership: the end, on any other thread, waits for the work under way, and for what is posted if AtEnd says so. On
/// the thread itself, which cannot wait for its own end, it does not wait. Work that may never end is left behind after
/// `longestEnd`, with all that it owns.
class SerialThread {
 public:
  using Work = std::function<void()>;

  /// What becomes of work that has not begun at the end, and of what is posted from then on.
  enum class AtEnd : std::uint8_t { dropWork, runWork };

  explicit SerialThread(AtEnd atEnd);
  /// Work that has not begun at the end is dropped.
  explicit SerialThread(std::chrono::milliseconds longestEnd);
  ~SerialThread();
  SerialThread(const SerialThread&) = delete;
  SerialThread& operator=(const SerialThread&) = delete;

  void post(Work work);

  /// Returns when `work` has run. On the thread itself it runs at once, ahead of what is posted. Nobody may wait here
  /// when the thread ends.
  void runAndWait(const Work& work);

  [[nodiscard]] bool isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

 private:
  struct Queue;
  SerialThread(AtEnd atEnd, std::optional<std::chrono::milliseconds> longestEnd);
  static void serve(Queue& queue);
  [[nodiscard]] bool mustLeave() const;

  const AtEnd atEnd_;
  const std::optional<std::chrono::milliseconds> longestEnd_;  // none: as long as it takes
  std::shared_ptr<Queue> queue_;
  std::thread thread_;  // last: it uses the queue
};

}  // namespace vrel
