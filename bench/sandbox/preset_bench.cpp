// SPDX-License-Identifier: GPL-3.0-or-later
// The list of a plug-in's presets: from the request to the answer, with as many presets as the largest plug-in has,
// whose names are beside the names of their banks, or only in a file for each.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <vector>

#include "system/plugins/lv2/component_codes.h"
#include "system/plugins/lv2/lv2_preset_library.h"
#include "system/plugins/scratch_folder.h"

namespace vrel::lv2 {
namespace {

constexpr int presetsOfABank = 46;
constexpr const char* plugin = "urn:vrel:zoo:panel";
constexpr const char* prefixes =
    "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
    "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n";

void writeBundle(const std::filesystem::path& folder, int presets, bool isNamedBeside) {
  std::filesystem::create_directories(folder);
  std::ofstream manifest(folder / "manifest.ttl");
  manifest << prefixes;
  for (int number = 0; number < presets; ++number) {
    const std::string file = "preset" + std::to_string(number) + ".ttl";
    const std::string label = "rdfs:label \"Preset " + std::to_string(number) + "\"";
    const std::string bank = "<urn:vrel:bench:bank" + std::to_string(number / presetsOfABank) + ">";
    if (number % presetsOfABank == 0) {
      manifest << bank << " a pset:Bank ; rdfs:label \"Bank " << number / presetsOfABank << "\" .\n";
    }
    manifest << "<" << file << "> a pset:Preset ; lv2:appliesTo <" << plugin << "> ; pset:bank " << bank << " ; "
             << (isNamedBeside ? label + " ; " : "") << "rdfs:seeAlso <" << file << "> .\n";
    std::ofstream(folder / file) << prefixes << "<> a pset:Preset ; lv2:appliesTo <" << plugin << "> ; " << label
                                 << " ; lv2:port [ lv2:symbol \"level\" ; pset:value 0.5 ] .\n";
  }
}

void listPresetsOfAPlugIn(benchmark::State& state) {
  const auto presets = static_cast<int>(state.range(0));
  const auto folder = ScratchFolder::make();
  writeBundle(folder.value().path() / "bench.lv2", presets, state.range(1) != 0);
  setenv("LV2_PATH", (std::string(VREL_ZOO_PATH) + ":" + folder.value().path().string()).c_str(), 1);
  const auto world = Lv2World::open();
  const auto found = world->componentsMatchingDescription(componentCodes(0, plugin));
  Lv2PresetLibrary library(world, found.at(0).audioComponentDescription);
  for ([[maybe_unused]] auto run : state) {
    std::promise<std::size_t> answer;
    library.list([&answer](const std::vector<AUAudioUnitPreset>& list) { answer.set_value(list.size()); });
    if (answer.get_future().get() != static_cast<std::size_t>(presets) + 6) {
      state.SkipWithError("presets are missing");
    }
  }
}
BENCHMARK(listPresetsOfAPlugIn)
    ->ArgNames({"presets", "named"})
    ->Args({1150, 1})
    ->Args({1150, 0})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
}  // namespace vrel::lv2
