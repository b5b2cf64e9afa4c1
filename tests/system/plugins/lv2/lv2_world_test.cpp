// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "system/plugins/lv2/lv2_stage.h"
#include "system/plugins/lv2/plugin_description.h"

namespace vrel::lv2 {
namespace {

std::string typeOf(const Stage& stage, const std::string& uri) {
  const std::uint32_t type = stage.component(uri).audioComponentDescription.componentType;
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    text += type == 0 ? "" : std::string(1, static_cast<char>(type >> shift));
  }
  return text;
}

TEST(Components, CodesAreTheHalvesOfTheHashOfTheUri) {
  EXPECT_EQ(fnv1a64(""), 0xCBF29CE484222325U);
  EXPECT_EQ(componentCodes(componentTypeMusicDevice, "urn:vrel:zoo:sine"),
            (AudioComponentDescription{1635085685, 248248097, 1861737912}));
  EXPECT_EQ(componentCodes(componentTypeMusicDevice, "http://gareus.org/oss/lv2/b_synth"),
            (AudioComponentDescription{1635085685, 3987333150, 1458327549}));
  EXPECT_EQ(componentCodes(componentTypeMusicDevice, "http://drobilla.net/plugins/mda/EPiano"),
            (AudioComponentDescription{1635085685, 3486730106, 2041230156}));
}

TEST(Components, EachPluginIsOfTheTypeThatItsPortsImply) {
  const Stage stage;
  EXPECT_EQ(typeOf(stage, "urn:vrel:zoo:sine"), "aumu");
  EXPECT_EQ(typeOf(stage, "urn:vrel:zoo:mono"), "aumu");  // by its ports; its class says nothing
  EXPECT_EQ(typeOf(stage, "urn:vrel:zoo:generator"), "augn");
  EXPECT_EQ(typeOf(stage, "urn:vrel:zoo:midieffect"), "aumf");
  EXPECT_EQ(typeOf(stage, "urn:vrel:zoo:gain"), "aufx");
  EXPECT_EQ(typeOf(stage, "urn:vrel:zoo:monoeffect"), "aufx");
  EXPECT_EQ(typeOf(stage, "urn:vrel:zoo:refuses"), "aumu");  // by its class; it takes no events
}

TEST(Components, APluginWithoutAudioOutputIsLeftOut) {
  const Stage stage;
  EXPECT_EQ(typeOf(stage, "urn:vrel:zoo:silent"), "");
}

TEST(Components, ABrokenBundleHidesNothingButItself) {
  ASSERT_TRUE(std::filesystem::exists(std::string(VREL_ZOO_PATH) + "/brokenmanifest.lv2/manifest.ttl"));
  ASSERT_TRUE(std::filesystem::exists(std::string(VREL_ZOO_PATH) + "/brokendata.lv2/data.ttl"));
  const Stage stage;
  EXPECT_EQ(typeOf(stage, "urn:vrel:zoo:brokenmanifest"), "");
  EXPECT_EQ(typeOf(stage, "urn:vrel:zoo:brokendata"), "");
  // sine, mono, echo, gain, monoeffect, generator, worker, state, defaultstate, refuses, needy,
  // notanumber, nolibrary, wide, midieffect, strangeport, nameless, clock, landmine, shy, gate, six rebels, four side
  // chains, panel, many, window, old window, inside, three outside, patched
  EXPECT_EQ(stage.world->componentsMatchingDescription({}).size(), 45U);
}

TEST(Components, NamesComeFromThePluginOrElseFromItsUri) {
  const Stage stage;
  EXPECT_EQ(stage.component("urn:vrel:zoo:sine").name, "Zoo Sine");
  EXPECT_EQ(stage.component("urn:vrel:zoo:sine").manufacturerName, "The Zoo");
  EXPECT_EQ(stage.component("urn:vrel:zoo:nameless").name, "nameless");
  EXPECT_EQ(stage.component("urn:vrel:zoo:nameless").manufacturerName, "vrel");
  EXPECT_EQ(nameFromUri("http://example.org/plugins/delay#stereo"), "stereo");
  EXPECT_EQ(nameFromUri("http://example.org/plugins/delay/"), "delay");
  EXPECT_EQ(manufacturerFromUri("http://example.org/plugins/delay"), "example.org");
  EXPECT_EQ(manufacturerFromUri("nothing"), "Unknown");
}

TEST(Components, AFieldOfZeroMatchesAnythingAndAnyOtherMustBeEqual) {
  const Stage stage;
  const auto generators = stage.world->componentsMatchingDescription({componentTypeGenerator, 0, 0});
  std::vector<std::string> names;
  for (const auto& component : generators) {
    names.push_back(component.name);
    EXPECT_EQ(component.audioComponentDescription.componentType, componentTypeGenerator);
  }
  EXPECT_THAT(names, testing::IsSupersetOf({"Zoo Generator", "Zoo Wide"}));
  AudioComponentDescription wrong = stage.component("urn:vrel:zoo:sine").audioComponentDescription;
  wrong.componentType = componentTypeEffect;
  EXPECT_TRUE(stage.world->componentsMatchingDescription(wrong).empty());
}

TEST(Components, TwoScansGiveTheSameListInTheSameOrder) {
  const Stage first;
  const Stage second;
  EXPECT_EQ(first.world->componentsMatchingDescription({}), second.world->componentsMatchingDescription({}));
}

TEST(Instantiation, EachFailureIsReportedInWords) {
  const Stage stage;
  EXPECT_EQ(stage.make(AudioComponentDescription{1, 2, 3}).error->description, "component not installed");
  EXPECT_EQ(stage.errorOf("urn:vrel:zoo:refuses"), "plug-in Zoo Refuses could not be instantiated");
  EXPECT_EQ(stage.errorOf("urn:vrel:zoo:needy"),
            "plug-in Zoo Needy requires the unsupported feature urn:vrel:zoo:impossible");
  EXPECT_EQ(stage.errorOf("urn:vrel:zoo:strangeport"),
            "plug-in Zoo Strange Port has a port of an unsupported type: strange");
  EXPECT_THAT(stage.errorOf("urn:vrel:zoo:nolibrary"),
              testing::AllOf(testing::StartsWith("plug-in Zoo No Library has no library file: "),
                             testing::EndsWith("/nolibrary.lv2/nolibrary.so")));
}

TEST(Instantiation, OnlyAMusicDeviceComesAsAnInstrument) {
  const Stage stage;
  EXPECT_NE(dynamic_cast<AVAudioUnitMIDIInstrument*>(stage.make("urn:vrel:zoo:sine").unit.get()), nullptr);
  for (const char* uri : {"urn:vrel:zoo:gain", "urn:vrel:zoo:generator", "urn:vrel:zoo:midieffect"}) {
    const Stage::Made made = stage.make(uri);
    ASSERT_NE(made.unit, nullptr) << uri;
    EXPECT_EQ(dynamic_cast<AVAudioUnitMIDIInstrument*>(made.unit.get()), nullptr) << uri;
  }
}

TEST(Instantiation, TheOutOfProcessOptionGivesAUnitToo) {
  const Stage stage;
  std::promise<bool> made;
  stage.factory->instantiateMIDIInstrument(
      stage.component("urn:vrel:zoo:sine").audioComponentDescription, AudioComponentInstantiationOptions::outOfProcess,
      [&made](const std::shared_ptr<AVAudioUnit>& unit, const std::optional<Error>& error) {
        made.set_value(unit != nullptr && !error);
      });
  EXPECT_TRUE(made.get_future().get());
}

TEST(Instantiation, AUnitOutlivesItsFactoryAndItsWorld) {
  std::shared_ptr<AVAudioUnit> unit;
  {
    const Stage stage;
    unit = stage.make("urn:vrel:zoo:generator").unit;
  }
  ASSERT_NE(unit, nullptr);
  EXPECT_EQ(Player(unit).block(16).left, std::vector<float>(16, 0.25F));
}

TEST(Instantiation, AHandlerThatKeepsNothingLetsTheWorldCloseOnItsOwnThread) {
  auto stage = std::make_unique<Stage>();
  const AudioComponentDescription sine = stage->component("urn:vrel:zoo:sine").audioComponentDescription;
  auto calls = std::make_shared<std::atomic<int>>(0);
  auto last = std::make_shared<std::promise<void>>();
  for (int count = 0; count < 4; ++count) {
    stage->factory->instantiate(sine, AudioComponentInstantiationOptions::inProcess,
                                [calls, last](const std::shared_ptr<AVAudioUnit>&, const std::optional<Error>&) {
                                  if (++*calls == 4) {
                                    last->set_value();
                                  }
                                });
  }
  stage.reset();
  last->get_future().wait();
  EXPECT_EQ(*calls, 4);
}

TEST(Instantiation, ManyUnitsComeAndGo) {
  const Stage stage;
  for (int round = 0; round < 3; ++round) {
    std::vector<std::shared_ptr<AVAudioUnit>> units;
    for (int count = 0; count < 16; ++count) {
      units.push_back(stage.make(count % 2 == 0 ? "urn:vrel:zoo:sine" : "urn:vrel:zoo:worker").unit);
      ASSERT_NE(units.back(), nullptr);
    }
    for (auto& unit : units) {
      Player(unit).block(64);
    }
  }
}

}  // namespace
}  // namespace vrel::lv2
