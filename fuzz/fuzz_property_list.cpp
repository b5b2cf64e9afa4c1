// SPDX-License-Identifier: GPL-3.0-or-later
// Reads any bytes as a binary property list, or refuses them with a message. A dictionary that was read can be written,
// and reads back the same. Both are compared in another form: NaN is not equal to itself, and the library may write
// equal lists in different ways.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <variant>

#include "system/plugins/sandbox/property_list_bytes.h"
#include "system/property_list/libplist_serialization.h"

namespace {

[[noreturn]] void fail(const char* words, const vrel::Error& error) {
  std::fprintf(stderr, "%s: %s\n", words, error.description.c_str());
  std::abort();
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer looks for this name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vrel::system::LibplistSerialization serialization;
  const auto value = serialization.propertyListFromData({data, data + size});
  if (!value) {
    if (value.error().description.empty()) {
      fail("an error without a message", value.error());
    }
    return 0;
  }
  const auto* const dictionary = std::get_if<vrel::PropertyListDictionary>(&value.value().content);
  if (dictionary == nullptr) {
    return 0;
  }
  const auto written = serialization.dataFromPropertyList(*dictionary);
  if (!written) {
    fail("cannot write what was read", written.error());
  }
  const auto again = serialization.propertyListFromData(written.value());
  if (!again) {
    fail("cannot read what was written", again.error());
  }
  const auto& readAgain = std::get<vrel::PropertyListDictionary>(again.value().content);
  if (vrel::sandbox::toBytes(readAgain) != vrel::sandbox::toBytes(*dictionary)) {
    fail("round trip differs", {});
  }
  return 0;
}
