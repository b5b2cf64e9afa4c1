// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/single_instance.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <string>
#include <thread>
#include <utility>

namespace vrel::app {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto retryPause = 20ms;

/// A socket that keeps the borders of messages: a path comes whole or not at all. Nothing blocks on it: the queue of a
/// first whose loop does not turn may be full.
int makeSocket() {
  return ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

std::optional<sockaddr_un> addressOf(const std::filesystem::path& path) {
  sockaddr_un endpoint{};
  endpoint.sun_family = AF_UNIX;
  const std::string text = path.string();
  if (text.size() >= sizeof(endpoint.sun_path)) {
    return std::nullopt;
  }
  std::memcpy(endpoint.sun_path, text.data(), text.size());
  return endpoint;
}

/// The first may hold the lock and not listen yet, or have too many waiting.
int connected(const sockaddr_un& endpoint, Clock::time_point end) {
  while (Clock::now() < end) {
    const int socket = makeSocket();
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&endpoint), sizeof(endpoint)) == 0) {  // NOLINT: of the API
      return socket;
    }
    ::close(socket);
    std::this_thread::sleep_for(retryPause);
  }
  return -1;
}

bool arrivesBefore(int socket, Clock::time_point end) {
  pollfd wait{socket, POLLIN, 0};
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
  return ::poll(&wait, 1, static_cast<int>(std::max(left, 0ms).count())) == 1;
}

/// A sender that has had no response has said so and ended.
bool hasGone(int peer) {
  pollfd state{peer, POLLRDHUP, 0};
  return ::poll(&state, 1, 0) == 1;
}

}  // namespace

SingleInstance::SingleInstance(const std::filesystem::path& folder) : socketPath_(folder / "open.socket") {
  if (folder.empty()) {
    return;
  }
  (void)::mkdir(folder.c_str(), 0700);
  lock_ = ::open((folder / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  isFirst_ = lock_ < 0 || ::flock(lock_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

SingleInstance::~SingleInstance() {
  notifier_.reset();
  if (listener_ >= 0) {
    ::unlink(socketPath_.c_str());
    ::close(listener_);
  }
  if (lock_ >= 0) {
    ::close(lock_);
  }
}

void SingleInstance::serve(Handler handler) {
  const auto endpoint = addressOf(socketPath_);
  if (!isFirst_ || lock_ < 0 || !endpoint) {
    return;
  }
  handler_ = std::move(handler);
  ::unlink(socketPath_.c_str());  // of one that was killed
  listener_ = makeSocket();
  constexpr int waiting = 8;
  if (::bind(listener_, reinterpret_cast<const sockaddr*>(&*endpoint), sizeof(*endpoint)) != 0 ||  // NOLINT: of the API
      ::listen(listener_, waiting) != 0) {
    ::close(std::exchange(listener_, -1));
    return;
  }
  notifier_ = std::make_unique<QSocketNotifier>(listener_, QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { answerNext(); });
}

void SingleInstance::answerNext() {
  const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  if (socket < 0) {
    return;
  }
  // It sends at once; the window does not wait for one that does not.
  std::array<char, PATH_MAX + 1> message{};
  if (arrivesBefore(socket, Clock::now() + 100ms)) {
    const auto size = ::recv(socket, message.data(), message.size(), MSG_DONTWAIT);
    // One byte says what is wanted, so that no message is empty.
    if (size >= 1 && !hasGone(socket)) {
      const std::string path(message.data() + 1, static_cast<std::size_t>(size) - 1);
      const Answer answer = handler_(path.empty() ? std::nullopt : std::optional<std::filesystem::path>(path));
      const char code = answer == Answer::isLive ? 'L' : 'O';
      (void)::send(socket, &code, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
    }
  }
  ::close(socket);
}

SingleInstance::Answer SingleInstance::handOver(const std::optional<std::filesystem::path>& setlist,
                                                std::chrono::milliseconds timeout) const {
  const auto end = Clock::now() + timeout;
  const auto endpoint = addressOf(socketPath_);
  const int socket = endpoint ? connected(*endpoint, end) : -1;
  if (socket < 0) {
    return Answer::noResponse;
  }
  const std::string message = "S" + (setlist ? setlist->string() : std::string());
  char code = 0;
  const bool isAnswered = ::send(socket, message.data(), message.size(), MSG_NOSIGNAL) >= 0 &&
                          arrivesBefore(socket, end) && ::recv(socket, &code, 1, 0) == 1;
  ::close(socket);
  if (!isAnswered) {
    return Answer::noResponse;
  }
  return code == 'L' ? Answer::isLive : Answer::opens;
}

}  // namespace vrel::app
