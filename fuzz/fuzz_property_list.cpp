// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes are read as a binary property list, or refused in words. A dictionary that was read can be written, and
// reading that again gives the same. Both are compared in another form: one number is not equal to itself, and the
// library may write equal lists in different ways.

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
      fail("a failure without words", value.error());
    }
    return 0;
  }
  const auto* const dictionary = std::get_if<vrel::PropertyListDictionary>(&value.value().content);
  if (dictionary == nullptr) {
    return 0;
  }
  const auto written = serialization.dataFromPropertyList(*dictionary);
  if (!written) {
    fail("what was read can not be written", written.error());
  }
  const auto again = serialization.propertyListFromData(written.value());
  if (!again) {
    fail("what was written can not be read", again.error());
  }
  const auto& readAgain = std::get<vrel::PropertyListDictionary>(again.value().content);
  if (vrel::sandbox::toBytes(readAgain) != vrel::sandbox::toBytes(*dictionary)) {
    fail("a second round differs", {});
  }
  return 0;
}
