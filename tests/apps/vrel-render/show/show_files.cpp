// SPDX-License-Identifier: GPL-3.0-or-later
#include "apps/vrel-render/show/show_files.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "document/setlist_coding.h"
#include "platform/audio_component.h"
#include "system/plugins/lv2/component_codes.h"

namespace vrel {
namespace {

std::string zooPath(std::uint32_t type, const std::string& name) {
  const auto codes = lv2::componentCodes(type, "urn:vrel:zoo:" + name);
  return "aucd:" + std::to_string(codes.componentType) + ":" + std::to_string(codes.componentSubType) + ":" +
         std::to_string(codes.componentManufacturer);
}

std::string bigEndian(std::uint32_t value, int byteCount) {
  std::string bytes;
  for (int shift = 8 * (byteCount - 1); shift >= 0; shift -= 8) {
    bytes += static_cast<char>((value >> shift) & 0xFFU);
  }
  return bytes;
}

std::string variableLength(std::uint32_t value) {
  std::string bytes(1, static_cast<char>(value & 0x7FU));
  while ((value >>= 7U) != 0) {
    bytes.insert(bytes.begin(), static_cast<char>(0x80U | (value & 0x7FU)));
  }
  return bytes;
}

}  // namespace

ShowTest::ShowTest() {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  folder_ = std::filesystem::path(testing::TempDir()) /
            (std::string("vrel_show_") + test->name() + "_" + std::to_string(getpid()));
  std::filesystem::create_directory(folder_);
  setenv("XDG_STATE_HOME", at("state").c_str(), 1);  // NOLINT(concurrency-mt-unsafe): no other threads yet
}

ShowTest::~ShowTest() {
  std::filesystem::remove_all(folder_);
}

std::string ShowTest::write(const std::string& name, const std::string& bytes) const {
  std::ofstream(at(name), std::ios::binary) << bytes;
  return at(name);
}

std::string ShowTest::write(const std::string& name, const SetlistFile& setlist) const {
  return write(name, encodeSetlist(setlist).value());
}

std::string ShowTest::read(const std::string& name) const {
  std::ifstream file(at(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<nlohmann::json> ShowTest::events(const std::string& name) const {
  auto events = allEvents(name);
  std::erase_if(events, [](const nlohmann::json& event) { return event.at("kind") == "sandbox"; });
  return events;
}

std::vector<nlohmann::json> ShowTest::allEvents(const std::string& name) const {
  std::istringstream lines(read(name));
  std::vector<nlohmann::json> events;
  for (std::string line; std::getline(lines, line);) {
    events.push_back(nlohmann::json::parse(line));
  }
  return events;
}

MidiFileMaker& MidiFileMaker::message(std::uint32_t milliseconds, const std::vector<std::uint8_t>& bytes) {
  add(milliseconds, std::string(bytes.begin(), bytes.end()));
  return *this;
}

MidiFileMaker& MidiFileMaker::marker(std::uint32_t milliseconds, const std::string& text) {
  add(milliseconds, "\xFF\x06" + variableLength(static_cast<std::uint32_t>(text.size())) + text);
  return *this;
}

void MidiFileMaker::add(std::uint32_t milliseconds, const std::string& event) {
  track_ += variableLength(milliseconds - now_) + event;
  now_ = milliseconds;
}

std::string MidiFileMaker::bytes() const {
  // A beat of 1000 ticks lasts a second.
  const std::string tempo = std::string(1, '\0') + "\xFF\x51\x03" + bigEndian(1'000'000, 3);
  const std::string end = std::string(1, '\0') + "\xFF\x2F" + std::string(1, '\0');
  const std::string body = tempo + track_ + end;
  return "MThd" + bigEndian(6, 4) + bigEndian(0, 2) + bigEndian(1, 2) + bigEndian(1000, 2) + "MTrk" +
         bigEndian(static_cast<std::uint32_t>(body.size()), 4) + body;
}

std::string zooInstrument(const std::string& name) {
  return zooPath(componentTypeMusicDevice, name);
}

std::string zooEffect(const std::string& name) {
  return zooPath(componentTypeEffect, name);
}

ChannelConfig stripOf(const std::string& name, const std::string& pluginPath) {
  ChannelConfig channel;
  channel.name = name;
  channel.volume = 0.75F;
  channel.pluginPath = pluginPath;
  return channel;
}

SongConfig songOf(const std::string& name, const std::vector<ChannelConfig>& channels) {
  SongConfig song;
  song.name = name;
  song.channels = channels;
  return song;
}

SetlistFile setlistOf(const std::vector<SongConfig>& songs) {
  SetlistFile setlist;
  setlist.songs = songs;
  return setlist;
}

}  // namespace vrel
