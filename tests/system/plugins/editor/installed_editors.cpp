// SPDX-License-Identifier: GPL-3.0-or-later
// Opens the own editor of every plug-in of this machine once, and reports how each did. What they do is not a result of
// a test; that this program survives it and that nothing of them remains is. VREL_BUNDLES names other places of
// bundles.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "system/plugins/editor/editor_stage.h"
#include "system/plugins/sandbox/processes.h"

namespace vrel::editor {
namespace {

class InstalledEditors : public EditorStage {
 protected:
  InstalledEditors() : EditorStage(lv2::Bundles::machine) {}

  [[nodiscard]] bool comesWithin(std::chrono::milliseconds time, const std::function<bool()>& condition) {
    return sandbox::happensWithin(time, [&] {
      timed([&] { mainLoop_.runPending(); });
      return condition();
    });
  }

  /// Keeps the longest time that the main thread has spent on an editor.
  void timed(const std::function<void()>& call) {
    const auto begin = std::chrono::steady_clock::now();
    call();
    longestCall = std::max(longestCall, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin));
  }

  /// A line of the table; empty for a plug-in without an own editor.
  std::string report(const AVAudioUnitComponent& component) {
    const Made made = make(component);
    if (made.unit == nullptr) {
      ++refusedPlugins;
      return "  no plug-in: " + (made.error ? made.error->description : "unknown reason");
    }
    const auto view = request(*made.unit);
    if (view == nullptr) {
      return "";
    }
    ++editors;
    const std::size_t linesBefore = lines().size();
    const auto begin = std::chrono::steady_clock::now();
    std::shared_ptr<OpenEditor> editor;
    timed([&] { editor = show(view, "Editor"); });
    (void)comesWithin(30s, [&] { return editor->arrivals + editor->failures > 0; });
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    std::string outcome = "no answer in 30 s";
    if (editor->failures > 0) {
      outcome = lines().size() > linesBefore ? lines().back() : "failed";
    } else if (editor->arrivals > 0) {
      ++opened;
      const bool isDrawn = comesWithin(5s, [&] {
        const auto windows = desktop.windows();  // an editor may open its own, with titles of their own
        return std::any_of(windows.begin(), windows.end(), [&](auto each) { return desktop.colors(each) > 4; });
      });
      drawn += isDrawn ? 1 : 0;
      outcome = isDrawn ? "opened, drawn" : "opened, not drawn";
    }
    timed([&] { editor->panel->close(); });
    (void)comesWithin(5s, [&] { return editors_->editorCount() == 0; });
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%6.2f s  ", time.count());
    return seconds + outcome;
  }

  std::chrono::duration<double> longestCall{};
  int refusedPlugins = 0;
  int editors = 0;
  int opened = 0;
  int drawn = 0;
};

TEST_F(InstalledEditors, AreSurvived) {
  int plugins = 0;
  for (const auto& component : inProcess_.world->componentsMatchingDescription({})) {
    ++plugins;
    if (const std::string line = report(component); !line.empty()) {
      std::printf("%-45s %s\n", component.name.c_str(), line.c_str());
      std::fflush(stdout);
    }
  }
  std::printf("%d plug-ins, of which %d were not made; %d with an own editor: %d opened, %d drawn\n", plugins,
              refusedPlugins, editors, opened, drawn);
  std::printf("longest call on the main thread: %.2f ms\n", longestCall.count() * 1000);
}

}  // namespace
}  // namespace vrel::editor
