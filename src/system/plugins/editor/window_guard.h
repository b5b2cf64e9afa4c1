// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "platform/key_event.h"
#include "system/processes/file_descriptor.h"

namespace vrel::editor {

/// What must work while an editor hangs: a thread with a connection to X11 of its own, which takes the keys of panic,
/// and takes the window off the screen when the console has gone from the other end of the socket.
///
/// `keyPressed` is called on that thread. The window and the socket are borrowed. The end waits for the thread.
class WindowGuard {
 public:
  using KeyPressed = std::function<void(const KeyEvent& key)>;

  WindowGuard(unsigned long window, int socket, KeyPressed keyPressed);
  ~WindowGuard();
  WindowGuard(const WindowGuard&) = delete;
  WindowGuard& operator=(const WindowGuard&) = delete;

  /// From now on, or not any more.
  void takePanicKeys(bool areTaken);

 private:
  void run();
  void wake() const;

  const unsigned long window_;
  const int socket_;
  const KeyPressed keyPressed_;
  const FileDescriptor wakeDescriptor_;
  std::atomic<bool> areKeysTaken_{false};
  std::atomic<bool> isEnding_{false};
  std::thread thread_;
};

}  // namespace vrel::editor
