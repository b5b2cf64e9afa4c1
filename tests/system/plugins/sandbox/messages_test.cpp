// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/messages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "system/plugins/sandbox/property_list_bytes.h"

namespace vrel::sandbox {
namespace {

const PropertyListDictionary everything{
    {"flag", {true}},
    {"number", {std::int64_t{-7}}},
    {"real", {0.1}},
    {"text", {std::string("a\0b", 3)}},
    {"data", {PropertyListData{0, 255, 7}}},
    {"array", {PropertyListArray{{false}, {PropertyListArray{}}, {PropertyListDictionary{{"", {1.0}}}}}}},
};

TEST(SandboxMessages, APropertyListComesBackAsItWas) {
  EXPECT_EQ(dictionaryFromBytes(toBytes(everything)), everything);
  EXPECT_EQ(dictionaryFromBytes(toBytes(PropertyListDictionary{})), PropertyListDictionary{});
}

TEST(SandboxMessages, TheSizeOfAPropertyListIsKnownBeforeItIsWritten) {
  EXPECT_EQ(byteCount(everything), toBytes(everything).size());
  EXPECT_EQ(byteCount({}), toBytes(PropertyListDictionary{}).size());
}

TEST(SandboxMessages, APropertyListCutAnywhereIsNone) {
  const Bytes bytes = toBytes(everything);
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_EQ(dictionaryFromBytes(std::span(bytes).first(size)), std::nullopt) << size;
  }
}

TEST(SandboxMessages, APropertyListThatGoesOnOrNestsTooDeepIsNone) {
  Bytes longer = toBytes(everything);
  longer.push_back(0);
  EXPECT_EQ(dictionaryFromBytes(longer), std::nullopt);
  PropertyListValue deep{true};
  for (int depth = 0; depth < 1000; ++depth) {
    deep = {PropertyListArray{deep}};
  }
  EXPECT_EQ(dictionaryFromBytes(toBytes(PropertyListDictionary{{"deep", deep}})), std::nullopt);
}

TEST(SandboxMessages, BytesByChanceAreReadWithoutHarm) {
  std::mt19937 chance(1);
  for (int round = 0; round < 20000; ++round) {
    Bytes bytes = toBytes(everything);
    for (int hit = 0; hit < 3; ++hit) {
      bytes[chance() % bytes.size()] = static_cast<std::uint8_t>(chance());
    }
    (void)dictionaryFromBytes(bytes);
    (void)instantiateRequestFromBytes(bytes);
  }
}

TEST(SandboxMessages, ARequestComesBackAsItWas) {
  const InstantiateRequest request{"/a bundle/", "urn:x", 1, 2, 3, 44100, 64, true, false};
  EXPECT_EQ(instantiateRequestFromBytes(toBytes(request)), request);
}

TEST(SandboxMessages, ValuesOfParametersComeBackAsTheyWereAndCutAnywhereAreNone) {
  const std::vector<MessageValue> values{{1, 2.5}, {0xC0000001U, std::string("/a.wav")}};
  const Bytes bytes = toBytes(values);
  EXPECT_EQ(messageValuesFromBytes(bytes), values);
  const std::size_t first = 4 + 1 + 8;
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    const auto cut = messageValuesFromBytes(std::span(bytes).first(size));
    EXPECT_EQ(cut.has_value(), size == 0 || size == first) << size;
  }
}

TEST(SandboxMessages, AStreamIsCutIntoMessagesWhateverThePiecesItComesIn) {
  Bytes stream;
  for (const Message& message : {Message{MessageKind::log, 0, {'h', 'i'}}, Message{MessageKind::done, 7},
                                 Message{MessageKind::state, 8, Bytes(9000, 1)}}) {
    const Bytes bytes = toBytes(message);
    stream.insert(stream.end(), bytes.begin(), bytes.end());
  }
  for (const std::size_t piece : {1U, 5U, 4096U, 100000U}) {
    MessageParser parser;
    std::vector<Message> messages;
    for (std::size_t begin = 0; begin < stream.size(); begin += piece) {
      parser.add(std::span(stream).subspan(begin, std::min(piece, stream.size() - begin)));
      while (auto message = parser.next()) {
        messages.push_back(*std::move(message));
      }
    }
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].body, (Bytes{'h', 'i'}));
    EXPECT_EQ(messages[1].request, 7U);
    EXPECT_EQ(messages[2].body.size(), 9000U);
    EXPECT_FALSE(parser.isDamaged());
  }
}

TEST(SandboxMessages, AnInvalidHeadIsDamage) {
  for (const MessageHead head : {MessageHead{static_cast<MessageKind>(77), 0, 0}, MessageHead{MessageKind::done, 0, 1},
                                 MessageHead{MessageKind::log, 0, 0xFFFFFFFF}}) {
    MessageParser parser;
    Bytes bytes(sizeof head);
    std::memcpy(bytes.data(), &head, sizeof head);
    parser.add(bytes);
    EXPECT_EQ(parser.next(), std::nullopt);
    EXPECT_TRUE(parser.isDamaged());
    parser.add(toBytes(Message{MessageKind::done, 1}));
    EXPECT_EQ(parser.next(), std::nullopt) << "nothing is heard from there any more";
  }
}

}  // namespace
}  // namespace vrel::sandbox
