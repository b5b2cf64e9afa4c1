// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "document/json_nodes.h"
#include "document/sample_setlist.h"
#include "document/setlist_coding.h"

namespace vrel {
namespace {

using nlohmann::json;

/// A number by its bits, so that no two that print alike are taken for equal.
json withBits(const json& value) {
  return value.is_number_float() ? json{{"floating", std::bit_cast<std::uint64_t>(value.get<double>())}} : value;
}

json treeOf(const JsonNode& node) {
  switch (node.kind) {
    case JsonNode::Kind::null:
      return nullptr;
    case JsonNode::Kind::boolean:
      return node.boolean();
    case JsonNode::Kind::integer:
      return node.integer();
    case JsonNode::Kind::unsignedInteger:
      return node.bits;
    case JsonNode::Kind::floating:
      return json{{"floating", node.bits}};
    case JsonNode::Kind::string:
      return std::string(node.text);
    case JsonNode::Kind::array: {
      json array = json::array();
      for (const auto* each = node.begin(); each != node.end(); each = each->next()) {
        array.push_back(treeOf(*each));
      }
      return array;
    }
    case JsonNode::Kind::object: {
      json object = json::object();
      for (const auto* key = node.begin(); key != node.end(); key = key->next()->next()) {
        object[std::string(key->text)] = treeOf(*node.find(key->text));
      }
      return object;
    }
  }
  return {};
}

json bitwise(const json& tree) {
  if (!tree.is_structured()) {
    return withBits(tree);
  }
  json copy = tree.is_array() ? json::array() : json::object();
  for (const auto& [key, value] : tree.items()) {
    if (tree.is_array()) {
      copy.push_back(bitwise(value));
    } else {
      copy[key] = bitwise(value);
    }
  }
  return copy;
}

/// Whether the quick reader takes the text; if so, the library must read the same.
bool takesAsTheLibrary(const std::string& text) {
  JsonNodes nodes;
  if (!nodes.parse(text)) {
    return false;
  }
  const json tree = json::parse(text, nullptr, false);
  EXPECT_FALSE(tree.is_discarded()) << text;
  EXPECT_EQ(treeOf(nodes.root()), bitwise(tree)) << text;
  return true;
}

TEST(QuickReading, WhatASetlistHoldsIsTaken) {
  for (const char* text : {"{}",
                           "[]",
                           " [ ] ",
                           "null",
                           "true",
                           "false",
                           "0",
                           "-0",
                           "-0.0",
                           "1",
                           "18446744073709551615",
                           "-9223372036854775808",
                           "18446744073709551616",
                           "-9223372036854775809",
                           "123456789012345678901234567890",
                           "1.5",
                           "-1e-3",
                           "1E+2",
                           "0.1",
                           "0.30000000000000004",
                           "2.2250738585072014e-308",
                           "1.7976931348623157e308",
                           "3.4028235e38",
                           "\"\"",
                           "\"text\"",
                           R"("\"\\\/\b\f\n\r\t")",
                           R"("\u0041\u00e9\u20AC\u0000")",
                           R"("\ud83c\udfb9")",
                           "\"\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB9\"",
                           R"({"a":1,"b":[{"c":null}],"a":2})",
                           R"({"a":{"x":1},"a":{"y":[2,3]},"":""})",
                           "[1,\n\t2 ,\r3]",
                           "\"sixteen bytes and\x7F more\""}) {
    EXPECT_TRUE(takesAsTheLibrary(text)) << text;
  }
}

TEST(QuickReading, WhatTheLibraryRefusesIsNotTaken) {
  std::vector<std::string> texts{"",
                                 " ",
                                 "[",
                                 "{",
                                 "]",
                                 "[1",
                                 "[1,]",
                                 "[,1]",
                                 "{\"a\"}",
                                 "{\"a\":}",
                                 "{\"a\":1,}",
                                 "{1:2}",
                                 "{\"a\" 1}",
                                 "01",
                                 "-",
                                 "+1",
                                 "1.",
                                 ".5",
                                 "1e",
                                 "1e+",
                                 "-a",
                                 "0x1",
                                 "1e400",
                                 "inf",
                                 "nan",
                                 "tru",
                                 "nul",
                                 "\"",
                                 "\"a",
                                 "\"\\\"",
                                 "\"\\q\"",
                                 "\"\\u12\"",
                                 "\"\\u12g4\"",
                                 "\"\\ud800\"",
                                 "\"\\udc00\"",
                                 "\"\\ud800\\u0041\"",
                                 "\"\n\"",
                                 "\"\x1F\"",
                                 "\"\xFF\"",
                                 "\"\xC3\"",
                                 "\"\xED\xA0\x80\"",
                                 "\"\xC0\x80\"",
                                 "[] []",
                                 "1 2",
                                 "// no\n1",
                                 "[1]x",
                                 "\xC2\xA0"};
  texts.emplace_back("\"a\0b\"", 5);
  texts.emplace_back("[1]\0", 4);
  for (const auto& text : texts) {
    EXPECT_FALSE(takesAsTheLibrary(text)) << text;
  }
}

TEST(QuickReading, NestingIsTakenAsDeepAsItIsRead) {
  const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  EXPECT_TRUE(takesAsTheLibrary(nested(200)));
  EXPECT_FALSE(takesAsTheLibrary(nested(201)));
  EXPECT_FALSE(takesAsTheLibrary(std::string(1'000'000, '[')));
}

TEST(QuickReading, ATextThatIsPlainUpToAnyByteIsReadWhole) {
  for (std::size_t length = 0; length < 40; ++length) {
    const std::string plain(length, 'A');
    EXPECT_TRUE(takesAsTheLibrary("\"" + plain + "\""));
    EXPECT_TRUE(takesAsTheLibrary("\"" + plain + R"(\n)" + plain + "\""));
    EXPECT_TRUE(takesAsTheLibrary("\"" + plain + "\xC3\xA9" + plain + "\""));
    EXPECT_FALSE(takesAsTheLibrary("\"" + plain + "\x1F" + plain + "\""));
    EXPECT_FALSE(takesAsTheLibrary("\"" + plain + "\xA9" + plain + "\""));
  }
}

TEST(QuickReading, ASetlistThatIsChangedAnywhereIsReadAsByTheLibraryAlone) {
  const std::string sample = encodeSetlist(sampleSetlist()).value();
  std::mt19937 random(1);
  const std::string bytes = "{}[]\",:\\/u0123456789.eE+-truefalsn \n\xC3\xA9\x01";
  int read = 0;
  for (int turn = 0; turn < 800; ++turn) {
    std::string text = sample;
    for (auto changes = 1 + random() % 2; changes > 0; --changes) {
      const std::size_t at = random() % text.size();
      if (random() % 3 == 0) {
        text.erase(at, 1 + random() % 3);
      } else {
        text[at] = bytes[random() % bytes.size()];
      }
    }
    const auto quick = readSetlist(text);
    const auto slow = readSetlistByLibrary(text);
    ASSERT_EQ(quick.ok(), slow.ok()) << text;
    if (quick) {
      ++read;
      ASSERT_EQ(encodeSetlist(quick.value()).value(), encodeSetlist(slow.value()).value()) << text;
    } else {
      ASSERT_EQ(quick.error().description, slow.error().description) << text;
    }
  }
  EXPECT_GT(read, 80) << "most changes of a text leave a setlist";
  EXPECT_LT(read, 720);
}

TEST(QuickWriting, TheTextIsTheOneThatTheLibraryWrites) {
  auto setlist = sampleSetlist();
  setlist.songs.emplace_back();
  setlist.songs.back().name = "\"\\/\b\f\n\r\t\x01\x1F\x7F \xC3\xA9 \xF0\x9F\x8E\xB9";
  auto& channel = setlist.songs.back().channels.emplace_back();
  channel.name = std::string("a\0b", 3);
  channel.volume = -0.0F;
  channel.gain = 1e-7F;
  channel.reverb = 3.4028235e38F;
  channel.playbackStartTime = 1e22;
  channel.playbackEndTime = 0.1 + 0.2;
  channel.transpose = -128;
  channel.color = {};
  for (const auto& each : {SetlistFile{}, setlist}) {
    const std::string text = encodeSetlist(each).value();
    EXPECT_EQ(nlohmann::ordered_json::parse(text).dump(2), text);
  }
}

}  // namespace
}  // namespace vrel
