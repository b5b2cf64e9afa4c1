// SPDX-License-Identifier: GPL-3.0-or-later
// What the state of the logic looks like in QML.
#include <gtest/gtest.h>

#include <QColor>
#include <QList>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>
#include <string>

#include "console/window/console_model.h"
#include "console/window/view_models.h"

namespace vrel::window {
namespace {

class Look : public testing::Test {
 protected:
  /// Makes an item of the module.
  [[nodiscard]] std::unique_ptr<QObject> make(const std::string& type, const QVariantMap& properties) {
    registerQmlTypes();
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQmlComponent component(&engine);
    component.setData(("import Vrel.Console\n" + type + " {}").c_str(), {});
    std::unique_ptr<QObject> item(component.createWithInitialProperties(properties));
    EXPECT_NE(item, nullptr) << component.errorString().toStdString();
    return item;
  }

  QQmlEngine engine;
};

class LookOfALearnableControl : public Look {
 protected:
  [[nodiscard]] std::unique_ptr<QObject> frame(bool isEnabled, bool isPending) {
    return make("MidiLearnableModifier", {{QStringLiteral("isEnabled"), isEnabled},
                                          {QStringLiteral("isPending"), isPending},
                                          {QStringLiteral("width"), 40},
                                          {QStringLiteral("height"), 40}});
  }
};

TEST_F(LookOfALearnableControl, IsNothingOutsideLearnMode) {
  EXPECT_FALSE(frame(false, false)->property("visible").toBool());
  EXPECT_FALSE(frame(false, true)->property("visible").toBool());
}

TEST_F(LookOfALearnableControl, IsDashedInOrangeWhileItCanBePicked) {
  const auto look = frame(true, false);
  EXPECT_TRUE(look->property("visible").toBool());
  EXPECT_EQ(look->property("stroke").value<QColor>(), QColor::fromRgbF(1.0F, 0.5F, 0.0F));
  EXPECT_EQ(look->property("strokeWidth").toDouble(), 1.5);
  EXPECT_EQ(look->property("dashes").value<QList<qreal>>(), (QList<qreal>{4, 3}));
  EXPECT_EQ(look->property("shadowOpacity").toDouble(), 0.35);
  EXPECT_EQ(look->property("shadowRadius").toDouble(), 3);
  EXPECT_EQ(look->property("cornerRadius").toDouble(), 4);
}

TEST_F(LookOfALearnableControl, IsSolidInCyanWhileItWaits) {
  const auto look = frame(true, true);
  EXPECT_EQ(look->property("stroke").value<QColor>(), QColor::fromRgbF(0.0F, 1.0F, 1.0F));
  EXPECT_EQ(look->property("strokeWidth").toDouble(), 2);
  EXPECT_TRUE(look->property("dashes").value<QList<qreal>>().isEmpty());
  EXPECT_EQ(look->property("shadowOpacity").toDouble(), 0.55);
  EXPECT_EQ(look->property("shadowRadius").toDouble(), 6);
}

class LookOfAStatus : public Look {
 protected:
  void set(StripViewModel::Status status) { StripViewModel::statusKey.set(strip, QVariant::fromValue(status)); }
  [[nodiscard]] QColor ink() {
    const auto cell = make("StripStatus", {{QStringLiteral("entry"), QVariant::fromValue(&strip)}});
    return cell->property("ink").value<QColor>();
  }

  StripViewModel strip;
};

TEST_F(LookOfAStatus, IsGreenWhereAnInstrumentRunsAndGreyWhereThereIsNone) {
  set(StripViewModel::Status::Running);
  const QColor running = ink();
  EXPECT_GT(running.green(), running.red());
  EXPECT_GT(running.green(), running.blue());
  for (const auto status :
       {StripViewModel::Status::NoPlugin, StripViewModel::Status::Loading, StripViewModel::Status::LoadFailed}) {
    set(status);
    EXPECT_EQ(ink(), QColor::fromRgbF(0.6F, 0.6F, 0.6F));
  }
}

TEST_F(LookOfAStatus, IsAnAlarmForACrashAndForNothingElse) {
  const auto sign =
      make("FailureSign", {{QStringLiteral("entry"), QVariant::fromValue(&strip)}, {QStringLiteral("index"), 0}});
  for (const auto status : {StripViewModel::Status::NoPlugin, StripViewModel::Status::Loading,
                            StripViewModel::Status::LoadFailed, StripViewModel::Status::Running}) {
    set(status);
    EXPECT_FALSE(sign->property("visible").toBool());
  }
  set(StripViewModel::Status::Crashed);
  EXPECT_TRUE(sign->property("visible").toBool());
  const auto cell = make("StripStatus", {{QStringLiteral("entry"), QVariant::fromValue(&strip)}});
  const auto field = cell->property("field").value<QColor>();
  EXPECT_GT(field.red(), 2 * field.green());
}

TEST_F(Look, TheHeaderSaysThatTheAudioOutputIsMissingAndWhatItWaitsFor) {
  ConsoleModel model{[](const auto&) {}};
  const auto label = make("AudioOutputLabel", {{QStringLiteral("desk"), QVariant::fromValue(&model)}});
  const auto show = [&](bool isMissing, const QString& awaited) {
    SessionViewModel::isAudioOutputMissingKey.set(*model.session(), isMissing);
    SessionViewModel::awaitedAudioOutputKey.set(*model.session(), awaited);
    return label->property("visible").toBool() ? label->property("spokenWords").toString() : QString();
  };
  EXPECT_EQ(show(false, {}), "");
  EXPECT_EQ(show(true, {}), "No audio output");
  EXPECT_EQ(show(true, QStringLiteral("JACK: system")), "No audio output Waiting for JACK: system");
  EXPECT_EQ(show(false, QStringLiteral("JACK: system")), "Waiting for JACK: system");
}

TEST_F(Look, TheDropoutLampStaysLitUntilItIsPressedAndCountsFromThere) {
  ConsoleModel model{[](const auto&) {}};
  const auto lamp = make("DropoutLamp", {{QStringLiteral("desk"), QVariant::fromValue(&model)}});
  const auto setDropouts = [&model](int count) { SessionViewModel::dropoutsKey.set(*model.session(), count); };
  EXPECT_FALSE(lamp->property("visible").toBool());
  setDropouts(3);
  EXPECT_TRUE(lamp->property("visible").toBool());
  EXPECT_EQ(lamp->property("spokenName").toString(), "Dropouts 3");
  QMetaObject::invokeMethod(lamp.get(), "clicked");
  EXPECT_FALSE(lamp->property("visible").toBool());
  setDropouts(5);
  EXPECT_TRUE(lamp->property("visible").toBool());
  EXPECT_EQ(lamp->property("spokenName").toString(), "Dropouts 2");
}

}  // namespace
}  // namespace vrel::window
