// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/shared_text.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "document/setlist.h"

namespace vrel {
namespace {

/// A text that takes its time, and may turn out not to be there.
class LateText final : public SharedText::Source {
 public:
  explicit LateText(std::optional<std::string> text) : text_(std::move(text)) {}
  [[nodiscard]] const std::optional<std::string>& text() const override {
    ++asked;
    return text_;
  }
  mutable int asked = 0;

 private:
  const std::optional<std::string> text_;
};

TEST(SharedTexts, CopiesOfARecordShareThemAndCompareWithoutReadingThem) {
  const auto late = std::make_shared<const LateText>("state");
  ChannelConfig record;
  record.pluginStateBase64 = SharedText(late);
  const ChannelConfig copy = record;
  EXPECT_EQ(copy, record);
  EXPECT_EQ(late->asked, 0);
  EXPECT_EQ(&copy.pluginStateBase64->text(), &record.pluginStateBase64->text());
}

TEST(SharedTexts, ThoseOfSeveralSourcesCompareByWhatTheySay) {
  EXPECT_EQ(SharedText("state"), SharedText(std::make_shared<const LateText>("state")));
  EXPECT_NE(SharedText("state"), SharedText("other"));
  EXPECT_EQ(SharedText("state"), std::string("state"));
}

TEST(SharedTexts, AllThatAreEmptyAreOne) {
  const auto* const source = SharedText().sourceAs<SharedText::Source>();
  EXPECT_EQ(SharedText("").sourceAs<SharedText::Source>(), source);
  EXPECT_EQ(SharedText(std::string()).sourceAs<SharedText::Source>(), source);
  EXPECT_TRUE(SharedText().isThere());
  EXPECT_EQ(SharedText(), "");
}

TEST(SharedTexts, OneThatTurnsOutNotToBeThereReadsAsEmptyAndIsNotAnEmptyText) {
  const SharedText none(std::make_shared<const LateText>(std::nullopt));
  EXPECT_FALSE(none.isThere());
  EXPECT_EQ(none.text(), "");
  EXPECT_NE(none, SharedText());
}

}  // namespace
}  // namespace vrel
