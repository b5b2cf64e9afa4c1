// SPDX-License-Identifier: GPL-3.0-or-later
// The window of a plug-in with 1,005 controls, rendered in software: from the command of the press that opens it to the
// end of the first frame with its controls, from each key of a search to the frame with what it found, and the frames
// of a scroll from end to end. The reference in the same run is a press on a mute button to the frame with its lamp.

#include <QQuickItem>
#include <QQuickWindow>
#include <cstdio>
#include <string>
#include <vector>

#include "console/measured_program.h"
#include "console/measured_window.h"

namespace vrel::app::bench {
namespace {

constexpr int controls = 1005;
constexpr int frames = 60;  // of a scroll

class EditorWindow {
 public:
  explicit EditorWindow(MeasuredWindow& window) : window_(window) {
    window_.program().logic.postToSession([](Session& session) {
      auto& rack = session.content().effectRack();
      rack.toggle(*session.engine().channels()[0]);
      rack.searchText.set("Zoo Many");
      rack.pick(pluginKey(rack.groups().at(0).plugins.at(0)));
    });
    const auto& rack = *window_.model().rack();
    window_.waitUntil([&rack] { return rack.effects().size() == 1 && !rack.effects()[0].isMissing; });
    window_.waitUntil([this] { return !window_.model().session()->isLoading(); });
    window_.pump(1000);
  }

  double open() {
    const double shown = window_.measure([this] { toggle(); }, [this] { return count() == controls; });
    window_.pump(1000);  // it is fitted three times
    return shown;
  }
  void close() {
    toggle();
    window_.waitUntil([] { return find() == nullptr; });
    window_.pump(100);
  }

  double search(const QString& text) {
    auto* const entry = model();
    const auto& id = entry->editorId();
    return window_.measure([&] { window_.model().plugins()->setSearch(id, text); },
                           [&] { return entry->searchText() == text && count() == entry->entries().size(); });
  }

  /// One frame of a scroll from the first control to the last.
  double scrollTo(int frame) {
    QQuickItem& shown = *list();
    const double travel = shown.property("contentHeight").toDouble() - shown.height();
    const double place = travel * frame / frames;
    bool isMoved = false;
    return window_.measure(
        [&] {
          shown.setProperty("contentY", place);
          isMoved = true;
        },
        [&] { return isMoved; });
  }

 private:
  [[nodiscard]] static QQuickWindow* find() {
    for (QWindow* const window : QGuiApplication::topLevelWindows()) {
      if (window->objectName() == QLatin1String("pluginEditor")) {
        return qobject_cast<QQuickWindow*>(window);
      }
    }
    return nullptr;
  }
  [[nodiscard]] static QQuickItem* list() { return find()->findChild<QQuickItem*>(QStringLiteral("controlList")); }

  /// How many controls the window shows; 0 while it is not open.
  [[nodiscard]] int count() {
    QQuickWindow* const found = find();
    return found == nullptr ? 0 : list()->property("count").toInt();
  }

  [[nodiscard]] window::EditorViewModel* model() {
    auto& editors = *window_.model().editors();
    return dynamic_cast<window::EditorViewModel*>(
        editors.data(editors.index(0), window::MirrorList::entryRole).value<window::MirrorItem*>());
  }

  void toggle() {
    const auto slot = window_.model().rack()->effects()[0].slotId;
    window_.model().plugins()->toggleEffect(slot);
    if (find() == nullptr) {
      window_.waitUntil([] { return find() != nullptr; });
      QObject::connect(
          find(), &QQuickWindow::afterFrameEnd, &frames_, [this] { window_.frameEnded(); }, Qt::DirectConnection);
      find()->update();
    }
  }

  MeasuredWindow& window_;
  QObject frames_;
};

void measureAll(std::size_t runs) {
  MeasuredWindow window;
  EditorWindow editor(window);
  const auto& strip = window.strip();
  std::vector<double> pressed;
  std::vector<double> opened;
  std::vector<double> found;
  std::vector<double> scrolled;
  for (std::size_t run = 0; run < runs; ++run) {
    const bool wasMuted = strip.mute();
    pressed.push_back(window.measure([&] { window.model().commands()->toggleMute(strip.channelId()); },
                                     [&] { return strip.mute() != wasMuted; }));
    opened.push_back(editor.open());
    const QString search = QStringLiteral("control 10");
    for (qsizetype length = 1; length <= search.size(); ++length) {
      found.push_back(editor.search(search.left(length)));
    }
    editor.search({});
    for (int frame = 1; frame <= frames; ++frame) {
      scrolled.push_back(editor.scrollTo(frame));
    }
    editor.close();
  }
  std::printf("milliseconds to the end of the frame, %d controls, %zu runs\n", controls, runs);
  std::printf("%-22s %8s %8s %8s %8s\n", "", "median", "90%", "99%", "most");
  report("press on mute", pressed);
  report("the window opens", opened);
  report("each key of a search", found);
  report("each step of a scroll", scrolled);
}

}  // namespace
}  // namespace vrel::app::bench

int main(int argumentCount, char** arguments) {
  using namespace vrel::app::bench;
  return runMeasurement(argumentCount, arguments, "--runs", 20,
                        [](int runs) { measureAll(static_cast<std::size_t>(runs)); });
}
