// SPDX-License-Identifier: GPL-3.0-or-later
// The presets of a plug-in: which there are, what they do to it, and those that a user saves.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/small_disk.h"
#include "system/plugins/lv2/lv2_stage.h"
#include "system/plugins/lv2/preset_answers.h"

namespace vrel::lv2 {
namespace {

namespace fs = std::filesystem;

constexpr const char* panel = "urn:vrel:zoo:panel";
constexpr const char* keeper = "urn:vrel:zoo:state";

class Presets : public testing::Test {
 protected:
  [[nodiscard]] fs::path userFolder() const { return home_.bundles(); }

  [[nodiscard]] std::size_t userBundleCount() const {
    std::error_code failure;
    const auto entries = fs::directory_iterator(userFolder(), failure);
    return failure ? 0 : static_cast<std::size_t>(std::distance(fs::begin(entries), fs::end(entries)));
  }

  /// What another program would find.
  struct NextStart {
    explicit NextStart(const fs::path& userFolder) {
      setenv("LV2_PATH", (std::string(VREL_ZOO_PATH) + ":" + userFolder.string()).c_str(), 1);
      world = Lv2World::open();
      (void)world->componentsMatchingDescription({});
      stage.world = world;
      stage.factory = std::make_unique<Lv2UnitFactory>(world, stage.settings);
    }
    Stage stage;
    std::shared_ptr<Lv2World> world;
  };

  OwnHome home_;
  Stage stage_;
};

TEST_F(Presets, AreListedByBankAndName) {
  const auto unit = stage_.make(panel).unit;
  PresetsOf presets(*unit);
  EXPECT_EQ(presets.names(), (std::vector<std::string>{"Damaged", "Empty", "Gone", "Named inside", "deep", "Drone"}));
  EXPECT_EQ(presets.named("deep").bankName, "Basses");
  EXPECT_EQ(presets.named("Gone").bankName, "");
  EXPECT_FALSE(presets.named("deep").isUserPreset);
}

TEST_F(Presets, APlugInWithoutAnyHasNone) {
  EXPECT_TRUE(PresetsOf(*stage_.make("urn:vrel:zoo:gain").unit).all().empty());
}

TEST_F(Presets, OneSetsTheControlsThatItNamesAndIsHeard) {
  const auto unit = stage_.make(panel).unit;
  Player player(unit);
  auto& controls = unit->auAudioUnit();
  controls.setParameterValue(2, 3);
  EXPECT_EQ(PresetsOf(*unit).use("deep"), std::nullopt);
  EXPECT_EQ(controls.parameterValue(2), 0.5F) << "and not what waited before it";
  EXPECT_EQ(controls.parameterValue(3), 100.0F);
  EXPECT_EQ(controls.parameterValue(4), 0.0F) << "a truth value";
  EXPECT_EQ(controls.parameterValue(5), 3.0F) << "a whole number";
  EXPECT_EQ(controls.parameterValue(6), 1.0F) << "not in the preset";
  controls.setParameterValue(4, 1);
  EXPECT_EQ(player.block(64, {std::vector<float>(64, 0.5F)}).left, std::vector<float>(64, 0.25F));
}

TEST_F(Presets, OneIsReadByThePlugInsOwnRestore) {
  const auto unit = stage_.make(keeper).unit;
  Player player(unit);
  EXPECT_EQ(PresetsOf(*unit).use("Kept"), std::nullopt);
  EXPECT_EQ(player.block(64).left, std::vector<float>(64, 0.25F));
}

TEST_F(Presets, OneThatThePlugInRefusesLeavesItAsItWas) {
  const auto unit = stage_.make(keeper).unit;
  Player player(unit);
  ASSERT_EQ(PresetsOf(*unit).use("Kept"), std::nullopt);
  const Outcome failure = PresetsOf(*unit).use("Refused");
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->description, "the plug-in refused it");
  EXPECT_EQ(player.block(64).left, std::vector<float>(64, 0.25F)) << "neither its control nor its own state";
}

TEST_F(Presets, AFileThatIsGoneDamagedOrEmptyLeavesThePlugInAsItWasAndSaysSo) {
  const auto unit = stage_.make(panel).unit;
  Player player(unit);
  PresetsOf presets(*unit);
  for (const char* name : {"Gone", "Damaged", "Empty"}) {
    const Outcome failure = presets.use(name);
    ASSERT_TRUE(failure) << name;
    EXPECT_FALSE(failure->description.empty());
    EXPECT_EQ(unit->auAudioUnit().parameterValue(2), 1.0F) << name;
  }
  EXPECT_TRUE(presets.use("one that is not listed"));
  EXPECT_EQ(presets.use("Named inside"), std::nullopt) << "the library works on";
}

TEST_F(Presets, WhatIsSavedIsFoundByOtherProgramsWithTheFilesOfThePlugIn) {
  {
    const auto unit = stage_.make(keeper).unit;
    Player player(unit);
    player.send(0x90, 32, 64);
    player.send(0x90, 100, 64);
    (void)player.block(64);
    unit->auAudioUnit().setParameterValue(3, 0.5F);
    const auto saved = PresetsOf(*unit).save("Mine");
    ASSERT_TRUE(saved) << saved.error().description;
    EXPECT_EQ(saved.value().name, "Mine");
    EXPECT_TRUE(saved.value().isUserPreset);
    EXPECT_EQ(PresetsOf(*unit).names().front(), "Mine") << "those of the user come first";
  }
  NextStart next(userFolder());
  const auto unit = next.stage.make(keeper).unit;
  Player player(unit);
  EXPECT_EQ(PresetsOf(*unit).use("Mine"), std::nullopt);
  const Sound sound = player.block(64);
  EXPECT_EQ(sound.left, std::vector<float>(64, 0.5F * 32 / 128));
  EXPECT_EQ(sound.right, std::vector<float>(64, 0.5F * 100 / 128)) << "its own file";
}

TEST_F(Presets, ASavedOneReplacesTheUsersOfThatNameAndNoOther) {
  const auto unit = stage_.make(panel).unit;
  PresetsOf presets(*unit);
  ASSERT_TRUE(presets.save("deep"));
  unit->auAudioUnit().setParameterValue(2, 0.125F);
  ASSERT_TRUE(presets.save("deep"));
  EXPECT_EQ(presets.all().size(), 7U) << "the one of the plug-in is still there";
  EXPECT_EQ(userBundleCount(), 1U);
  unit->auAudioUnit().setParameterValue(2, 2);
  const auto own = presets.all().front();
  ASSERT_TRUE(own.isUserPreset);
  ASSERT_TRUE(presets.save("elsewhere"));
  EXPECT_EQ(presets.all().size(), 8U);
}

TEST_F(Presets, NamesOfAllKindsAreKeptAndLeadNowhereElse) {
  const auto unit = stage_.make(panel).unit;
  PresetsOf presets(*unit);
  const std::vector<std::string> names{"../../../etc",       "a/b", "a_b", "\"quoted\" \\ back", "Ünï ¿ 音", ".",
                                       std::string(200, 'x')};
  for (const auto& name : names) {
    const auto saved = presets.save(name);
    ASSERT_TRUE(saved) << name << saved.error().description;
    EXPECT_EQ(saved.value().name, name);
  }
  EXPECT_EQ(userBundleCount(), names.size());
  EXPECT_FALSE(presets.save(""));
  EXPECT_FALSE(presets.save(std::string(201, 'x')));
  EXPECT_EQ(userBundleCount(), names.size());
  NextStart next(userFolder());
  const auto again = next.stage.make(panel).unit;
  for (const auto& name : names) {
    EXPECT_TRUE(PresetsOf(*again).named(name).isUserPreset) << name;
  }
}

TEST_F(Presets, OneThatMayNotBeReplacedStaysAsItWas) {
  const auto unit = stage_.make(panel).unit;
  PresetsOf presets(*unit);
  unit->auAudioUnit().setParameterValue(2, 0.5F);
  ASSERT_TRUE(presets.save("Mine", false));
  unit->auAudioUnit().setParameterValue(2, 2);
  const auto again = presets.save("Mine", false);
  ASSERT_FALSE(again);
  EXPECT_EQ(again.error().description, "there is one of this name");
  ASSERT_EQ(presets.use("Mine"), std::nullopt);
  EXPECT_EQ(unit->auAudioUnit().parameterValue(2), 0.5F);
  EXPECT_TRUE(presets.save("deep", false)) << "the plug-in's own of a name is not in the way";
}

TEST_F(Presets, AControlCharacterInANameIsSavedAsASpace) {
  const auto unit = stage_.make(panel).unit;
  PresetsOf presets(*unit);
  const auto saved = presets.save("one\ttwo");
  ASSERT_TRUE(saved) << saved.error().description;
  EXPECT_EQ(saved.value().name, "one two");
  EXPECT_TRUE(presets.save("one\ntwo"));
  EXPECT_EQ(userBundleCount(), 1U);
}

TEST_F(Presets, ABundleWithOtherFilesIsNeitherDeletedNorReplaced) {
  const auto unit = stage_.make(panel).unit;
  PresetsOf presets(*unit);
  const auto saved = presets.save("Mine");
  ASSERT_TRUE(saved);
  const fs::path notes = fs::directory_iterator(userFolder())->path() / "notes.txt";
  std::ofstream(notes) << "which verse";
  EXPECT_TRUE(presets.remove(saved.value().identifier));
  EXPECT_FALSE(presets.save("Mine"));
  EXPECT_TRUE(fs::exists(notes));
  EXPECT_EQ(userBundleCount(), 1U);
  EXPECT_EQ(presets.use("Mine"), std::nullopt);
  fs::remove(notes);
  EXPECT_EQ(presets.remove(saved.value().identifier), std::nullopt);
}

TEST_F(Presets, OnlyTheUsersOwnAreDeleted) {
  const auto unit = stage_.make(panel).unit;
  PresetsOf presets(*unit);
  EXPECT_TRUE(presets.remove(presets.named("deep").identifier));
  const auto saved = presets.save("Mine");
  ASSERT_TRUE(saved);
  EXPECT_EQ(presets.remove(saved.value().identifier), std::nullopt);
  EXPECT_EQ(presets.all().size(), 6U);
  EXPECT_EQ(userBundleCount(), 0U);
  EXPECT_TRUE(presets.remove(saved.value().identifier)) << "it is gone";
}

TEST_F(Presets, ABundleOfSomeoneElseInTheUsersFolderIsNotTheUsersToDelete) {
  fs::create_directories(userFolder() / "other.lv2");
  std::ofstream(userFolder() / "other.lv2/manifest.ttl")
      << "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
         "<p.ttl> a pset:Preset ; lv2:appliesTo <urn:vrel:zoo:panel> ; "
         "<http://www.w3.org/2000/01/rdf-schema#label> \"Theirs\" ; "
         "<http://www.w3.org/2000/01/rdf-schema#seeAlso> <p.ttl> .\n";
  NextStart next(userFolder());
  const auto unit = next.stage.make(panel).unit;
  PresetsOf presets(*unit);
  ASSERT_EQ(presets.named("Theirs").name, "Theirs");
  EXPECT_FALSE(presets.named("Theirs").isUserPreset);
  EXPECT_TRUE(presets.remove(presets.named("Theirs").identifier));
  EXPECT_TRUE(fs::exists(userFolder() / "other.lv2/manifest.ttl"));
}

TEST_F(Presets, AFullDiskLeavesNothingHalfAndTheEarlierOneAsItWas) {
  const auto unit = stage_.make(panel).unit;
  PresetsOf presets(*unit);
  unit->auAudioUnit().setParameterValue(2, 0.5F);
  ASSERT_TRUE(presets.save("Mine"));
  unit->auAudioUnit().setParameterValue(2, 2);
  for (const rlim_t bytes : {0U, 100U, 300U, 600U}) {
    const SmallDisk disk(bytes);
    EXPECT_FALSE(presets.save("Mine")) << bytes;
    EXPECT_FALSE(presets.save("Other")) << bytes;
  }
  EXPECT_EQ(userBundleCount(), 1U);
  ASSERT_EQ(presets.use("Mine"), std::nullopt);
  EXPECT_EQ(unit->auAudioUnit().parameterValue(2), 0.5F);
}

TEST_F(Presets, WhatAnEndedProcessWasMakingIsRemovedByTheNextSave) {
  const pid_t ended = ::fork();
  if (ended == 0) {
    ::_exit(0);
  }
  ASSERT_EQ(::waitpid(ended, nullptr, 0), ended);
  const fs::path left = userFolder() / (".vrel-" + std::to_string(ended));
  const fs::path another = userFolder() / (".vrel-" + std::to_string(ended) + "-2");
  const fs::path living = userFolder() / (".vrel-" + std::to_string(::getppid()));
  const fs::path earlier = userFolder() / (".vrel-deleted-" + std::to_string(ended));
  for (const auto& folder : {left, another, living, earlier}) {
    fs::create_directories(folder / "files");
  }
  const auto unit = stage_.make(panel).unit;
  ASSERT_TRUE(PresetsOf(*unit).save("Mine"));
  EXPECT_FALSE(fs::exists(left));
  EXPECT_FALSE(fs::exists(another));
  EXPECT_TRUE(fs::exists(living));
  EXPECT_TRUE(fs::exists(earlier)) << "it may be the only one of its name";
}

TEST_F(Presets, AFolderThatCannotBeWrittenIsAnError) {
  std::ofstream(userFolder()) << "a file where the folder would be";
  const auto unit = stage_.make(panel).unit;
  EXPECT_FALSE(PresetsOf(*unit).save("Mine"));
  EXPECT_TRUE(fs::is_regular_file(userFolder()));
}

}  // namespace
}  // namespace vrel::lv2
