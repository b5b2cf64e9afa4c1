// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes are read or refused. What is read can be written, and reading that again gives the same:
// the writing holds every field but the ids, so two equal texts are two equal contents.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "document/setlist_coding.h"

namespace {

[[noreturn]] void fail(const char* words, const std::string& detail) {
  std::fprintf(stderr, "%s: %s\n", words, detail.c_str());
  std::abort();
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer looks for this name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(data, data + size);
  const auto setlist = vrel::readSetlist(bytes);
  if (!setlist) {
    if (setlist.error().description.empty()) {
      fail("a failure without words", bytes);
    }
    return 0;
  }
  const auto written = vrel::encodeSetlist(setlist.value());
  if (!written) {
    fail("what was read can not be written", written.error().description);
  }
  const auto again = vrel::decodeSetlist(written.value());
  if (!again) {
    fail("what was written can not be read", again.error().description);
  }
  const auto rewritten = vrel::encodeSetlist(again.value());
  if (!rewritten || rewritten.value() != written.value()) {
    fail("a second round differs", written.value());
  }
  return 0;
}
