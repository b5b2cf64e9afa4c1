// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/texts_view_model.h"

#include <gtest/gtest.h>

#include <QList>
#include <QMetaProperty>
#include <QString>
#include <string>

#include "document/app_state.h"

namespace vrel::window {
namespace {

TEST(TextsViewModel, EachPropertyIsTheTextOfItsKeyInEachLanguage) {
  TextsViewModel texts;
  for (const Language language : allLanguages) {
    TextsViewModel::languageKey.set(texts, static_cast<int>(language));
    int shown = 0;
    for (std::size_t index = 0; index < textKeyCount; ++index) {
      const auto key = static_cast<TextKey>(index);
      if (const QVariant property = texts.property(std::string(name(key)).c_str()); property.isValid()) {
        EXPECT_EQ(property.toString().toStdString(), text(key, language));
        ++shown;
      }
    }
    EXPECT_EQ(shown,
              TextsViewModel::staticMetaObject.propertyCount() - TextsViewModel::staticMetaObject.propertyOffset() - 2)
        << "all but the language and the list of them";
  }
}

TEST(TextsViewModel, EveryTextIsNotifiedWithTheLanguage) {
  const QMetaObject& texts = TextsViewModel::staticMetaObject;
  for (int index = texts.propertyOffset(); index < texts.propertyCount(); ++index) {
    const QMetaProperty property = texts.property(index);
    if (!property.isConstant()) {
      EXPECT_EQ(property.notifySignal().name(), "languageChanged") << property.name();
    }
  }
}

TEST(TextsViewModel, LanguagesAreOfferedInTheOrderOfTheirNumbers) {
  const QList<QString> codes{QStringLiteral("EN"), QStringLiteral("ES"), QStringLiteral("FR"), QStringLiteral("IT"),
                             QStringLiteral("DE")};
  EXPECT_EQ(TextsViewModel::languageCodes(), codes);
  EXPECT_EQ(static_cast<int>(Language::german), 4);
}

}  // namespace
}  // namespace vrel::window
