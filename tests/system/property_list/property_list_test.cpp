// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include "foundation/utf8.h"
#include "system/property_list/binary_form_guard.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel::system {
namespace {

PropertyListDictionary sample() {
  PropertyListDictionary inner;
  inner["yes"] = {true};
  inner["no"] = {false};
  PropertyListData bytes(300);
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    bytes[index] = static_cast<std::uint8_t>(index);
  }
  PropertyListDictionary dictionary;
  dictionary["text"] = {std::string("caf\xC3\xA9 \xF0\x9F\x8E\xB9")};
  dictionary["empty text"] = {std::string()};
  dictionary["small"] = {std::int64_t{7}};
  dictionary["negative"] = {std::int64_t{-7}};
  dictionary["lowest"] = {std::numeric_limits<std::int64_t>::min()};
  dictionary["highest"] = {std::numeric_limits<std::int64_t>::max()};
  dictionary["real"] = {0.1};
  dictionary["whole real"] = {2.0};
  dictionary["bytes"] = {bytes};
  dictionary["no bytes"] = {PropertyListData{}};
  dictionary["array"] = {PropertyListArray{{std::int64_t{1}}, {std::string("two")}, {3.0}, {PropertyListArray{}}}};
  dictionary["dictionary"] = {inner};
  return dictionary;
}

PropertyListData encoded(const PropertyListDictionary& dictionary) {
  LibplistSerialization serialization;
  Result<PropertyListData> data = serialization.dataFromPropertyList(dictionary);
  EXPECT_TRUE(data.ok()) << (data.ok() ? "" : data.error().description);
  return data.ok() ? std::move(data).value() : PropertyListData{};
}

/// Builds binary property lists byte by byte, including such as no encoder writes.
class HandMade {
 public:
  std::uint8_t object(std::initializer_list<std::uint8_t> bytes) {
    offsets_.push_back(static_cast<std::uint8_t>(data_.size()));
    data_.insert(data_.end(), bytes);
    return static_cast<std::uint8_t>(offsets_.size() - 1);
  }
  PropertyListData finish(std::uint8_t top) {
    PropertyListData whole = data_;
    whole.insert(whole.end(), offsets_.begin(), offsets_.end());
    whole.insert(whole.end(), {0, 0, 0, 0, 0, 0, 1, 1});
    for (const std::size_t number : {offsets_.size(), std::size_t{top}, data_.size()}) {
      whole.insert(whole.end(), 7, 0);
      whole.push_back(static_cast<std::uint8_t>(number));
    }
    return whole;
  }

 private:
  PropertyListData data_{'b', 'p', 'l', 'i', 's', 't', '0', '0'};
  std::vector<std::uint8_t> offsets_;
};

std::string failureOf(const PropertyListData& data) {
  LibplistSerialization serialization;
  const Result<PropertyListValue> value = serialization.propertyListFromData(data);
  return value.ok() ? "" : value.error().description;
}

TEST(PropertyList, EveryKindOfValueComesBackAsItWas) {
  LibplistSerialization serialization;
  const PropertyListData data = encoded(sample());
  EXPECT_EQ(std::string(data.begin(), data.begin() + 8), "bplist00");
  const Result<PropertyListValue> value = serialization.propertyListFromData(data);
  ASSERT_TRUE(value.ok()) << value.error().description;
  EXPECT_EQ(value.value(), PropertyListValue{sample()});
}

PropertyListData bytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

std::string xmlFailure(const std::string& content) {
  return failureOf(bytesOf("<plist version=\"1.0\">" + content + "</plist>"));
}

TEST(PropertyList, AnXmlPropertyListIsRead) {
  LibplistSerialization serialization;
  const auto value = serialization.propertyListFromData(bytesOf(R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Example//DTD PLIST 1.0//EN" "http://localhost/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
  <!-- a comment -->
  <key>data</key><data>AAEC
    AwQ=</data>
  <key>number</key><integer>-9223372036854775808</integer>
  <key>real</key><real>0.5</real>
  <key>text &amp; more</key><string>caf&#233; <![CDATA[<raw>]]></string>
  <key>values</key><array><true/><false/><dict/><string/></array>
</dict>
</plist>
)"));
  ASSERT_TRUE(value.ok()) << value.error().description;
  PropertyListDictionary expected;
  expected["data"] = {PropertyListData{0, 1, 2, 3, 4}};
  expected["number"] = {std::numeric_limits<std::int64_t>::min()};
  expected["real"] = {0.5};
  expected["text & more"] = {std::string("caf\xC3\xA9 <raw>")};
  expected["values"] = {PropertyListArray{{true}, {false}, {PropertyListDictionary{}}, {std::string()}}};
  EXPECT_EQ(value.value(), PropertyListValue{expected});
}

TEST(PropertyList, XmlThatIsNotAPropertyListFails) {
  EXPECT_NE(failureOf(bytesOf("<html></html>")), "");
  EXPECT_NE(failureOf(bytesOf("<plist><dict><key>a</key>")), "");
  EXPECT_NE(failureOf(bytesOf("<plist><true/></plist><plist><true/></plist>")), "");
  EXPECT_NE(failureOf(bytesOf("<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><string>&a;</string></plist>")), "");
  for (const char* content :
       {"", "<dict><key>a</key></dict>", "<dict><true/></dict>", "<true/><true/>", "<date>2001-01-01T00:00:00Z</date>",
        "<integer>9223372036854775808</integer>", "<integer>0x10</integer>", "<integer/>", "<string>&no;</string>",
        "<data>%</data>", "<array><string></array></string>", "<string>&#xD800;</string>",
        "<string><true/></string>"}) {
    EXPECT_NE(xmlFailure(content), "") << content;
  }
}

TEST(PropertyList, XmlThatIsNestedTooDeeplyFails) {
  std::string opened;
  std::string closed;
  for (int depth = 0; depth < 100'000; ++depth) {
    opened += "<array>";
    closed += "</array>";
  }
  EXPECT_EQ(xmlFailure(opened + closed), "property list is nested too deeply");
}

TEST(PropertyList, AnArrayAtTheTopIsReadAsAnArray) {
  HandMade list;
  const auto number = list.object({0x10, 5});
  const PropertyListData data = list.finish(list.object({0xA1, number}));
  LibplistSerialization serialization;
  const Result<PropertyListValue> value = serialization.propertyListFromData(data);
  ASSERT_TRUE(value.ok()) << value.error().description;
  EXPECT_EQ(value.value(), (PropertyListValue{PropertyListArray{{std::int64_t{5}}}}));
}

TEST(PropertyList, BytesThatAreNotAPropertyListFail) {
  EXPECT_NE(failureOf({}), "");
  EXPECT_NE(failureOf({'b', 'p', 'l', 'i', 's', 't', '0', '0'}), "");
  EXPECT_NE(failureOf(PropertyListData(4096, 0xFF)), "");
}

TEST(PropertyList, EveryTruncationFails) {
  const PropertyListData whole = encoded(sample());
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const PropertyListData cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_NE(failureOf(cut), "") << "cut to " << length;
  }
}

TEST(PropertyList, ChangedBytesNeverDoMoreThanFail) {
  const PropertyListData whole = encoded(sample());
  std::mt19937 random(20);
  int failures = 0;
  for (int round = 0; round < 20000; ++round) {
    PropertyListData damaged = whole;
    for (int change = 0; change < 1 + round % 3; ++change) {
      damaged[random() % damaged.size()] = static_cast<std::uint8_t>(random());
    }
    failures += failureOf(damaged).empty() ? 0 : 1;
  }
  EXPECT_GT(failures, 1000);
}

TEST(PropertyList, AContainerThatHoldsItselfFails) {
  HandMade array;
  EXPECT_EQ(failureOf(array.finish(array.object({0xA1, 0}))), "property list is nested too deeply");
  HandMade dictionary;
  dictionary.object({0x51, 'k'});
  EXPECT_EQ(failureOf(dictionary.finish(dictionary.object({0xD1, 0, 1}))), "property list is nested too deeply");
}

TEST(PropertyList, SharedContainersThatWouldGrowWithoutBoundFail) {
  HandMade list;
  std::uint8_t inner = list.object({0x10, 1});
  for (int level = 0; level < 30; ++level) {
    inner = list.object({0xA2, inner, inner});
  }
  EXPECT_EQ(failureOf(list.finish(inner)), "property list has too many values");
}

TEST(PropertyList, ANumberPastSixtyFourSignedBitsFails) {
  HandMade list;
  const auto top = list.object({0x14, 0, 0, 0, 0, 0, 0, 0, 0, 0x80, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(failureOf(list.finish(top)), "property list has a number that is damaged or too large");
}

TEST(PropertyList, ADateIsRefusedAndNotDropped) {
  HandMade list;
  EXPECT_EQ(failureOf(list.finish(list.object({0x33, 0, 0, 0, 0, 0, 0, 0, 0}))),
            "property list has a value of an unknown type");
}

TEST(PropertyList, AKeyThatIsNotAStringFails) {
  HandMade list;
  const auto number = list.object({0x10, 1});
  EXPECT_EQ(failureOf(list.finish(list.object({0xD1, number, number}))),
            "property list has a key that is not a string");
}

TEST(PropertyList, ALengthPastTheEndFails) {
  HandMade list;
  EXPECT_EQ(failureOf(list.finish(list.object({0x4F, 0x13, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 1}))),
            "property list is damaged");
}

TEST(PropertyList, TextThatTheFormatCannotHoldIsNotWritten) {
  LibplistSerialization serialization;
  EXPECT_FALSE(serialization.dataFromPropertyList({{"a", {std::string("x\0y", 3)}}}).ok());
  EXPECT_FALSE(serialization.dataFromPropertyList({{"a", {std::string("\xC3")}}}).ok());
  EXPECT_FALSE(serialization.dataFromPropertyList({{"\xFF", {true}}}).ok());
}

TEST(PropertyList, NestingPastTheLimitIsNotWritten) {
  PropertyListValue value{true};
  for (int level = 0; level < 1000; ++level) {
    value = PropertyListValue{PropertyListArray{value}};
  }
  LibplistSerialization serialization;
  const Result<PropertyListData> data = serialization.dataFromPropertyList({{"deep", value}});
  ASSERT_FALSE(data.ok());
  EXPECT_EQ(data.error().description, "property list is nested too deeply");
}

TEST(PropertyList, ValidUtf8IsDistinguishedFromInvalid) {
  EXPECT_TRUE(isValidUtf8("plain"));
  EXPECT_TRUE(isValidUtf8("\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF"));
  for (const char* bad : {"\x80", "\xC0\x80", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
                          "\xF5\x80\x80\x80", "\xE2\x82"}) {
    EXPECT_FALSE(isValidUtf8(bad));
  }
}

}  // namespace
}  // namespace vrel::system
