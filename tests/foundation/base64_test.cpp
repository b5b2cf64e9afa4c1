// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/base64.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vrel {
namespace {

std::vector<std::uint8_t> bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

TEST(Base64, FollowsTheStandardsExamples) {
  const std::vector<std::pair<std::string, std::string>> examples = {{"", ""},
                                                                     {"f", "Zg=="},
                                                                     {"fo", "Zm8="},
                                                                     {"foo", "Zm9v"},
                                                                     {"foob", "Zm9vYg=="},
                                                                     {"fooba", "Zm9vYmE="},
                                                                     {"foobar", "Zm9vYmFy"}};
  for (const auto& [plain, text] : examples) {
    EXPECT_EQ(base64Encode(bytesOf(plain)), text);
    EXPECT_EQ(base64Decode(text), bytesOf(plain));
  }
}

TEST(Base64, EveryLengthAndEveryByteComesBack) {
  std::vector<std::uint8_t> bytes;
  for (int length = 0; length < 600; ++length) {
    const std::string text = base64Encode(bytes);
    EXPECT_EQ(text.size(), (bytes.size() + 2) / 3 * 4);
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(base64Decode(text), bytes);
    bytes.push_back(static_cast<std::uint8_t>(length * 37));
  }
}

TEST(Base64, UsesTheWholeAlphabet) {
  EXPECT_EQ(base64Encode(std::vector<std::uint8_t>{0xFB, 0xEF, 0xFF}), "++//");
}

TEST(Base64, RefusesWhatIsNotStrict) {
  for (const char* text : {"Z", "Zg", "Zg=", "Zg===", "====", "=Zg=", "Z===", "Zg==Zg==", "Zm9v\n", "Zm9v Zm8=", "Zm-_",
                           "Zh==", "Zm9=", "Zm8=\n", "\xFFm9v", "Z=9v"}) {
    EXPECT_FALSE(base64Decode(text).has_value()) << text;
  }
}

}  // namespace
}  // namespace vrel
