// SPDX-License-Identifier: GPL-3.0-or-later
// The instrument selector with 600 plug-ins in the real window, rendered in software: from the press that opens it, and
// from each key of a search, to the end of the frame that shows what it led to. The reference in the same run is the
// shortest such way there is: a press on a mute button to the frame with its lamp.

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "console/measured_program.h"
#include "console/measured_window.h"

namespace vrel::app::bench {
namespace {

constexpr std::uint32_t plugins = 600;
constexpr std::uint32_t manufacturers = 40;

void measureAll(std::size_t runs) {
  MeasuredWindow window;
  window.program().logic.postToSession([](Session& session) {
    std::vector<AVAudioUnitComponent> all;
    for (std::uint32_t code = 0; code < plugins; ++code) {
      all.push_back({"Instrument " + std::to_string(code * 7919 % plugins),
                     "Manufacturer " + std::to_string(code % manufacturers),
                     {componentTypeMusicDevice, code, 1}});
    }
    session.state().scannedPlugins.set(all);
  });
  window.pump(200);
  auto& commands = *window.model().commands();
  auto& selector = *window.model().selector();
  const auto& strip = window.strip();
  std::vector<double> pressed;
  std::vector<double> opened;
  std::vector<double> filtered;
  const QString id = strip.channelId();
  for (std::size_t run = 0; run < runs; ++run) {
    const bool wasMuted = strip.mute();
    pressed.push_back(window.measure([&] { commands.toggleMute(id); }, [&] { return strip.mute() != wasMuted; }));
    opened.push_back(window.measure([&] { commands.openInstrumentSelector(id); },
                                    [&] { return selector.isOpen() && selector.rows().size() == int{plugins}; }));
    const QString search = QStringLiteral("instrument 1");
    for (qsizetype length = 1; length <= search.size(); ++length) {
      const QString typed = search.left(length);
      filtered.push_back(
          window.measure([&] { commands.setInstrumentSearch(typed); }, [&] { return selector.searchText() == typed; }));
    }
    window.measure([&] { commands.setInstrumentSearch(QString()); }, [&] { return selector.searchText().isEmpty(); });
    window.measure([&] { commands.cancelInstrumentSelector(); }, [&] { return !selector.isOpen(); });
  }
  std::printf("milliseconds to the end of the frame, %u plug-ins, %zu runs\n", plugins, runs);
  std::printf("%-22s %8s %8s %8s %8s\n", "", "median", "90%", "99%", "most");
  report("press on mute", pressed);
  report("selector opens", opened);
  report("each key of a search", filtered);
}

}  // namespace
}  // namespace vrel::app::bench

int main(int argumentCount, char** arguments) {
  using namespace vrel::app::bench;
  return runMeasurement(argumentCount, arguments, "--runs", 50,
                        [](int runs) { measureAll(static_cast<std::size_t>(runs)); });
}
