// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/descriptor_passing.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cstring>

namespace vrel::sandbox {
namespace {

using Control = std::array<char, CMSG_SPACE(sizeof(int))>;

}  // namespace

ssize_t sendBytes(int socket, std::span<const std::uint8_t> bytes, int flags, int descriptor) {
  iovec content{const_cast<std::uint8_t*>(bytes.data()), bytes.size()};  // the system's interface; it only reads
  alignas(cmsghdr) Control control{};
  msghdr message{};
  message.msg_iov = &content;
  message.msg_iovlen = 1;
  if (descriptor >= 0) {
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const head = CMSG_FIRSTHDR(&message);
    head->cmsg_level = SOL_SOCKET;
    head->cmsg_type = SCM_RIGHTS;
    head->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(head), &descriptor, sizeof descriptor);
  }
  return sendmsg(socket, &message, flags | MSG_NOSIGNAL);
}

ssize_t receiveBytes(int socket, std::span<std::uint8_t> buffer, FileDescriptor& descriptor) {
  iovec content{buffer.data(), buffer.size()};
  alignas(cmsghdr) Control control{};
  msghdr message{};
  message.msg_iov = &content;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t count = recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
  const cmsghdr* const head = count < 0 ? nullptr : CMSG_FIRSTHDR(&message);
  if (head != nullptr && head->cmsg_type == SCM_RIGHTS && head->cmsg_len == CMSG_LEN(sizeof(int))) {
    int number = -1;
    std::memcpy(&number, CMSG_DATA(head), sizeof number);
    descriptor = FileDescriptor(number);
  }
  return count;
}

}  // namespace vrel::sandbox
