// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSocketNotifier>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace vrel::app {

/// One running program for each user: the first holds a lock in a folder of the session and listens on a socket beside
/// it; each later one hands its setlist to the first and ends.
///
/// A lock and not the socket says who is first: it goes with its process, however that ends. Qt's thread.
class SingleInstance {
 public:
  enum class Answer {
    opens,       // or asks whether it may
    isLive,      // refuses: Live mode opens nothing
    noResponse,  // it runs, and did not answer in time
  };
  /// What the running program does with a setlist, or with none, for which it only comes to the front.
  using Handler = std::function<Answer(const std::optional<std::filesystem::path>& setlist)>;

  /// Takes the lock in the folder, which is created where only its last part is missing. Where there is no such folder,
  /// everybody is first.
  explicit SingleInstance(const std::filesystem::path& folder);
  ~SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  [[nodiscard]] bool isFirst() const { return isFirst_; }

  /// For the first: serves the others from here on, in turns of Qt's loop. One that has given up is not served late.
  void serve(Handler handler);

  /// For the others.
  [[nodiscard]] Answer handOver(const std::optional<std::filesystem::path>& setlist,
                                std::chrono::milliseconds timeout = std::chrono::seconds(5)) const;

 private:
  void answerNext();

  std::filesystem::path socketPath_;
  bool isFirst_ = true;
  int lock_ = -1;
  int listener_ = -1;
  Handler handler_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace vrel::app
