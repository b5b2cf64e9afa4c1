// SPDX-License-Identifier: GPL-3.0-or-later
// Reads or refuses any bytes. In what is read, times never decrease, every message is a channel
// message, and there are fewer events than bytes.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <variant>

#include "midi/standard_midi_file.h"

namespace {

void require(bool met, const char* words) {
  if (!met) {
    std::fprintf(stderr, "violated: %s\n", words);
    std::abort();
  }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer looks for this name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto file = vrel::readStandardMidiFile(std::span(data, size));
  if (!file) {
    require(file.error().description.starts_with("byte "), "an error has its place");
    return 0;
  }
  double last = 0;
  for (const auto& event : file.value().events) {
    require(std::isfinite(event.seconds) && event.seconds >= last, "time runs forward");
    last = event.seconds;
    if (const auto* message = std::get_if<vrel::MidiFileMessage>(&event.content)) {
      require(message->status >= 0x80 && message->status < 0xF0, "a message is a channel message");
      require(message->data1 < 0x80 && message->data2 < 0x80, "data bytes have seven bits");
    }
  }
  require(file.value().lengthSeconds >= last, "the file is as long as its last event");
  require(file.value().events.size() <= size, "there are fewer events than bytes");
  return 0;
}
