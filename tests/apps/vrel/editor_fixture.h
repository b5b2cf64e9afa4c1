// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QString>
#include <QVariant>
#include <QWindow>
#include <cstdlib>
#include <functional>
#include <string>
#include <variant>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {

/// The window of an effect of the zoo that has a control of each kind.
class EditorWindow : public ConsoleFixture {
 protected:
  EditorWindow() { ::setenv("LV2_PATH", VREL_ZOO_PATH, 1); }
  ~EditorWindow() override {
    driver.close();
    ::setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
  }

  void addEffect(const std::string& name) {
    driver.click(isOnMaster_ ? "masterRack" : "rack0");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("effectSearch"); }));
    driver.click("effectSearch");
    driver.type(name);
    ASSERT_TRUE(driver.eventually([&] { return driver.value("effect0", "name").toString().toStdString() == name; }));
    driver.key("Return");
    ASSERT_TRUE(driver.eventually([this] { return driver.value("openEffect0", "enabled").toBool(); }));
  }

  /// With the rack open, which Live mode closes.
  void goLive() {
    driver.click("liveButton");
    ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive() && !driver.isShown("rackPanel"); }));
    if (!isOnMaster_) {
      driver.click("setup0");
      ASSERT_TRUE(driver.eventually([this] { return driver.isShown("rack0"); }));
    }
    driver.click(isOnMaster_ ? "masterRack" : "rack0");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("openEffect0"); }));
  }

  void openPanel() {
    addEffect("Zoo Panel");
    driver.click("openEffect0");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("control0Slider"); }));
    // It is centred and raised three times.
    const QWindow* const window = editor();
    ASSERT_NE(window, nullptr);
    ASSERT_TRUE(driver.eventually([window] { return window->isActive(); }));
    ASSERT_TRUE(driver.eventually([this] { return centerings() == 4; }));
  }

  [[nodiscard]] static QWindow* editor() {
    for (QWindow* const window : QGuiApplication::topLevelWindows()) {
      if (window->objectName() == QLatin1String("pluginEditor") && window->isVisible()) {
        return window;
      }
    }
    return nullptr;
  }

  [[nodiscard]] static int centerings() {
    const QWindow* const window = editor();
    return window == nullptr ? 0 : window->property("centerings").toInt();
  }

  [[nodiscard]] bool closes() {
    return driver.eventually([] { return editor() == nullptr; });
  }

  [[nodiscard]] AudioChannel& owner(Session& session) const {
    return isOnMaster_ ? *session.engine().masterChannel() : *session.engine().channels()[0];
  }

  float effectValue(AUParameterAddress address) {
    return driver.fromLogic<float>([this, address](Session& session) {
      const auto& nodes = owner(session).effectNodes.get();
      return nodes.empty() ? -1.0F : nodes.begin()->second->auAudioUnit().parameterValue(address);
    });
  }

  /// What a save would write of the effect's first control.
  float storedLevel() {
    return driver.fromLogic<float>([](Session& session) {
      auto& states = session.engine().pluginState();
      const auto slots = states.captureEffectSlots(*session.engine().channels()[0]);
      const auto state = states.decodePluginState(slots.at(0).stateBase64).value();
      const auto& ports = std::get<PropertyListDictionary>(state.at("ports").content);
      return static_cast<float>(std::get<double>(ports.at("level").content));
    });
  }

  [[nodiscard]] bool becomes(AUParameterAddress address, const std::function<bool(float)>& is) {
    return driver.eventually([&] { return is(effectValue(address)); });
  }
  [[nodiscard]] bool becomes(AUParameterAddress address, float value) {
    return becomes(address, [value](float now) { return now == value; });
  }

  /// The plug-in's own editor, a window of another process; it has the keyboard.
  void openOwnEditor() {
    driver.click("openEffect0");
    ASSERT_TRUE(
        driver.eventually([] { return holds("xdotool getwindowfocus getwindowname | grep -q 'Zoo Window Editor$'"); }));
  }
  [[nodiscard]] static bool isOwnEditorShown() {
    return holds("xdotool search --onlyvisible --name 'Zoo Window Editor$' >/dev/null");
  }
  [[nodiscard]] static bool holds(const std::string& command) { return std::system(command.c_str()) == 0; }

  bool isOnMaster_ = false;  // which plays blocks also while no strip does
};

}  // namespace vrel::app::test
