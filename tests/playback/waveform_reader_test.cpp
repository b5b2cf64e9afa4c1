// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/waveform_reader.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "simulation/simulated_audio_files.h"
#include "simulation/simulated_file_manager.h"
#include "simulation/virtual_time.h"

namespace vrel {
namespace {

class Waveform : public testing::Test {
 protected:
  Waveform() {
    auto& sound = files.sounds["/a.wav"];
    sound.channels.assign(1, std::vector<float>(5'000'000, 0.5F));
    files.identities["/a.wav"] = "first";
  }

  void read(WaveformReader& reader) {
    heard.clear();
    reader.read("/a.wav", [this](const WaveformReader::Progress& progress) { heard.push_back(progress); });
    queues.queue("vrel.waveform.scan").runAll();
    mainQueue.runAll();
  }

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::CrankedQueueFactory queues;
  simulation::SimulatedAudioFiles files;
  simulation::SimulatedFileManager disk;
  WaveformReader::Collaborators collaborators{&files, queues, mainQueue, &disk, "/cache/peaks"};
  std::vector<WaveformReader::Progress> heard;
};

TEST_F(Waveform, GrowsWhileTheFileIsRead) {
  WaveformReader reader(collaborators);
  read(reader);
  ASSERT_GE(heard.size(), 4U);
  EXPECT_EQ(heard[0].peaks.frames, 5'000'000);
  EXPECT_TRUE(heard[0].peaks.bars.empty()) << "the length is known first";
  EXPECT_LT(heard[1].peaks.bars.size(), heard[2].peaks.bars.size());
  EXPECT_TRUE(heard.back().isComplete);
  EXPECT_EQ(heard.back().peaks.bars, std::vector<float>(180, 0.5F));
}

/// With a quicker way to read a file once.
class QuickFiles final : public simulation::SimulatedAudioFiles {
 public:
  std::shared_ptr<AVAudioFile> openForScanning(const std::string& path) override {
    return std::make_shared<simulation::SimulatedAudioFile>(path, quick);
  }

  simulation::SimulatedSound quick;
};

TEST_F(Waveform, IsReadTheQuickerWayAndAsItIsPlayedWhereThatFails) {
  QuickFiles both;
  both.sounds = files.sounds;
  both.quick = both.sounds["/a.wav"];
  collaborators.files = &both;
  WaveformReader reader(collaborators);
  read(reader);
  EXPECT_EQ(both.openCount, 0);
  EXPECT_EQ(heard.back().peaks.bars, std::vector<float>(180, 0.5F));
  both.quick.readFailure = Error{"not where they were counted"};
  read(reader);
  EXPECT_EQ(both.openCount, 1);
  EXPECT_TRUE(heard.back().isComplete);
  EXPECT_EQ(heard.back().peaks.bars, std::vector<float>(180, 0.5F));
}

TEST_F(Waveform, IsKeptAndComesBackWithoutTheFile) {
  WaveformReader reader(collaborators);
  read(reader);
  const auto first = heard.back().peaks;
  files.openCount = 0;
  read(reader);
  EXPECT_EQ(files.openCount, 0);
  ASSERT_EQ(heard.size(), 1U);
  EXPECT_TRUE(heard[0].isComplete);
  EXPECT_EQ(heard[0].peaks, first);
}

TEST_F(Waveform, OfAFileThatWasReplacedIsReadAgain) {
  WaveformReader reader(collaborators);
  read(reader);
  files.sounds["/a.wav"].channels[0].assign(1000, 0.25F);
  files.identities["/a.wav"] = "second";
  read(reader);
  EXPECT_EQ(heard.back().peaks.bars, std::vector<float>(180, 0.25F));
}

TEST_F(Waveform, ThatIsDamagedInTheCacheIsMadeAgain) {
  WaveformReader reader(collaborators);
  read(reader);
  for (auto& [path, bytes] : disk.files) {
    bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
  }
  read(reader);
  EXPECT_EQ(heard.back().peaks.bars, std::vector<float>(180, 0.5F));
  files.openCount = 0;
  read(reader);
  EXPECT_EQ(files.openCount, 0) << "and written again";
}

TEST_F(Waveform, IsReadWhereTheCacheCannotBeWritten) {
  disk.readOnly.insert("/");
  WaveformReader reader(collaborators);
  read(reader);
  EXPECT_TRUE(heard.back().isComplete);
  EXPECT_FALSE(heard.back().failure);
  EXPECT_TRUE(disk.files.empty());
}

TEST_F(Waveform, IsNotReportedAnyMoreAfterAStop) {
  WaveformReader reader(collaborators);
  reader.read("/a.wav", [this](const auto& progress) { heard.push_back(progress); });
  reader.stop();
  queues.queue("vrel.waveform.scan").runAll();
  mainQueue.runAll();
  EXPECT_TRUE(heard.empty());
  EXPECT_EQ(files.openCount, 0);
}

TEST_F(Waveform, TheCacheHoldsSoManyFilesAndNoMore) {
  for (int number = 0; number < 500; ++number) {
    disk.place("/cache/peaks/" + std::to_string(number) + ".peaks", "old");
  }
  WaveformReader reader(collaborators);
  read(reader);
  EXPECT_EQ(disk.files.size(), WaveformReader::mostKept);
}

TEST_F(Waveform, WithoutMemoryForFramesIsEmpty) {
  files.isOutOfMemory = true;
  WaveformReader reader(collaborators);
  read(reader);
  EXPECT_TRUE(heard.back().isComplete);
  EXPECT_TRUE(heard.back().peaks.bars.empty());
  EXPECT_TRUE(disk.files.empty());
}

}  // namespace
}  // namespace vrel
