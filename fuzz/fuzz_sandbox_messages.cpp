// SPDX-License-Identifier: GPL-3.0-or-later
// A plug-in's socket may deliver any bytes. The stream splits into the same messages however it is chunked; a body is
// read or refused, and one that was read survives a round trip.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <vector>

#include "system/plugins/sandbox/messages.h"
#include "system/plugins/sandbox/property_list_bytes.h"

namespace {

using vrel::sandbox::Bytes;
using vrel::sandbox::Message;
using vrel::sandbox::MessageParser;

[[noreturn]] void fail(const char* words) {
  std::fprintf(stderr, "%s\n", words);
  std::abort();
}

struct Cut {
  std::vector<Message> messages;
  bool isDamaged;

  bool operator==(const Cut&) const = default;
};

Cut cut(std::span<const std::uint8_t> stream, std::size_t chunkBytes) {
  MessageParser parser;
  Cut result{};
  for (std::size_t begin = 0; begin < stream.size(); begin += chunkBytes) {
    parser.add(stream.subspan(begin, std::min(chunkBytes, stream.size() - begin)));
    while (auto message = parser.next()) {
      result.messages.push_back(*std::move(message));
    }
  }
  result.isDamaged = parser.isDamaged();
  return result;
}

/// Reads a body; one that can be read must survive a round trip.
template <typename Read>
void readTwice(const Bytes& body, const Read& read) {
  const auto value = read(body);
  if (!value) {
    return;
  }
  const Bytes written = vrel::sandbox::toBytes(*value);
  const auto again = read(written);
  if (!again || vrel::sandbox::toBytes(*again) != written) {
    fail("round trip differs");
  }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer looks for this name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::span<const std::uint8_t> stream(data + 1, size - 1);
  const Cut whole = cut(stream, std::max<std::size_t>(stream.size(), 1));
  if (whole != cut(stream, 1U + data[0])) {
    fail("chunking changes the messages");
  }
  for (const Message& message : whole.messages) {
    if (message.body.size() > vrel::sandbox::largestBody(message.kind).value_or(0)) {
      fail("a body exceeds the limit");
    }
    readTwice(message.body, [](const Bytes& body) { return vrel::sandbox::dictionaryFromBytes(body); });
    readTwice(message.body, [](const Bytes& body) { return vrel::sandbox::instantiateRequestFromBytes(body); });
  }
  return 0;
}
