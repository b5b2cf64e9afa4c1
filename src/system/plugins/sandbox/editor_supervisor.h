// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "foundation/mutex.h"
#include "foundation/result.h"
#include "system/plugins/sandbox/guest_process.h"
#include "system/plugins/sandbox/messages.h"
#include "system/plugins/sandbox/send_queue.h"
#include "system/processes/file_descriptor.h"

namespace vrel::sandbox {

/// Who has opened an editor. All is called on the thread of the editors and must not wait for it.
class EditorClient {
 public:
  virtual ~EditorClient() = default;

  /// What the editor says, but for its log. False for what an editor may not say; its process is then killed.
  [[nodiscard]] virtual bool accept(const Message& message) = 0;

  /// What the editor does not know yet; asked 30 times a second, but not while it has not read the last.
  [[nodiscard]] virtual std::optional<Message> news() = 0;

  /// It has ended, "was killed by signal 9"; called last. Not when it was closed here.
  virtual void ended(const std::string& how) = 0;
};

/// Starts the processes of plug-ins' editors, carries their messages, and ensures that nothing of them remains; of
/// editors that run in the process of their plug-in it only carries the messages. One
/// thread does all this and never waits for an editor: one that hangs, floods its socket or does not read it affects no
/// other.
///
/// Threads: all functions from any, but the end from no callback. Ownership: clients are held until their editor has
/// ended. The end kills all editors and waits for their ends, bounded.
class EditorSupervisor {
 public:
  struct Settings {
    std::string helperPath;                                                   // of vrel-plugin-host
    std::function<void(const std::string&)> log;                              // one line; may be empty
    std::chrono::milliseconds closingGrace = std::chrono::milliseconds(500);  // before it is killed
  };
  using Key = std::uint64_t;

  [[nodiscard]] static Result<std::shared_ptr<EditorSupervisor>> start(Settings settings);
  ~EditorSupervisor();
  EditorSupervisor(const EditorSupervisor&) = delete;
  EditorSupervisor& operator=(const EditorSupervisor&) = delete;

  /// Starts a process, which gets the message first. `name` is of the plug-in, for the log. Returns at once.
  Key open(std::string name, Message first, std::shared_ptr<EditorClient> client);

  /// The same for an editor in the process of its plug-in, which has the other end of this socket. When it does not end
  /// after it was closed, nothing is heard of it any more.
  Key attach(std::string name, FileDescriptor socket, Message first, std::shared_ptr<EditorClient> client);

  /// Sends a message, but not when more than `mostWaiting` bytes of earlier ones have not been read.
  void send(Key editor, Message message, std::size_t mostWaiting = std::numeric_limits<std::size_t>::max());

  /// Ends the editor. Its client hears nothing more from the end of this command on.
  void close(Key editor);

  /// How many editors there are at this moment, those that are closing included.
  [[nodiscard]] std::size_t editorCount() const { return editorCount_; }

 private:
  using Clock = std::chrono::steady_clock;
  using Command = std::function<void()>;

  struct Editor {
    std::string name;
    std::shared_ptr<EditorClient> client;  // null once it is closed
    std::optional<GuestProcess> process;   // its own; none in that of its plug-in
    FileDescriptor socket;
    MessageParser parser{};
    SendQueue outgoing{};
    Clock::time_point killAt = Clock::time_point::max();
    bool isKilled = false;
    std::size_t logged = 0;  // bytes
  };

  explicit EditorSupervisor(Settings settings) : settings_(std::move(settings)) {}
  [[nodiscard]] Outcome begin();
  void post(Command command);
  void run();
  void runCommands();
  [[nodiscard]] int waitMilliseconds() const;
  void handleEvent(std::uint64_t tag);
  void startProcess(Key key, std::string name, const Message& first, std::shared_ptr<EditorClient> client);
  void add(Key key, Editor editor, const Message& first);
  void watch(int descriptor, std::uint64_t tag);
  static void say(Editor& editor, const Message& message);
  void receive(Editor& editor, bool isLast);
  [[nodiscard]] bool accept(Editor& editor, const Message& message);
  void beginClosing(Editor& editor);
  void end(Key key);
  void killOverdue();
  void dropAttached(Key key);
  void sendNews();
  void log(const std::string& name, const std::string& text) const;

  const Settings settings_;
  std::atomic<std::size_t> editorCount_{0};
  std::atomic<Key> lastKey_{0};
  FileDescriptor events_;          // an epoll instance
  FileDescriptor wakeDescriptor_;  // raised for commands

  Mutex mutex_;
  std::vector<Command> commands_ VREL_GUARDED_BY(mutex_);

  // The thread's.
  bool isEnding_ = false;
  Clock::time_point newsAt_ = Clock::now();
  std::map<Key, Editor> editors_;

  std::thread thread_;
};

}  // namespace vrel::sandbox
