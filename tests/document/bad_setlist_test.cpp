// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "document/sample_setlist.h"
#include "document/setlist.h"
#include "document/setlist_coding.h"

namespace vrel {
namespace {

using nlohmann::json;
using testing::Eq;
using testing::HasSubstr;
using testing::StartsWith;

std::string failureOf(std::string_view bytes) {
  const auto setlist = decodeSetlist(bytes);
  EXPECT_FALSE(setlist.ok()) << bytes.substr(0, 200);
  return setlist.ok() ? "" : setlist.error().description;
}

std::string channelFailure(const std::string& members) {
  return failureOf(R"({"songs": [{}, {}, {"channels": [{)" + members + "}]}]}");
}

/// The document of the sample with the value at `pointer` changed or, with no value, removed.
std::string sampleWith(const json::json_pointer& pointer, const json* value) {
  json document = json::parse(encodeSetlist(sampleSetlist()).value());
  if (value != nullptr) {
    document[pointer] = *value;
  } else {
    document[pointer.parent_pointer()].erase(pointer.back());
  }
  return document.dump();
}

/// Every key of the sample once, with the place of its first appearance. Elements of arrays of
/// numbers have no key of their own.
std::vector<json::json_pointer> placesOfTheSample() {
  const json flat = json::parse(encodeSetlist(sampleSetlist()).value()).flatten();
  std::map<std::string, json::json_pointer> places;
  for (const auto& item : flat.items()) {
    for (json::json_pointer place(item.key()); !place.empty(); place.pop_back()) {
      std::string name;
      for (const char character : place.to_string()) {
        if (character < '0' || character > '9') {
          name.push_back(character);
        }
      }
      places.emplace(name, place);
    }
  }
  std::vector<json::json_pointer> all;
  for (const auto& [name, place] : places) {
    all.push_back(place);
  }
  return all;
}

TEST(BadSetlist, ADocumentCutAnywhereFails) {
  const std::string whole = encodeSetlist(sampleSetlist()).value();
  ASSERT_TRUE(decodeSetlist(whole).ok());
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(readSetlist(std::string_view(whole).substr(0, length)).ok()) << length;
  }
}

TEST(BadSetlist, EveryKeyRefusesAValueOfTheWrongType) {
  const auto places = placesOfTheSample();
  ASSERT_GT(places.size(), 40U);
  const json sample = json::parse(encodeSetlist(sampleSetlist()).value());
  const std::vector<json> values = {json::object({{"kind", 3}}), json::array({json::array()}), "text", true, 5};
  for (const auto& place : places) {
    int refused = 0;
    for (const json& value : values) {
      const bool sameKind = value.type() == sample[place].type() || (value.is_number() && sample[place].is_number());
      if (!sameKind) {
        ++refused;
        EXPECT_FALSE(readSetlist(sampleWith(place, &value)).ok()) << place << " as " << value;
      }
    }
    EXPECT_EQ(refused, 4) << place;
  }
}

TEST(BadSetlist, RequiredKeysCannotBeMissingOrNull) {
  const json null;
  const std::string assignment = "/songs/0/midi_control_assignments/0";
  for (const char* key :
       {"/target", "/binding", "/target/kind", "/binding/statusType", "/binding/midiChannel", "/binding/number"}) {
    const json::json_pointer place(assignment + key);
    EXPECT_THAT(failureOf(sampleWith(place, &null)), HasSubstr("is missing")) << key;
    EXPECT_THAT(failureOf(sampleWith(place, nullptr)), HasSubstr("is missing")) << key;
  }
}

TEST(BadSetlist, ANullAmongRecordsFails) {
  EXPECT_EQ(failureOf(R"({"songs": [{}, null]})"), "songs[1]: expected an object, found null");
  EXPECT_FALSE(decodeLegacySongs("[null]").ok());
}

TEST(BadSetlist, NumbersOutOfWidthFail) {
  EXPECT_EQ(channelFailure(R"("min_note": 300)"), "songs[2].channels[0].min_note: 300 is out of range 0 to 255");
  EXPECT_EQ(channelFailure(R"("min_note": 256.0)"), "songs[2].channels[0].min_note: 256.0 is out of range 0 to 255");
  EXPECT_EQ(channelFailure(R"("max_note": -1)"), "songs[2].channels[0].max_note: -1 is out of range 0 to 255");
  EXPECT_EQ(channelFailure(R"("transpose": 128)"), "songs[2].channels[0].transpose: 128 is out of range -128 to 127");
  EXPECT_EQ(channelFailure(R"("transpose": -129)"), "songs[2].channels[0].transpose: -129 is out of range -128 to 127");
  EXPECT_THAT(failureOf(R"({"songs": [{"tempo_bpm": -1}]})"), StartsWith("songs[0].tempo_bpm: -1 is out of range"));
  EXPECT_THAT(failureOf(R"({"songs": [{"tempo_bpm": 4294967296}]})"), HasSubstr("is out of range 0 to 4294967295"));
  EXPECT_THAT(failureOf(R"({"version": 1e30})"), StartsWith("version: "));
  for (const char* index : {"9223372036854775808", "-9223372036854775809", "18446744073709551616", "1e19"}) {
    const json::json_pointer place("/songs/0/midi_control_assignments/0/target/channelIndex");
    const json value = json::parse(index);
    EXPECT_THAT(failureOf(sampleWith(place, &value)), HasSubstr("is out of range")) << index;
  }
}

TEST(BadSetlist, FractionsAreNoWholeNumbers) {
  EXPECT_EQ(channelFailure(R"("min_note": 60.5)"), "songs[2].channels[0].min_note: 60.5 is not an integer");
  EXPECT_THAT(failureOf(R"({"songs": [{"tempo_bpm": 0.1}]})"), HasSubstr("is not an integer"));
}

TEST(BadSetlist, FloatsThatNeedMoreThanThirtyTwoBitsFail) {
  EXPECT_THAT(channelFailure(R"("volume": 3.5e38)"), StartsWith("songs[2].channels[0].volume: "));
  EXPECT_THAT(channelFailure(R"("gain": -1e39)"), HasSubstr("is out of range for a 32-bit number"));
  EXPECT_THAT(channelFailure(R"("color": [0, 0, 1e300])"), StartsWith("songs[2].channels[0].color[2]: "));
  EXPECT_FALSE(decodeSetlist(R"({"songs": [{"channels": [{"playback_end_time": 1e400}]}]})").ok());
}

TEST(BadSetlist, ABooleanIsNotANumber) {
  EXPECT_EQ(channelFailure(R"("mute": 1)"), "songs[2].channels[0].mute: expected true or false, found number");
  EXPECT_EQ(channelFailure(R"("min_note": true)"), "songs[2].channels[0].min_note: expected an integer, found boolean");
}

TEST(BadSetlist, UnknownTextsOfEnumerationsFail) {
  EXPECT_THAT(channelFailure(R"("visual_clip_mappings": [{"trigger_mode": "Hold"}])"),
              Eq("songs[2].channels[0].visual_clip_mappings[0].trigger_mode: unknown value 'Hold'"));
}

TEST(BadSetlist, WhatIsNoJsonFailsWithThePlace) {
  for (const char* broken : {"", " ", "{", "}", "{]", "{\"songs\": [,]}", "{'songs': []}", "{\"songs\": []} x", "nul",
                             "{\"a\": 01}", "{\"a\": +1}", "{\"a\": .5}", "{\"a\": NaN}", "{\"a\": \"\t\"}",
                             "{\"a\": \"\\x\"}", "// c\n{}", "{} {}", "{\"a\": 1,}"}) {
    EXPECT_THAT(failureOf(broken), StartsWith("byte ")) << broken;
  }
}

TEST(BadSetlist, ALoneSurrogateInATextThatIsReadFails) {
  EXPECT_EQ(failureOf(R"({"songs": [{"name": "a\ud800b"}]})"),
            "songs[0].name: expected a string, found a text with a lone surrogate");
  EXPECT_THAT(failureOf(R"({"other": "\udc00", "songs": [{"name": "\ude00\ud83d"}]})"), StartsWith("songs[0].name: "));
  EXPECT_THAT(failureOf(R"({"other": "\ud800", "songs": [})"), StartsWith("byte ")) << "what else is wrong is found";
}

TEST(BadSetlist, AZeroByteDoesNotEndTheDocument) {
  using namespace std::string_view_literals;
  EXPECT_FALSE(decodeSetlist("{}\0{{{"sv).ok());
  EXPECT_FALSE(decodeSetlist("\0"sv).ok());
}

TEST(BadSetlist, BytesThatAreNoUtf8Fail) {
  for (const char* broken : {"{\"songs\": [{\"name\": \"\xFF\"}]}", "{\"songs\": [{\"name\": \"\xC0\x80\"}]}",
                             "{\"\xE2\x99\": 1}", "\xFF\xFE{}", "{\"x\": \"\xED\xA0\x80\"}"}) {
    EXPECT_THAT(failureOf(broken), StartsWith("byte "));
  }
}

TEST(BadSetlist, DeepNestingEndsEarly) {
  constexpr std::size_t size = 100'000'000;
  const std::string arrays(size, '[');
  EXPECT_THAT(failureOf(arrays), HasSubstr("nested deeper"));
  EXPECT_FALSE(readSetlist(arrays).ok());
  std::string objects;
  while (objects.size() < 1'000'000) {
    objects += "{\"songs\":";
  }
  EXPECT_THAT(failureOf(objects), HasSubstr("nested deeper"));
  EXPECT_FALSE(decodeSetlist(R"({"unknown": )" + std::string(201, '[') + std::string(201, ']') + "}").ok());
}

TEST(BadSetlist, AnErrorStaysShortHoweverLongTheInput) {
  const std::string endless = "{\"name\": \"" + std::string(5'000'000, 'x');
  EXPECT_LT(failureOf(endless).size(), 400U);
  EXPECT_LT(failureOf("{\"name\": " + std::string(1'000'000, '7') + "x}").size(), 400U);
  const std::string mode = R"("visual_clip_mappings": [{"trigger_mode": ")" + std::string(1'000'000, 'x') + "\"}]";
  EXPECT_LT(channelFailure(mode).size(), 400U);
}

TEST(BadSetlist, NoPartOfABrokenDocumentIsKept) {
  EXPECT_FALSE(readSetlist(R"({"songs": [{"name": "good"}, {"name": 3}]})").ok());
  EXPECT_FALSE(readSetlist(R"([{"name": "good"}, {"name": 3}])").ok());
}

// What the fuzzer started from, and what it once found, stays readable or refused without harm.
TEST(BadSetlist, TheCorpusIsReadOrRefused) {
  std::size_t read = 0;
  std::size_t refused = 0;
  for (const auto& entry : std::filesystem::directory_iterator(VREL_FUZZ_CORPUS "/setlist")) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const auto setlist = readSetlist(bytes);
    if (!setlist) {
      ++refused;
      EXPECT_FALSE(setlist.error().description.empty()) << entry.path();
      continue;
    }
    ++read;
    const auto again = encodeSetlist(setlist.value());
    ASSERT_TRUE(again.ok()) << entry.path();
    SetlistFile wanted = setlist.value();
    wanted.version = setlistVersion;
    EXPECT_EQ(withoutIds(decodeSetlist(again.value()).value()), withoutIds(wanted)) << entry.path();
  }
  EXPECT_GT(read, 2U);
  EXPECT_GT(refused, 2U);
}

}  // namespace
}  // namespace vrel
