// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "document/setlist.h"

namespace vrel {

/// A test with a temporary folder. The user state of the programs that it runs is there, too, under "state".
class ShowTest : public testing::Test {
 protected:
  ShowTest();
  ~ShowTest() override;

  /// The path of a file in the folder.
  [[nodiscard]] std::string at(const std::string& name) const { return (folder_ / name).string(); }

  std::string write(const std::string& name, const std::string& bytes) const;
  std::string write(const std::string& name, const SetlistFile& setlist) const;
  [[nodiscard]] std::string read(const std::string& name) const;
  [[nodiscard]] bool exists(const std::string& name) const { return std::filesystem::exists(at(name)); }

  /// The lines of an event file, without or with those about the processes of instruments, which differ in each
  /// run.
  [[nodiscard]] std::vector<nlohmann::json> events(const std::string& name) const;
  [[nodiscard]] std::vector<nlohmann::json> allEvents(const std::string& name) const;

 private:
  std::filesystem::path folder_;
};

/// Makes a MIDI file of one track in which a tick is a millisecond.
class MidiFileMaker {
 public:
  /// Times must not decrease.
  MidiFileMaker& message(std::uint32_t milliseconds, const std::vector<std::uint8_t>& bytes);
  MidiFileMaker& marker(std::uint32_t milliseconds, const std::string& text);
  [[nodiscard]] std::string bytes() const;

 private:
  void add(std::uint32_t milliseconds, const std::string& event);

  std::uint32_t now_ = 0;
  std::string track_;
};

/// The path of a plug-in of the zoo.
[[nodiscard]] std::string zooInstrument(const std::string& name);
[[nodiscard]] std::string zooEffect(const std::string& name);

/// A strip that plays `pluginPath` as loud as it comes, with no reverb.
[[nodiscard]] ChannelConfig stripOf(const std::string& name, const std::string& pluginPath);
[[nodiscard]] SongConfig songOf(const std::string& name, const std::vector<ChannelConfig>& channels);
[[nodiscard]] SetlistFile setlistOf(const std::vector<SongConfig>& songs);

}  // namespace vrel
