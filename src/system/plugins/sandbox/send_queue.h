// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>

#include "system/plugins/sandbox/byte_coding.h"
#include "system/processes/file_descriptor.h"

namespace vrel::sandbox {

/// What is to be sent on a stream socket, as soon as the other end reads. What has been sent takes no room for long.
/// One thread.
class SendQueue {
 public:
  /// The descriptor goes with the first of these bytes; the socket must then be one of this machine.
  void add(std::span<const std::uint8_t> bytes, FileDescriptor descriptor = FileDescriptor());

  /// Sends what the socket takes at once.
  void flush(int socket);

  [[nodiscard]] std::size_t waitingBytes() const { return bytes_.size() - sent_; }
  [[nodiscard]] bool isEmpty() const { return waitingBytes() == 0; }

  /// With those that are sent and not dropped yet; less than twice those that wait.
  [[nodiscard]] std::size_t heldBytes() const { return bytes_.size(); }

 private:
  struct Attached {
    std::size_t at = 0;  // in bytes_
    FileDescriptor descriptor;
  };

  void dropSent();

  Bytes bytes_;
  std::size_t sent_ = 0;  // at the beginning of bytes_
  std::deque<Attached> attached_;
};

}  // namespace vrel::sandbox
