// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/event_log.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

namespace vrel::render {
namespace {

class RenderEventLog : public testing::Test {
 protected:
  RenderEventLog() {
    path = testing::TempDir() + "vrel_" + testing::UnitTest::GetInstance()->current_test_info()->name() + ".jsonl";
  }
  ~RenderEventLog() override { std::filesystem::remove(path); }

  [[nodiscard]] std::string content() const {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string path;
};

TEST_F(RenderEventLog, ALineHasExactlyItsFields) {
  auto log = EventLog::create(path);
  ASSERT_TRUE(log.ok());
  log.value().song(0.5, 2);
  log.value().status(0.75, 1, ChannelStatus::loading);
  log.value().midi(1.5, 3, 0x95, 60, 127);
  log.value().songSwitch(2, 2, 17, 3);
  log.value().control(2.5, {MidiControlKind::channelVolume, 1}, false, 0.5F);
  log.value().control(2.5, {MidiControlKind::panic, {}}, true, 1);
  log.value().dirty(3, true);
  EXPECT_FALSE(log.value().close());
  EXPECT_EQ(content(),
            "{\"t\":0.5,\"kind\":\"song\",\"index\":2}\n"
            "{\"t\":0.75,\"kind\":\"status\",\"channel\":1,\"status\":\"Loading...\"}\n"
            "{\"t\":1.5,\"kind\":\"midi\",\"channel\":3,\"status\":149,\"data1\":60,\"data2\":127}\n"
            "{\"t\":2.0,\"kind\":\"switch\",\"index\":2,\"milliseconds\":17,\"pendingLoads\":3}\n"
            "{\"t\":2.5,\"kind\":\"control\",\"target\":\"channel_volume\",\"channel\":1,\"value\":0.5,"
            "\"pressed\":false}\n"
            "{\"t\":2.5,\"kind\":\"control\",\"target\":\"panic\",\"channel\":null,\"value\":1.0,"
            "\"pressed\":true}\n"
            "{\"t\":3.0,\"kind\":\"dirty\",\"dirty\":true}\n");
}

TEST_F(RenderEventLog, TimesReadBackExactly) {
  for (const double seconds : {0.0, 0.1, 1.0 / 3, std::nextafter(0.1, 1), 12345.678901234567, 1e-9}) {
    auto log = EventLog::create(path);
    ASSERT_TRUE(log.ok());
    log.value().song(seconds, 0);
    EXPECT_FALSE(log.value().close());
    EXPECT_EQ(nlohmann::json::parse(content()).at("t").get<double>(), seconds);
  }
}

TEST_F(RenderEventLog, AFileThatCannotBeCreatedIsAnErrorWithItsName) {
  const auto log = EventLog::create(path + "/no/folder");
  ASSERT_FALSE(log.ok());
  EXPECT_NE(log.error().description.find(path), std::string::npos);
}

TEST_F(RenderEventLog, AFullDiskIsReportedAtTheEnd) {
  ASSERT_TRUE(std::filesystem::exists("/dev/full"));
  auto log = EventLog::create("/dev/full");
  ASSERT_TRUE(log.ok());
  for (int count = 0; count < 10'000; ++count) {
    log.value().song(count, 0);
  }
  EXPECT_TRUE(log.value().close());
}

}  // namespace
}  // namespace vrel::render
