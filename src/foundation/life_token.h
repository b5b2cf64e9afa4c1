// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

namespace vrel {

/// Lets work that comes back late see whether the object it was started for is still there. The
/// object has a LifeToken as its last member; the work holds `watch()` and asks it, on the thread on
/// which the object dies, before it touches the object.
class LifeToken {
 public:
  class Watch {
   public:
    explicit Watch(const std::shared_ptr<const char>& alive) : alive_(alive) {}
    [[nodiscard]] bool isAlive() const { return !alive_.expired(); }

   private:
    std::weak_ptr<const char> alive_;
  };

  LifeToken() = default;
  LifeToken(const LifeToken&) = delete;
  LifeToken& operator=(const LifeToken&) = delete;

  [[nodiscard]] Watch watch() const { return Watch(alive_); }

 private:
  std::shared_ptr<const char> alive_ = std::make_shared<const char>();
};

}  // namespace vrel
