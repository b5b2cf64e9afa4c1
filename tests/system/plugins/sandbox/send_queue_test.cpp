// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/send_queue.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

#include "system/plugins/sandbox/descriptor_passing.h"

namespace vrel::sandbox {
namespace {

/// A queue, and the other end of its socket, which reads when a test says so.
class BytesToSend : public testing::Test {
 protected:
  BytesToSend() {
    std::array<int, 2> ends{-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    near_ = FileDescriptor(ends[0]);
    far_ = FileDescriptor(ends[1]);
  }

  static Bytes counted(std::size_t count) {
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes;
  }

  void flush() { queue_.flush(near_.get()); }

  /// Reads at most so many, and notes beside which bytes a descriptor came.
  void read(std::size_t most) {
    std::vector<std::uint8_t> buffer(most);
    FileDescriptor came;
    const ssize_t count = receiveBytes(far_.get(), buffer, came);
    ASSERT_GT(count, 0);
    got_.insert(got_.end(), buffer.begin(), buffer.begin() + count);
    if (came) {
      descriptorsIn_.push_back({got_.size() - static_cast<std::size_t>(count), got_.size()});
    }
  }

  void readAll() {
    while (got_.size() < total_ && !HasFatalFailure()) {
      read(65536);
      flush();
    }
  }

  void add(std::size_t count, FileDescriptor descriptor = FileDescriptor()) {
    queue_.add(counted(count), std::move(descriptor));
    total_ += count;
  }

  FileDescriptor near_;
  FileDescriptor far_;
  SendQueue queue_;
  Bytes got_;
  std::size_t total_ = 0;
  std::vector<std::pair<std::size_t, std::size_t>> descriptorsIn_;  // from, and up to, which byte was read
};

constexpr std::size_t mebibyte = std::size_t{1} << 20U;

TEST_F(BytesToSend, OnlyThoseThatTheSocketHasNotTakenWait) {
  add(mebibyte);
  EXPECT_EQ(queue_.waitingBytes(), mebibyte);
  flush();
  const std::size_t taken = mebibyte - queue_.waitingBytes();
  EXPECT_GT(taken, 0U);
  EXPECT_LT(taken, mebibyte) << "the other end does not read";
  flush();
  EXPECT_EQ(queue_.waitingBytes(), mebibyte - taken);
}

TEST_F(BytesToSend, WhatWasSentToASlowReaderTakesNoRoom) {
  for (int round = 0; round < 64; ++round) {
    add(mebibyte / 4);
    flush();
    while (queue_.waitingBytes() > mebibyte / 2) {
      read(16384);
      ASSERT_FALSE(HasFatalFailure());
      flush();
    }
    ASSERT_LT(queue_.heldBytes(), 2 * queue_.waitingBytes() + 1);
  }
  EXPECT_FALSE(queue_.isEmpty()) << "it never was, or this would show nothing";
}

TEST_F(BytesToSend, ADescriptorComesWithItsOwnByteAlsoBehindWhatWasDropped) {
  add(mebibyte / 2, FileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)));
  add(mebibyte, FileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)));
  add(100);
  add(100, FileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)));
  flush();
  readAll();
  EXPECT_EQ(got_.size(), total_);
  const std::vector<std::size_t> owners{0, mebibyte / 2, mebibyte * 3 / 2 + 100};
  ASSERT_EQ(descriptorsIn_.size(), owners.size());
  for (std::size_t index = 0; index < owners.size(); ++index) {
    EXPECT_LE(descriptorsIn_[index].first, owners[index]);
    EXPECT_GT(descriptorsIn_[index].second, owners[index]);
  }
  Bytes expected = counted(mebibyte / 2);
  for (const std::size_t count : {mebibyte, std::size_t{100}, std::size_t{100}}) {
    const Bytes next = counted(count);
    expected.insert(expected.end(), next.begin(), next.end());
  }
  EXPECT_TRUE(got_ == expected);
  EXPECT_EQ(queue_.heldBytes(), 0U);
}

TEST_F(BytesToSend, StayWhereNobodyReadsAnyMore) {
  far_.close();
  add(10);
  flush();
  EXPECT_EQ(queue_.waitingBytes(), 10U);
}

}  // namespace
}  // namespace vrel::sandbox
