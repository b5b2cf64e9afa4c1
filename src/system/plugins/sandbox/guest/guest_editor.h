// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <future>
#include <memory>
#include <optional>

#include "foundation/serial_thread.h"
#include "system/plugins/editor/editor_program.h"
#include "system/plugins/lv2/lv2_processor.h"
#include "system/processes/file_descriptor.h"

namespace vrel::sandbox {

/// The editor that runs in the process of its plug-in, since it requires the plug-in's own memory: on the thread that
/// has made the plug-in, since both may use one toolkit, which has one thread.
///
/// An editor that hangs keeps that thread, and nothing else: no other editor opens, and the plug-in stays at its sample
/// rate. A thread that has stopped, since the display was lost, can be left. Main thread.
class GuestEditor {
 public:
  GuestEditor() = default;
  ~GuestEditor() = default;
  GuestEditor(const GuestEditor&) = delete;
  GuestEditor& operator=(const GuestEditor&) = delete;

  /// Where the plug-in is made and ends.
  [[nodiscard]] SerialThread& thread() { return *thread_; }

  /// Opens one when nothing is in its way any more; the socket is its end. One that still waits goes.
  void request(FileDescriptor socket);

  /// Opens the one that waits, if it can; reports to the console one that has waited for too long. Returns whether one
  /// still waits.
  [[nodiscard]] bool openWaiting(lv2::Lv2Processor& processor);

  /// Ends what is open or waits. False when it hangs, and then the plug-in must stay.
  [[nodiscard]] bool end();

  /// Whether its thread has stopped for good.
  [[nodiscard]] bool hasStopped() const;
  /// Takes another thread for what is made from now on. The earlier one keeps what it has, until the process ends.
  void leaveThread();
  [[nodiscard]] bool hasLeftThread() const { return hasLeftThread_; }

 private:
  [[nodiscard]] bool isBusy() const;

  struct Waiting {
    FileDescriptor socket;
    std::chrono::steady_clock::time_point until;
  };

  std::unique_ptr<SerialThread> thread_ = std::make_unique<SerialThread>(SerialThread::AtEnd::dropWork);
  bool hasLeftThread_ = false;
  std::optional<Waiting> waiting_;
  std::weak_ptr<editor::EditorProgram> program_;
  std::future<void> ended_;  // of the program
};

}  // namespace vrel::sandbox
