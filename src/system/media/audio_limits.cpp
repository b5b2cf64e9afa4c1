// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/audio_limits.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <system_error>

namespace vrel::system {
namespace {

constexpr double highestRate = 1e6;  // frames per second
constexpr std::int64_t mostChannels = 64;

}  // namespace

Outcome unreadable(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) {
    return Error{path + ": " + std::generic_category().message(errno)};
  }
  struct stat status {};
  const bool isKnown = ::fstat(file, &status) == 0;
  ::close(file);
  if (!isKnown || !S_ISREG(status.st_mode)) {
    return Error{path + " is not a regular file"};
  }
  if (status.st_size == 0) {
    return Error{path + " is empty"};
  }
  return std::nullopt;
}

Outcome unplayable(const std::string& path, double sampleRate, std::int64_t channels, std::int64_t frames) {
  if (!(sampleRate >= 1 && sampleRate <= highestRate)) {
    return Error{path + " has an unsupported sample rate"};
  }
  if (channels < 1 || channels > mostChannels) {
    return Error{path + " has " + std::to_string(channels) + " channels"};
  }
  if (frames < 0 || frames > std::numeric_limits<std::uint32_t>::max()) {
    return Error{path + " has an unsupported length"};
  }
  return std::nullopt;
}

}  // namespace vrel::system
