// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "apps/vrel-render/show/render_run.h"
#include "apps/vrel-render/show/show_files.h"
#include "apps/vrel-render/show/sound_file.h"

namespace vrel {
namespace {

using Arguments = std::vector<std::string>;

class BadInput : public ShowTest {
 protected:
  /// Runs, and expects this exit code, this on standard output, and one line on standard error with `words`.
  static void expectRefusal(int exitCode, const std::string& words, const Arguments& arguments,
                            const std::string& output = "") {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const auto run = renderOnZoo(arguments);
    EXPECT_EQ(run.exitCode, exitCode);
    EXPECT_EQ(run.output, output);
    const std::string errors = run.ownErrors();
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
    EXPECT_TRUE(errors.starts_with("vrel-render: ")) << errors;
    EXPECT_NE(errors.find(words), std::string::npos) << errors;
  }

  [[nodiscard]] std::string goodSetlist() const {
    return write("good.vrel", setlistOf({songOf("One", {stripOf("Sine", zooInstrument("sine"))})}));
  }
};

TEST_F(BadInput, WrongUsageExitsWithTwo) {
  const std::string setlist = goodSetlist();
  expectRefusal(2, "no setlist", {});
  expectRefusal(2, "'--loud'", {setlist, "--loud"});
  expectRefusal(2, "--out needs a value", {setlist, "--out"});
  expectRefusal(2, "--rate", {setlist, "--rate", "1000"});
  expectRefusal(2, "--block", {setlist, "--block", "100"});
  expectRefusal(2, "--tail", {setlist, "--tail", "nan"});
  expectRefusal(2, "--tail", {setlist, "--tail", "-1"});
  expectRefusal(2, "third.vrel", {setlist, "second.mid", "third.vrel"});
  expectRefusal(2, "overwrite another file", {setlist, "--out", setlist});
}

TEST_F(BadInput, ASongIndexOutOfRangeIsWrongUsage) {
  expectRefusal(2, "--song 1", {goodSetlist(), "--song", "1", "--out", at("out.wav")});
  EXPECT_FALSE(exists("out.wav"));
  expectRefusal(2, "--song 1", {write("empty.vrel", "{}"), "--song", "1"});
}

TEST_F(BadInput, AnUnreadableFileExitsWithOne) {
  expectRefusal(1, at("none.vrel"), {at("none.vrel")});
  expectRefusal(1, at("none.mid"), {goodSetlist(), at("none.mid")});
  expectRefusal(1, "cannot read", {testing::TempDir()});
  expectRefusal(1, "two?lines", {at("two\nlines")});
}

TEST_F(BadInput, AFileThatIsNotASetlistExitsWithOne) {
  expectRefusal(1, "is not a setlist", {write("a.vrel", "")});
  expectRefusal(1, "is not a setlist", {write("b.vrel", "not JSON")});
  expectRefusal(1, "is not a setlist", {write("c.vrel", "{\"songs\": 5}")});
  expectRefusal(1, "is not a setlist", {write("d.vrel", "{\"songs\": [{\"name\": \"\xFF\xFE\"}]}")});
  expectRefusal(1, "is not a setlist", {write("e.vrel", std::string(1'000'000, '['))});
}

TEST_F(BadInput, ADamagedSetlistIsReportedWithThePlaceOfTheDamage) {
  expectRefusal(1, "songs: expected an array, found number", {write("a.vrel", "{\"songs\": 5}")});
  expectRefusal(1, "volume", {write("b.vrel", "{\"songs\": [{\"channels\": [{\"volume\": \"loud\"}]}]}")});
  expectRefusal(1, "expected an object, found number", {write("c.vrel", "7")});
  // The oldest files are bare arrays of songs, with or without a byte order mark.
  expectRefusal(1, "tempo_bpm", {write("d.vrel", " [{\"tempo_bpm\": true}]")});
  expectRefusal(1, "tempo_bpm", {write("e.vrel", "\xEF\xBB\xBF[{\"tempo_bpm\": true}]")});
}

TEST_F(BadInput, AFileThatIsNotAMidiFileExitsWithOneAndWritesNothing) {
  const std::string whole = MidiFileMaker().message(0, {0x90, 60, 100}).bytes();
  const auto refused = [&](const std::string& bytes) {
    expectRefusal(1, "is not a MIDI file", {goodSetlist(), write("show.mid", bytes), "--out", at("out.wav")});
  };
  refused("");
  refused("RIFF");
  refused(whole.substr(0, whole.size() - 3));
  EXPECT_FALSE(exists("out.wav"));
}

TEST_F(BadInput, AShowLongerThanADayIsRefused) {
  // 25 hours of silence between two notes.
  const std::string show = MidiFileMaker().message(0, {0x90, 60, 100}).message(90'000'000, {0x80, 60, 0}).bytes();
  expectRefusal(1, "longer than a day", {goodSetlist(), write("long.mid", show)});
}

TEST_F(BadInput, AnUnwritableOutputExitsWithOne) {
  const std::string setlist = goodSetlist();
  expectRefusal(1, at("no/out.wav"), {setlist, "--tail", "0.1", "--out", at("no/out.wav")});
  expectRefusal(1, at("no/e.jsonl"), {setlist, "--tail", "0.1", "--events", at("no/e.jsonl")});
  expectRefusal(1, at("no/s.vrel"), {setlist, "--tail", "0.1", "--save", at("no/s.vrel")},
                "Failed to save setlist: " + at("no/s.vrel") + ": No such file or directory\n");
}

TEST_F(BadInput, AfterAFailedSaveTheSoundIsComplete) {
  expectRefusal(1, "cannot save", {goodSetlist(), "--tail", "0.1", "--out", at("out.wav"), "--save", at("no/s.vrel")},
                "Failed to save setlist: " + at("no/s.vrel") + ": No such file or directory\n");
  EXPECT_EQ(soundIn(read("out.wav")).frameCount(), 4864U);  // 38 blocks
}

TEST_F(BadInput, AFullDiskExitsWithOne) {
  ASSERT_TRUE(std::filesystem::exists("/dev/full"));
  const std::string setlist = goodSetlist();
  expectRefusal(1, "/dev/full", {setlist, "--tail", "0.5", "--out", "/dev/full"});
  expectRefusal(1, "/dev/full", {setlist, "--tail", "0.1", "--events", "/dev/full"});
}

TEST_F(BadInput, HelpExitsWithZero) {
  const auto run = renderOnZoo({"--help"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_NE(run.output.find("--tail SECONDS"), std::string::npos);
  EXPECT_EQ(run.errors, "");
}

}  // namespace
}  // namespace vrel
