// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "foundation/mutex.h"
#include "foundation/result.h"
#include "system/plugins/sandbox/guest_process.h"
#include "system/plugins/sandbox/send_queue.h"
#include "system/plugins/sandbox/supervisor.h"
#include "system/processes/file_descriptor.h"

namespace vrel::sandbox {

/// The supervisor's thread and all that belongs to it. The thread holds a share of this object, so that
/// the supervisor may be released anywhere, on this very thread too.
///
/// Everything is for the thread itself, but for `begin`, `end`, `post` and the counts.
class Supervisor::Core {
 public:
  using Command = std::function<void(Core&)>;

  explicit Core(Settings settings) : settings_(std::move(settings)) {}

  [[nodiscard]] Outcome begin(const std::shared_ptr<Core>& self);

  /// All guests are to end; waits for that unless it is called on the thread itself.
  void end();

  /// Has the thread do something. Dropped when it has ended. Any thread.
  void post(Command command);
  [[nodiscard]] std::size_t processCount() const { return processCount_; }
  [[nodiscard]] std::size_t parkedCount() const { return parkedCount_; }

  // What is posted.
  void start(const std::weak_ptr<Supervisor>& supervisor, const Launch& launch);
  /// With the message goes the descriptor, if there is one.
  void send(std::uint64_t key, const Message& message, FileDescriptor descriptor = FileDescriptor());
  void release(std::uint64_t key);

 private:
  using Clock = std::chrono::steady_clock;
  enum class Stage { instantiating, serving, remaking, parked, closing };

  struct Record {
    std::weak_ptr<Supervisor> supervisor;
    Launch launch;
    GuestProcess process;
    FileDescriptor socket;
    std::shared_ptr<GuestLink> link;
    Stage stage = Stage::instantiating;
    Clock::time_point killAt = Clock::time_point::max();
    bool isKilled = false;  // by us
    std::uint32_t outputChannelCount = 0;
    int processId = 0;
    Clock::time_point releasedAt{};  // when it was remade for the last time
    int remakes = 0;
    MessageParser parser{};
    SendQueue outgoing{};
    std::size_t logged = 0;  // bytes of the plug-in's log
    bool isMuted = false;
    bool isReported = false;  // that it does not answer
    bool waitsForRoom = false;
  };

  void run();
  [[nodiscard]] int waitMilliseconds() const;
  void runCommands();
  void handleEvent(std::uint64_t tag, std::uint32_t events);
  void watch(int descriptor, std::uint64_t tag);

  void flush(std::uint64_t key, Record& record);
  void receive(std::uint64_t key, Record& record, bool isLast);
  [[nodiscard]] bool accept(std::uint64_t key, Record& record, Message message);
  void passOn(Record& record, const Bytes& line);
  void becomeReady(std::uint64_t key, Record& record);
  void answerLaunch(Record& record, Result<Ready> result);
  [[nodiscard]] bool takeParked(const Launch& launch);
  void countParked();
  [[nodiscard]] bool mayRemake(const Record& record) const;
  void remake(std::uint64_t key, Record& record);
  void park(std::uint64_t key, Record& record);
  void shrinkParked(std::size_t most);
  void close(std::uint64_t key, Record& record);
  static void kill(Record& record);
  void killOverdue();
  void watchGuests();
  void guestEnded(std::uint64_t key);
  void reportEnd(const Record& record, const GuestProcess::Ended& ended) const;
  void log(const Record& record, const std::string& text) const;

  const Settings settings_;
  FileDescriptor events_;          // an epoll instance
  FileDescriptor wakeDescriptor_;  // raised for commands
  std::thread thread_;
  std::atomic<std::size_t> processCount_{0};
  std::atomic<std::size_t> parkedCount_{0};

  Mutex mutex_;
  std::vector<Command> commands_ VREL_GUARDED_BY(mutex_);
  bool isEnded_ VREL_GUARDED_BY(mutex_) = false;

  // The thread's.
  bool isEnding_ = false;
  std::uint64_t lastKey_ = 0;
  double sampleRate_ = 0;  // of the last request
  std::map<std::uint64_t, Record> guests_;
};

}  // namespace vrel::sandbox
