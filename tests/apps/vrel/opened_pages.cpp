// SPDX-License-Identifier: GPL-3.0-or-later
#include "apps/vrel/opened_pages.h"

#include <cstdint>
#include <memory>
#include <optional>

#include "check/finding.h"

namespace vrel::app::test {

const std::vector<OpenedPage>& openedPages() {
  static const std::vector<OpenedPage> pages{
      {"instrumentPanel", "plugin0", false,
       [](Session& session) { session.content().instrumentSelector().open(*session.engine().channels()[0]); },
       [](Session& session) { session.content().instrumentSelector().cancel(); }},
      {"rackPanel", "rackEffect1", true,
       [](Session& session) { session.content().effectRack().toggle(*session.engine().masterChannel()); },
       [](Session& session) { session.content().effectRack().close(); }},
      {"learnedPanel", "learned1", true,
       [](Session& session) { session.content().learnedControls().isShown.set(true); },
       [](Session& session) { session.content().learnedControls().isShown.set(false); }},
      {"songControlPanel", "receivedProgram", true,
       [](Session& session) { session.content().songControlPage().isShown.set(true); },
       [](Session& session) { session.content().songControlPage().isShown.set(false); }},
      {"checkPanel", "checked2", false, [](Session& session) { session.content().setlistChecker().isShown.set(true); },
       [](Session& session) { session.content().setlistChecker().close(); }},
      {"copiesPanel", "copy1", false,
       [](Session& session) {
         session.content().keptCopies().open();
         const KeptCopy good{.path = "/a/000001.vrel",
                             .seconds = 1'700'000'000,
                             .isGood = true,
                             .songCount = 2,
                             .songNames = "The Long Way Home, Acoustic, Blue Room"};
         std::vector<KeptCopy> copies(20, good);
         copies[1] = {.path = "/a/000002.vrel"};
         session.content().keptCopies().rows.set(copies);
       },
       [](Session& session) { session.content().keptCopies().close(); }},
      {"trackPanel", "trackApply", false,
       [](Session& session) { session.content().trackEditor().open(*session.engine().channels()[0]); },
       [](Session& session) { session.content().trackEditor().cancel(); }},
      {"clipPanel", "clipList", false,
       [](Session& session) {
         session.content().clipEditor().open(*session.engine().channels()[0]);
         for (int clip = 0; clip < 8; ++clip) {
           session.content().clipEditor().add();
         }
       },
       [](Session& session) { session.content().clipEditor().cancel(); }},
      {"largeNotesPage", "largeNotes", true, [](Session& session) { session.content().largeNotes().isShown.set(true); },
       [](Session& session) { session.content().largeNotes().isShown.set(false); }},
  };
  return pages;
}

void fillPages(Session& session) {
  auto& state = session.state();
  constexpr std::uint32_t count = 30;
  std::vector<AVAudioUnitComponent> plugins;
  for (std::uint32_t code = 0; code < count; ++code) {
    plugins.push_back({code % 3 == 0 ? "Concert Grand with Sympathetic Resonance" : "Organ " + std::to_string(code),
                       "Maker " + std::to_string(code % 4),
                       {code % 5 == 0 ? componentTypeEffect : componentTypeMusicDevice, code, 20}});
  }
  state.scannedPlugins.set(plugins);
  state.favouritePlugins.set({"aucd:1635085685:1:20"});
  state.globalMidiControlAssignments.set({{{MidiControlKind::performanceExpression, std::nullopt}, {0xB0, 15, 127}},
                                          {{MidiControlKind::panic, std::nullopt}, {0x90, 15, 127}}});
  session.engine().masterChannel()->effectSlots.set(
      {AudioPluginSlot{.pluginPath = "aucd:1635083896:30:20", .pluginName = "Parametric Equaliser"},
       AudioPluginSlot{.pluginPath = "aucd:1635083896:31:20", .pluginName = "Plate"}});
  session.content().songRequests().handleProgramMessage({0xC0, 4, 0});
  CheckReport report;
  report.pages.resize(6);
  for (auto& page : report.pages) {
    page = {.name = "The Long Way Home, Acoustic",
            .findings = {{.kind = FindingKind::sharedControl,
                          .subject = "CC 64, MIDI 16",
                          .targets = {{MidiControlKind::panic, std::nullopt}}},
                         {.kind = FindingKind::fileCrashes, .strip = FindingStrip{0, "Piano Lead"}}},
            .played = PlayedSong{}};
  }
  session.content().setlistChecker().report.set(std::make_shared<const CheckReport>(report));
}

}  // namespace vrel::app::test
