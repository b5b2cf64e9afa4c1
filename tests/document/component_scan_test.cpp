// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/component_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <locale>
#include <string>
#include <vector>

namespace vrel {
namespace {

/// A machine with the plug-ins it is given. A search field of zero matches anything.
class FakeComponentManager final : public AVAudioUnitComponentManager {
 public:
  std::vector<AVAudioUnitComponent> installed;
  std::vector<AudioComponentDescription> searches;

  std::vector<AVAudioUnitComponent> componentsMatchingDescription(const AudioComponentDescription& wanted) override {
    searches.push_back(wanted);
    std::vector<AVAudioUnitComponent> found;
    for (const auto& component : installed) {
      if (component.audioComponentDescription.componentType == wanted.componentType) {
        found.push_back(component);
      }
    }
    return found;
  }

  void add(const std::string& manufacturer, const std::string& name, std::uint32_t type = componentTypeMusicDevice) {
    const auto subType = static_cast<std::uint32_t>(installed.size());
    installed.push_back({name, manufacturer, {type, subType, 9}});
  }
};

using Names = std::vector<std::string>;

Names instruments(FakeComponentManager& manager, const std::locale& locale = std::locale::classic()) {
  Names names;
  for (const auto& component : scanInstrumentComponents(manager, locale)) {
    names.push_back(component.manufacturerName + "/" + component.name);
  }
  return names;
}

TEST(ComponentScan, AsksForInstrumentsAndGenerators) {
  FakeComponentManager manager;
  manager.add("A", "synth", componentTypeMusicDevice);
  manager.add("A", "noise", componentTypeGenerator);
  manager.add("A", "hall", componentTypeEffect);
  manager.add("A", "arp", componentTypeMusicEffect);
  EXPECT_EQ(instruments(manager), (Names{"A/noise", "A/synth"}));
  EXPECT_EQ(manager.searches,
            (std::vector<AudioComponentDescription>{{componentTypeMusicDevice, 0, 0}, {componentTypeGenerator, 0, 0}}));
}

TEST(ComponentScan, AsksForEffectsAndMusicEffects) {
  FakeComponentManager manager;
  manager.add("A", "synth", componentTypeMusicDevice);
  manager.add("A", "hall", componentTypeEffect);
  manager.add("A", "arp", componentTypeMusicEffect);
  const auto effects = scanAudioEffectComponents(manager, std::locale::classic());
  ASSERT_EQ(effects.size(), 2U);
  EXPECT_EQ(effects[0].name, "arp");
  EXPECT_EQ(effects[1].name, "hall");
  EXPECT_EQ(manager.searches,
            (std::vector<AudioComponentDescription>{{componentTypeEffect, 0, 0}, {componentTypeMusicEffect, 0, 0}}));
}

TEST(ComponentScan, AMachineWithoutPluginsGivesEmptyLists) {
  FakeComponentManager manager;
  EXPECT_TRUE(scanInstrumentComponents(manager).empty());
  EXPECT_TRUE(scanAudioEffectComponents(manager).empty());
}

TEST(ComponentScan, ComponentsWithTheSameCodesAppearOnceAsTheLastOfThem) {
  FakeComponentManager manager;
  manager.installed = {{"First", "A", {componentTypeMusicDevice, 1, 2}},
                       {"Other", "A", {componentTypeMusicDevice, 2, 1}},
                       {"Second", "A", {componentTypeMusicDevice, 1, 2}}};
  EXPECT_EQ(instruments(manager), (Names{"A/Other", "A/Second"}));
}

TEST(ComponentScan, CodesThatOnlyLookAlikeWhenJoinedStayApart) {
  FakeComponentManager manager;
  manager.installed = {{"a", "A", {componentTypeMusicDevice, 1, 12}}, {"b", "A", {componentTypeMusicDevice, 11, 2}}};
  EXPECT_EQ(instruments(manager).size(), 2U);
}

TEST(ComponentScan, SortsByManufacturerThenByNameWithoutRegardToCase) {
  FakeComponentManager manager;
  manager.add("bolt", "a");
  manager.add("Acme", "zither");
  manager.add("Acme", "Yodel");
  manager.add("Acme", "xylophone");
  manager.add("CAB", "a");
  EXPECT_EQ(instruments(manager), (Names{"Acme/xylophone", "Acme/Yodel", "Acme/zither", "bolt/a", "CAB/a"}));
}

TEST(ComponentScan, ManufacturersThatDifferOnlyInCaseAreTogetherOrderedByManufacturer) {
  FakeComponentManager manager;
  manager.add("acme", "b");
  manager.add("ACME", "c");
  manager.add("acme", "d");
  manager.add("ACME", "a");
  manager.add("Bolt", "a");
  manager.add("Aardvark", "z");
  EXPECT_EQ(instruments(manager), (Names{"Aardvark/z", "ACME/a", "ACME/c", "acme/b", "acme/d", "Bolt/a"}));
}

TEST(ComponentScan, TheOrderFoundDoesNotMatter) {
  FakeComponentManager manager;
  for (const char* manufacturer : {"acme", "Acme", "ACME", "bolt"}) {
    for (const char* name : {"b", "B", "a", "A"}) {
      manager.add(manufacturer, name);
    }
  }
  const Names wanted = instruments(manager);
  std::reverse(manager.installed.begin(), manager.installed.end());
  EXPECT_EQ(instruments(manager), wanted);
}

TEST(ComponentScan, NamesInUtf8AreFoldedAsTheLocaleKnows) {
  FakeComponentManager manager;
  manager.add("ÖHM", "b");
  manager.add("öhm", "a");
  manager.add("õhm", "c");  // between the two as they are written, before both when folded
  manager.add("Zed", "a");
  // Comes with the C library of every Debian machine.
  const std::locale locale = localeNamed("C.UTF-8");
  ASSERT_NE(locale, std::locale::classic());
  EXPECT_EQ(instruments(manager, locale), (Names{"Zed/a", "õhm/c", "ÖHM/b", "öhm/a"}));
}

TEST(ComponentScan, NamesThatAreNoUtf8DoNotBreakTheOrder) {
  FakeComponentManager manager;
  manager.add("\xFF\xFE", "a");
  manager.add("", "");
  manager.add("B\xC3", "cut");
  manager.add("\xED\xA0\x80", "surrogate");
  manager.add("\xF4\x90\x80\x80", "beyond");
  manager.add(std::string("nul\0nul", 7), "b");
  manager.add("A", "a");
  EXPECT_EQ(scanInstrumentComponents(manager, std::locale::classic()).size(), 7U);
  EXPECT_EQ(instruments(manager)[1], "A/a");
  EXPECT_EQ(scanInstrumentComponents(manager).size(), 7U);
}

TEST(ComponentScan, ALocaleThatTheMachineDoesNotHaveFallsBack) {
  EXPECT_EQ(localeNamed("xx_NOWHERE.UTF-8"), std::locale::classic());
  EXPECT_EQ(localeNamed("POSIX").name(), "C");
}

}  // namespace
}  // namespace vrel
