// SPDX-License-Identifier: GPL-3.0-or-later
// Reading and writing a large setlist, relative to the JSON library's minimum: one parse and one dump of the same
// bytes. All alternate, so that other load affects them alike.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "document/setlist_coding.h"
#include "foundation/base64.h"

namespace {

constexpr std::size_t songCount = 200;
constexpr std::size_t channelCount = 16;
constexpr std::size_t stateSize = 65'536;

std::string randomState(std::uint32_t seed) {
  std::vector<std::uint8_t> bytes(stateSize);
  for (auto& byte : bytes) {
    seed = seed * 1664525U + 1013904223U;
    byte = static_cast<std::uint8_t>(seed >> 24U);
  }
  return vrel::base64Encode(bytes);
}

std::string largeDocument() {
  vrel::SetlistFile setlist;
  for (std::size_t song = 0; song < songCount; ++song) {
    auto& channels = setlist.songs.emplace_back().channels;
    channels.resize(channelCount);
    for (std::size_t channel = 0; channel < channelCount; ++channel) {
      channels[channel].pluginPath = "aucd:1635085685:1:2";
      channels[channel].pluginStateBase64 = randomState(static_cast<std::uint32_t>(song * channelCount + channel));
    }
  }
  return vrel::encodeSetlist(setlist).value();
}

template <typename Work>
double secondsFor(Work work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void decodeAndEncode(benchmark::State& state) {
  const std::string document = largeDocument();
  double bare = 0;
  double library = 0;
  double reading = 0;
  double writing = 0;
  for ([[maybe_unused]] auto turn : state) {
    bare += secondsFor([&] { benchmark::DoNotOptimize(nlohmann::json::parse(document).dump(2)); });
    library += secondsFor([&] { benchmark::DoNotOptimize(vrel::readSetlistByLibrary(document)); });
    vrel::SetlistFile setlist;
    const double read = secondsFor([&] { setlist = vrel::readSetlist(document).value(); });
    const double written = secondsFor([&] { benchmark::DoNotOptimize(vrel::encodeSetlist(setlist).value()); });
    reading += read;
    writing += written;
    state.SetIterationTime(read + written);
  }
  const auto rounds = static_cast<double>(state.iterations());
  state.counters["megabytes"] = static_cast<double>(document.size()) / 1e6;
  state.counters["bare_seconds"] = bare / rounds;
  state.counters["library_reading_seconds"] = library / rounds;
  state.counters["reading_seconds"] = reading / rounds;
  state.counters["writing_seconds"] = writing / rounds;
  state.counters["ratio"] = (reading + writing) / bare;
}

}  // namespace

BENCHMARK(decodeAndEncode)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK_MAIN();
