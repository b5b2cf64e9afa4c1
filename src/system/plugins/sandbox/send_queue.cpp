// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/send_queue.h"

#include <sys/socket.h>

#include <utility>

#include "system/plugins/sandbox/descriptor_passing.h"

namespace vrel::sandbox {

void SendQueue::add(std::span<const std::uint8_t> bytes, FileDescriptor descriptor) {
  if (descriptor) {
    attached_.push_back({bytes_.size(), std::move(descriptor)});
  }
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

void SendQueue::flush(int socket) {
  while (!isEmpty()) {
    // One descriptor at a time, with the byte that it belongs to.
    const bool isAttached = !attached_.empty() && attached_.front().at == sent_;
    const std::size_t next = isAttached ? 1 : 0;
    const std::size_t end = attached_.size() > next ? attached_[next].at : bytes_.size();
    const ssize_t count = sendBytes(socket, std::span(bytes_).subspan(sent_, end - sent_), MSG_DONTWAIT,
                                    isAttached ? attached_.front().descriptor.get() : -1);
    if (count < 0) {
      break;
    }
    if (isAttached) {
      attached_.pop_front();
    }
    sent_ += static_cast<std::size_t>(count);
  }
  dropSent();
}

/// Not before it is half of all, so that no more bytes are moved than were sent.
void SendQueue::dropSent() {
  if (isEmpty()) {
    bytes_ = {};
  } else if (2 * sent_ >= bytes_.size()) {
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(sent_));
    for (Attached& each : attached_) {
      each.at -= sent_;
    }
  } else {
    return;
  }
  sent_ = 0;
}

}  // namespace vrel::sandbox
