// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>

#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "foundation/mutex.h"

namespace vrel::system {

/// A client of a JACK server, safe against the server's death and against the other clients of this process.
///
/// What the library does, and this class is there for:
/// 1. When a client is opened after a server has died, the library frees all clients of the process that it
///    still had, those too that have not been notified of the death yet, and never will be. So all are notified and
///    closed here before another one is opened, and all questions to the library are asked one at a time, and none to a
///    dead client.
/// 2. Closing stops the library's threads at any instruction. So a block under way is waited for, and what the library
///    calls back must neither lock nor allocate, whether on the audio thread or not.
/// 3. It writes to the terminal. Here it does not; what matters of a failure is logged in our own words.
///
/// Any thread, but an object is made, activated and released on one at a time.
class JackClient {
 public:
  /// What JACK calls, with the owner. `process` asks for a block, on the audio thread.
  struct Callbacks {
    int (*process)(jack_nframes_t frames, void* owner) = nullptr;
    void (*serverGone)(void* owner) = nullptr;
    void* owner = nullptr;
  };

  /// Joins a server that runs, under this name or one like it; null when there is none. Never starts one. Without a
  /// name the server is the one that is usual for the user.
  [[nodiscard]] static std::unique_ptr<JackClient> open(const std::string& clientName, const std::string& serverName,
                                                        const Callbacks& callbacks);
  ~JackClient();
  JackClient(const JackClient&) = delete;
  JackClient& operator=(const JackClient&) = delete;

  [[nodiscard]] bool isServerGone() const { return isServerGone_; }

  /// Calls `work` with the library's client; false, and no call, when the server is gone.
  template <typename Work>
  bool use(Work&& work) const {
    const MutexLock lock(libraryMutex());
    if (client_ == nullptr || isServerGone_) {
      return false;
    }
    std::forward<Work>(work)(client_);
    return true;
  }

  /// Begins to ask for blocks; false when the server refuses.
  [[nodiscard]] bool activate();

  /// Once it has returned, no block is asked for. A client whose server is gone is closed by it.
  void deactivate();

 private:
  explicit JackClient(const Callbacks& callbacks) : callbacks_(callbacks) {}

  [[nodiscard]] static Mutex& libraryMutex();
  [[nodiscard]] static std::vector<JackClient*>& openClients() VREL_REQUIRES(libraryMutex());
  void noteServerGone();
  static void closeAll() VREL_REQUIRES(libraryMutex());    // while no client is being opened
  static void releaseAll() VREL_REQUIRES(libraryMutex());  // when the server died while one was
  void close() VREL_REQUIRES(libraryMutex());
  static int process(jack_nframes_t frames, void* client);
  static void noteShutdown(void* client);

  const Callbacks callbacks_;
  jack_client_t* client_ VREL_GUARDED_BY(libraryMutex()) = nullptr;  // null once closed
  std::atomic<bool> isServerGone_{false};
  std::atomic<bool> isInBlock_{false};
};

/// The full names of all ports of a type that have all these flags, in the server's order.
[[nodiscard]] std::vector<std::string> jackPorts(jack_client_t* client, const char* type, unsigned long flags);

/// The client that a port belongs to.
[[nodiscard]] std::string jackPortOwner(const std::string& portName);

}  // namespace vrel::system
