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
#include "console/window/performance_board.h"
#include "console/window/view_models.h"

namespace vrel::window {
namespace {

class Look : public testing::Test {
 protected:
  /// Makes an item of the module.
  [[nodiscard]] std::unique_ptr<QObject> make(const std::string& type, const QVariantMap& properties,
                                              const std::string& body = {}) {
    registerQmlTypes();
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQmlComponent component(&engine);
    component.setData(("import Vrel.Console\n" + type + " {" + body + "}").c_str(), {});
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

  [[nodiscard]] std::unique_ptr<QObject> failureSign() {
    return make("FailureSign", {{QStringLiteral("desk"), QVariant::fromValue(&model)},
                                {QStringLiteral("entry"), QVariant::fromValue(&strip)},
                                {QStringLiteral("index"), 0}});
  }

  ConsoleModel model{[](const auto&) {}};
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
  const auto sign = failureSign();
  const auto redness = [&sign] {
    const auto fill = sign->property("fill").value<QColor>();
    return fill.red() - fill.green();
  };
  for (const auto status :
       {StripViewModel::Status::NoPlugin, StripViewModel::Status::Loading, StripViewModel::Status::Running}) {
    set(status);
    EXPECT_FALSE(sign->property("visible").toBool());
  }
  set(StripViewModel::Status::LoadFailed);
  const int ofFailure = redness();
  set(StripViewModel::Status::Crashed);
  EXPECT_TRUE(sign->property("visible").toBool());
  EXPECT_GT(redness(), ofFailure);
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

TEST_F(LookOfAStatus, TheHeaderNamesAStripWhoseEffectHasFailed) {
  const auto sign = failureSign();
  StripViewModel::nameKey.set(strip, QStringLiteral("Lead"));
  EXPECT_FALSE(sign->property("visible").toBool());
  StripViewModel::hasFailedEffectKey.set(strip, true);
  EXPECT_TRUE(sign->property("visible").toBool());
  EXPECT_TRUE(sign->property("text").toString().endsWith(QStringLiteral("Lead\nFX")));
}

TEST_F(LookOfAStatus, TheHeaderNamesAStripThatCouldNotLoadAndWhatItWanted) {
  const auto sign = failureSign();
  StripViewModel::nameKey.set(strip, QStringLiteral("Lead"));
  StripViewModel::instrumentTextKey.set(strip, QStringLiteral("Grand Organ"));
  for (const auto status : {StripViewModel::Status::LoadFailed, StripViewModel::Status::Crashed}) {
    set(status);
    EXPECT_TRUE(sign->property("visible").toBool());
    EXPECT_TRUE(sign->property("text").toString().endsWith(QStringLiteral("Lead\nGrand Organ")));
  }
}

TEST_F(LookOfAStatus, TheInstrumentsButtonHasATintForEachState) {
  const auto button = make("InstrumentButton", {{QStringLiteral("desk"), QVariant::fromValue(&model)},
                                                {QStringLiteral("entry"), QVariant::fromValue(&strip)}});
  const auto tint = [&](StripViewModel::Instrument state) {
    StripViewModel::instrumentKey.set(strip, QVariant::fromValue(state));
    return button->property("fill").value<QColor>();
  };
  const QColor empty = tint(StripViewModel::Instrument::Empty);
  const QColor present = tint(StripViewModel::Instrument::Present);
  const QColor failed = tint(StripViewModel::Instrument::Failed);
  EXPECT_LT(empty.hsvSaturation(), 80) << "grey";
  EXPECT_GT(present.green(), 2 * present.red());
  EXPECT_GT(failed.red(), 2 * failed.green());
  EXPECT_GT(failed.red(), 2 * failed.blue());
}

TEST_F(LookOfAStatus, TheRackButtonSaysThatAnEffectHasFailed) {
  const auto button = make("RackButton", {{QStringLiteral("desk"), QVariant::fromValue(&model)},
                                          {QStringLiteral("channelId"), QString()},
                                          {QStringLiteral("effectCount"), 2},
                                          {QStringLiteral("title"), QStringLiteral("FX")},
                                          {QStringLiteral("hasFailure"), false}});
  EXPECT_EQ(button->property("text").toString(), "FX  2");
  const auto quiet = button->property("fill").value<QColor>();
  button->setProperty("hasFailure", true);
  EXPECT_EQ(button->property("text").toString(), "FX  2  !");
  EXPECT_NE(button->property("fill").value<QColor>(), quiet);
  EXPECT_EQ(button->property("hint").toString(), "An effect has failed; press to load it again");
}

TEST_F(Look, TheLampBesideTheMidiSourceIsLitForSomeFramesAfterEachMessage) {
  ConsoleModel model{[](const auto&) {}};
  const auto label = make("MidiPortLabel", {{QStringLiteral("desk"), QVariant::fromValue(&model)}});
  PerformanceBoard& board = *model.performance();
  int changes = 0;
  QObject::connect(&board, &PerformanceBoard::midiChanged, [&changes] { ++changes; });
  const auto isLit = [&label] { return label->property("isLit").toBool(); };
  board.pull();
  EXPECT_FALSE(isLit());
  for (int message = 0; message < 1000; ++message) {
    board.played()->messages.fetch_add(1);
  }
  EXPECT_FALSE(isLit()) << "not before the next frame";
  board.pull();
  EXPECT_TRUE(isLit());
  for (int frame = 1; frame < PerformanceBoard::framesOfAMessage; ++frame) {
    board.pull();
    EXPECT_TRUE(isLit()) << frame;
  }
  board.pull();
  EXPECT_FALSE(isLit());
  EXPECT_EQ(changes, 2) << "one for each change, however many messages there are";
}

TEST_F(Look, ANudgeControlShowsItsTitleAndValueAndOnlyReportsItsButtons) {
  const auto control = make("NudgeControl",
                            {{QStringLiteral("objectName"), QStringLiteral("nudge")},
                             {QStringLiteral("title"), QStringLiteral("Octave")},
                             {QStringLiteral("spokenName"), QStringLiteral("Octave")},
                             {QStringLiteral("valueText"), QStringLiteral("3")}},
                            "property int steps\nonDecremented: steps -= 1\nonIncremented: steps += 10");
  const auto part = [&](const char* name) {
    auto* const found = control->findChild<QObject*>(QLatin1String(name));
    EXPECT_NE(found, nullptr) << name;
    return found;
  };
  EXPECT_EQ(part("nudgeValue")->property("text").toString(), "3");
  QMetaObject::invokeMethod(part("nudgeDown"), "clicked");
  QMetaObject::invokeMethod(part("nudgeUp"), "clicked");
  EXPECT_EQ(control->property("steps").toInt(), 9);
  EXPECT_EQ(part("nudgeValue")->property("text").toString(), "3") << "the step belongs to the owner";
  control->setProperty("canDecrement", false);
  EXPECT_FALSE(part("nudgeDown")->property("enabled").toBool());
  EXPECT_TRUE(part("nudgeUp")->property("enabled").toBool());
}

TEST_F(Look, EverySymbolIsAPictureAndNoOtherIs) {
  for (const auto* const symbol : {"copy", "duplicate", "paste", "cut", "trash", "wave", "pictures", "plug"}) {
    const auto icon = make(
        "MenuIcon", {{QStringLiteral("symbol"), QLatin1String(symbol)}, {QStringLiteral("color"), QColor(Qt::white)}});
    EXPECT_FALSE(icon->property("sheets").toList().isEmpty() && icon->property("strokes").toList().isEmpty()) << symbol;
  }
  const auto none =
      make("MenuIcon", {{QStringLiteral("symbol"), QString()}, {QStringLiteral("color"), QColor(Qt::white)}});
  EXPECT_TRUE(none->property("sheets").toList().isEmpty());
  EXPECT_TRUE(none->property("strokes").toList().isEmpty());
}

TEST_F(Look, TheCountersOfALoadAreGrey180) {
  ConsoleModel model{[](const auto&) {}};
  const auto modal = make("LoadingModal", {{QStringLiteral("desk"), QVariant::fromValue(&model)}});
  const auto* const counters = modal->findChild<QObject*>(QStringLiteral("loadingCounters"));
  ASSERT_NE(counters, nullptr);
  EXPECT_EQ(counters->property("color").value<QColor>(), QColor(180, 180, 180));
}

}  // namespace
}  // namespace vrel::window
