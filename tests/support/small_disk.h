// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace vrel {

/// While it lives, no file of this process can grow beyond the given number of bytes.
class SmallDisk {
 public:
  explicit SmallDisk(rlim_t bytes) : formerAction_(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &former_);
    const rlimit small{bytes, former_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;
  ~SmallDisk() {
    ::setrlimit(RLIMIT_FSIZE, &former_);
    std::signal(SIGXFSZ, formerAction_);
  }

 private:
  void (*formerAction_)(int);
  rlimit former_{};
};

}  // namespace vrel
