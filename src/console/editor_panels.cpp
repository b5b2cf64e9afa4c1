// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/editor_panels.h"

#include <algorithm>
#include <utility>

#include "platform/dispatch.h"

namespace vrel {
namespace {

constexpr double refreshSeconds = 1.0 / 30;

}  // namespace

void EditorPanel::makeKeyAndOrderFront() {
  isVisible_ = true;
  frontings_ = owner_.frontings_;
  owner_.show(*this);
}

void EditorPanel::orderAboveMainWindow() {
  if (std::exchange(frontings_, owner_.frontings_) != owner_.frontings_) {
    orderFrontRegardless();
  }
}

void EditorPanel::close() {
  isVisible_ = false;
  owner_.hide(*this);
}

EditorPanels::EditorPanels(const Collaborators& collaborators)
    : state_(collaborators.state), mainQueue_(collaborators.mainQueue), desktop_(collaborators.desktop) {}

EditorPanels::~EditorPanels() = default;

std::shared_ptr<EditorPanel> EditorPanels::find(const std::string& id) const {
  const auto& panels = shown.get();
  const auto found =
      std::find_if(panels.begin(), panels.end(), [&](const auto& each) { return each->id.text() == id; });
  return found == panels.end() ? nullptr : *found;
}

std::shared_ptr<NSViewController> EditorPanels::makeGenericView(const std::shared_ptr<AVAudioUnit>& unit) {
  std::erase_if(loadedPresets_, [](const auto& each) { return each.first.expired(); });
  auto& loaded = loadedPresets_[unit];
  loaded = loaded != nullptr ? loaded : std::make_shared<PresetChooser::Loaded>();
  auto view = std::make_shared<ControlsEditor>(unit, loaded, state_, mainQueue_, desktop_);
  view->load();
  return view;
}

std::shared_ptr<NSPanel> EditorPanels::makePanel(const std::shared_ptr<NSViewController>& view) {
  auto panel = std::make_shared<EditorPanel>(std::dynamic_pointer_cast<ControlsEditor>(view), *this);
  std::erase_if(made_, [](const auto& each) { return each.expired(); });
  made_.push_back(panel);
  return panel;
}

std::optional<NSSize> EditorPanels::visibleFrame() {
  const auto screens = desktop_.screens();
  if (screens.empty()) {
    return std::nullopt;
  }
  // As it is now: it may have got another size since.
  const auto found = std::find_if(screens.begin(), screens.end(), [this](const NSScreen& screen) {
    return mainScreen_ && isSameScreen(screen, *mainScreen_);
  });
  const auto& frame = (found != screens.end() ? *found : screens.front()).visibleFrame;
  return NSSize{static_cast<double>(frame.width), static_cast<double>(frame.height)};
}

void EditorPanels::show(EditorPanel& panel) {
  const auto found = std::find_if(made_.begin(), made_.end(), [&](const auto& each) {
    const auto one = each.lock();
    return one.get() == &panel;
  });
  auto panels = shown.get();
  panels.push_back(found->lock());
  shown.set(std::move(panels));
  if (refreshTimer_ == nullptr) {
    refreshTimer_ = mainQueue_.repeatingTimer(refreshSeconds, [this] { refresh(); });
  }
}

void EditorPanels::hide(const EditorPanel& panel) {
  auto panels = shown.get();
  std::erase_if(panels, [&](const auto& each) { return each.get() == &panel; });
  shown.set(std::move(panels));
  if (shown.get().empty()) {
    refreshTimer_.reset();
  }
}

void EditorPanels::refresh() {
  for (const auto& panel : shown.get()) {
    panel->controls->refresh();
  }
}

}  // namespace vrel
