// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "foundation/mutex.h"
#include "foundation/result.h"
#include "system/audio/render_handover.h"
#include "system/devices/system_audio_hardware.h"

namespace vrel::system {

/// An open device and the port that it plays.
struct OutputSession {
  OutputSession(audio::RenderHandover& handover, SystemAudioHardware::Opened opened)
      : port(handover),
        deviceUID(std::move(opened.deviceUID)),
        deviceName(std::move(opened.deviceName)),
        stream(std::move(opened.stream)) {}

  const std::shared_ptr<const void> life = std::make_shared<char>();  // first: ends once the stream is closed
  audio::RenderHandover::Port port;
  const std::string deviceUID;
  const std::string deviceName;
  bool isStarted = false;
  const std::unique_ptr<OutputStream> stream;  // last: its thread uses the port
};

/// Watches the device that is played on, and looks for a better one, on a thread of its own.
///
/// In each tick, ten times a second, it looks whether the device is lost, or stalled: no block for five ticks. Every
/// five ticks while there is no device, and every ten while there is one, it asks the hardware for a better one
/// (`lookFor`), and starts it on silence. Whenever there is something new it calls `notice`, once until `takeNotice`.
///
/// Threads: one control thread; `notice` comes on the watch's own.
class OutputWatch {
 public:
  using Session = std::shared_ptr<OutputSession>;

  static constexpr std::chrono::milliseconds usualTick{100};

  /// The hardware and the handover are borrowed.
  OutputWatch(SystemAudioHardware& hardware, audio::RenderHandover& handover, std::function<void()> notice,
              std::chrono::milliseconds tick);
  ~OutputWatch();
  OutputWatch(const OutputWatch&) = delete;
  OutputWatch& operator=(const OutputWatch&) = delete;

  /// Starts the thread, once.
  [[nodiscard]] Outcome begin();

  /// Ends the thread; when it has returned, `notice` is not called any more.
  void end();

  /// What is played on from now on; null when nothing is, and then `deviceUID` is what was lost, or empty.
  void follow(Session session, std::string deviceUID);

  /// Watches and looks for nothing until the next `follow`.
  void pause();

  /// Closes a device on the watch's thread. One that a sound server holds up for half a second is left behind, until
  /// the server answers or ends; it plays silence and refers to nothing here.
  void close(Session session);

  /// Whether the device that is followed asks for no blocks.
  [[nodiscard]] bool isStalled() const { return isStalled_; }

  /// A better device that was found and runs on silence; null when there is none. Nothing else is looked for until the
  /// next `follow`.
  [[nodiscard]] Session takeFound();

  /// To be called before looking at what is new.
  void takeNotice() { isNoticed_ = false; }

 private:
  /// What the thread has to do in a tick, taken under the lock.
  struct Task {
    std::uint64_t generation;
    bool isFollowing;
    bool hasFound;
    Session session;
    std::string deviceUID;
    std::vector<Session> closing;
  };

  void run();
  [[nodiscard]] std::optional<Task> nextTask();
  void carryOut(Task task);
  static void closeAll(std::vector<Session> sessions);
  void examine(const Task& task);
  [[nodiscard]] bool hasNoBlocks() const;
  [[nodiscard]] Session lookFor(const Session& present, const std::string& deviceUID);
  void notify();

  SystemAudioHardware& hardware_;
  audio::RenderHandover& handover_;
  const std::function<void()> notice_;
  const std::chrono::milliseconds tick_;
  std::atomic<bool> isStalled_{false};  // written under the lock
  std::atomic<bool> isNoticed_{false};

  Mutex mutex_;  // held for moments
  std::condition_variable changed_;
  bool isEnding_ VREL_GUARDED_BY(mutex_) = false;
  bool isFollowing_ VREL_GUARDED_BY(mutex_) = false;
  std::uint64_t generation_ VREL_GUARDED_BY(mutex_) = 0;  // of `follow` and `pause`
  Session session_ VREL_GUARDED_BY(mutex_);
  std::string deviceUID_ VREL_GUARDED_BY(mutex_);
  Session found_ VREL_GUARDED_BY(mutex_);
  std::vector<Session> closing_ VREL_GUARDED_BY(mutex_);

  // Of the thread.
  std::uint64_t watchedGeneration_ = 0;
  std::uint64_t lastBlocks_ = 0;
  int ticksWithoutBlocks_ = 0;
  int ticksSinceLook_ = 0;

  std::thread thread_;
};

}  // namespace vrel::system
