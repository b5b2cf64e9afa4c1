// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/help_texts.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <set>
#include <span>
#include <string_view>
#include <vector>

namespace vrel {
namespace {

using Words = std::vector<std::string_view>;

Words titlesOf(std::span<const HelpSection> sections) {
  Words titles;
  for (const auto& section : sections) {
    titles.push_back(section.title);
  }
  return titles;
}

TEST(HelpTexts, TheManualHasItsSixTitlesInFiveLanguages) {
  const std::array<Words, allLanguages.size()> expected{{
      {"Setlists and songs", "Channels and instruments", "Playback", "Live Mode", "MIDI Learn", "Plugins"},
      {"Setlists y canciones", "Canales e instrumentos", "Playback", "Modo Live", "MIDI Learn", "Plugins"},
      {"Setlists et morceaux", "Canaux et instruments", "Playback", "Mode Live", "MIDI Learn", "Plugins"},
      {"Scalette e brani", "Canali e strumenti", "Playback", "Modo Live", "MIDI Learn", "Plugins"},
      {"Setlisten und Songs", "Kanaele und Instrumente", "Playback", "Live-Modus", "MIDI Learn", "Plugins"},
  }};
  for (const Language language : allLanguages) {
    const auto titles = titlesOf(manualSections(language));
    EXPECT_EQ(titles, expected.at(static_cast<std::size_t>(language))) << code(language);
    EXPECT_EQ(titles.at(3), text(TextKey::modeLive, language));
  }
}

TEST(HelpTexts, TheManualSpeaksOfTheInstrumentsThatCanBeLoaded) {
  EXPECT_EQ(manualSections(Language::english)[1].body,
            "Each channel can load an LV2 instrument, internal playback or the internal synth. Volume, gain, reverb, "
            "mute, solo, split, transpose and effects are saved per song.");
  for (const Language language : allLanguages) {
    EXPECT_NE(manualSections(language)[1].body.find("LV2"), std::string_view::npos) << code(language);
  }
}

TEST(HelpTexts, EachBodyIsWrittenInEachLanguage) {
  for (const auto sectionsIn : {manualSections, liveKeySections}) {
    std::set<std::string_view> bodies;
    for (const Language language : allLanguages) {
      ASSERT_EQ(sectionsIn(language).size(), sectionsIn(Language::english).size());
      for (const auto& section : sectionsIn(language)) {
        EXPECT_FALSE(section.title.empty());
        bodies.insert(section.body);
      }
    }
    EXPECT_EQ(bodies.size(), allLanguages.size() * sectionsIn(Language::english).size());
    EXPECT_FALSE(bodies.contains(""));
  }
}

}  // namespace
}  // namespace vrel
