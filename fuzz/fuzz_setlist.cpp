// SPDX-License-Identifier: GPL-3.0-or-later
// Reads or refuses any bytes. What is read can be written, and reads back the same: the encoding
// has every field except the ids, so equal texts mean equal contents. What is read quickly is what the JSON library
// reads.

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
  const auto byLibrary = vrel::readSetlistByLibrary(bytes);
  if (setlist.ok() != byLibrary.ok() ||
      (setlist && vrel::encodeSetlist(setlist.value()).value() != vrel::encodeSetlist(byLibrary.value()).value())) {
    fail("the library reads another setlist", bytes);
  }
  if (!setlist) {
    if (setlist.error().description.empty()) {
      fail("an error without a message", bytes);
    }
    return 0;
  }
  const auto written = vrel::encodeSetlist(setlist.value());
  if (!written) {
    fail("cannot write what was read", written.error().description);
  }
  const auto again = vrel::decodeSetlist(written.value());
  if (!again) {
    fail("cannot read what was written", again.error().description);
  }
  const auto rewritten = vrel::encodeSetlist(again.value());
  if (!rewritten || rewritten.value() != written.value()) {
    fail("round trip differs", written.value());
  }
  return 0;
}
