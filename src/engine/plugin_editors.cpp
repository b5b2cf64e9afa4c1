// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/plugin_editors.h"

#include <algorithm>
#include <array>
#include <utility>

#include "channel/audio_channel.h"
#include "document/find_slot.h"
#include "platform/dispatch.h"

namespace vrel {
namespace {

constexpr NSSize smallestView{760, 520};
constexpr NSSize smallestPanel{520, 420};
constexpr NSSize genericView{520, 420};
constexpr NSSize assumedScreen{1440, 900};
constexpr double screenMargin = 80;
constexpr double fallbackSeconds = 1;
constexpr double keepAboveSeconds = 0.15;
constexpr double orderingSeconds = 0.02;  // for the desktop's own ordering to end
constexpr std::array refitSeconds{0.05, 0.2, 0.6};

NSSize larger(const NSSize& one, const NSSize& other) {
  return {std::max(one.width, other.width), std::max(one.height, other.height)};
}

NSSize smaller(const NSSize& one, const NSSize& other) {
  return {std::min(one.width, other.width), std::min(one.height, other.height)};
}

}  // namespace

NSSize editorViewSize(const NSSize& measured, const NSSize& preferred) {
  return larger(larger(measured, smallestView), preferred);
}

NSSize editorContentSize(const NSSize& measured, const std::optional<NSSize>& visibleFrame) {
  const NSSize frame = visibleFrame.value_or(assumedScreen);
  const NSSize limit = larger({frame.width - screenMargin, frame.height - screenMargin}, smallestPanel);
  return smaller(larger(measured, smallestView), limit);
}

PluginEditors::PluginEditors(PluginEditorFactory& factory, MainQueue& mainQueue, NSNotificationCenter& notifications)
    : factory_(factory), mainQueue_(mainQueue) {
  installOrderingObservers(notifications);
}

PluginEditors::~PluginEditors() = default;

std::string PluginEditors::instrumentKey(const AudioChannel& channel) {
  return "instrument:" + channel.id.text();
}

std::string PluginEditors::effectKey(const AudioChannel& channel, const Uuid& slotId) {
  return "effect:" + channel.id.text() + ":" + slotId.text();
}

std::shared_ptr<AVAudioUnit> PluginEditors::Target::current() const {
  const auto owner = channel.lock();
  const auto opened = unit.lock();
  const bool isThere = owner != nullptr && opened != nullptr && !owner->isRinging.get() && find(*owner) == opened;
  return isThere ? opened : nullptr;
}

void PluginEditors::openInstrumentEditor(const std::shared_ptr<AudioChannel>& channel, PluginView wanted) {
  open(
      instrumentKey(*channel), channel->name.get() + " - " + channel->pluginName.get() + " Editor", channel,
      [](AudioChannel& owner) { return std::dynamic_pointer_cast<AVAudioUnit>(owner.instrumentNode.get()); }, wanted);
}

void PluginEditors::openEffectEditor(const std::shared_ptr<AudioChannel>& channel, const Uuid& slotId,
                                     PluginView wanted) {
  const auto& slots = channel->effectSlots.get();
  const auto slot = findSlot(slots, slotId);
  if (slot != slots.end()) {
    open(
        effectKey(*channel, slotId), channel->name.get() + " - " + slot->pluginName + " Editor", channel,
        [slotId](AudioChannel& owner) {
          const auto& nodes = owner.effectNodes.get();
          const auto node = nodes.find(slotId);
          return node == nodes.end() ? nullptr : node->second;
        },
        wanted);
  }
}

void PluginEditors::open(std::string key, std::string title, const std::shared_ptr<AudioChannel>& channel, Find find,
                         PluginView wanted) {
  const auto unit = find(*channel);
  if (unit == nullptr || opening_.contains(key)) {
    return;
  }
  const auto present = editors_.find(key);
  const bool isReplaced = wanted == PluginView::generic && present != editors_.end() && !present->second.isGeneric;
  if (closeEditorIfVisible(key) && !isReplaced) {
    return;
  }
  opening_.insert(key);
  // Later, so that the press on the button has ended first.
  mainQueue_.async([this, life = life_.watch(),
                    target = Target{std::move(key), std::move(title), channel, unit, std::move(find), wanted}] {
    if (life.isAlive()) {
      requestView(target);
    }
  });
}

void PluginEditors::requestView(const Target& target) {
  const auto unit = target.current();
  if (unit == nullptr) {
    opening_.erase(target.key);
    return;
  }
  if (target.wanted == PluginView::generic) {
    showContent(target, nullptr);
    return;
  }
  const auto isResolved = std::make_shared<bool>(false);  // touched on the main thread alone
  const auto show = [this, life = life_.watch(), target, isResolved](std::shared_ptr<NSViewController> view) {
    if (life.isAlive() && !std::exchange(*isResolved, true)) {
      showContent(target, std::move(view));
    }
  };
  unit->auAudioUnit().requestViewController([show, &mainQueue = mainQueue_](std::shared_ptr<NSViewController> view) {
    mainQueue.async([show, view = std::move(view)] { show(view); });
  });
  mainQueue_.asyncAfter(fallbackSeconds, [show] { show(nullptr); });
}

void PluginEditors::showContent(const Target& target, std::shared_ptr<NSViewController> view) {
  opening_.erase(target.key);
  const auto unit = target.current();
  if (unit == nullptr) {
    return;  // it has gone while its view was on the way
  }
  std::string title = target.title;
  const bool isGeneric = view == nullptr;
  if (isGeneric) {
    view = factory_.makeGenericView(unit);
    view->setViewSize(genericView);
    title += " (Generic)";
  }
  view->setViewSize(editorViewSize(view->measuredSize(), view->preferredContentSize()));
  present(target, title, view, isGeneric);
}

void PluginEditors::present(const Target& target, const std::string& title,
                            const std::shared_ptr<NSViewController>& view, bool isGeneric) {
  dropInvisible();
  const auto channel = target.channel.lock();
  const auto check = [this, key = target.key](const auto&) { closeUnlessCurrent(key); };
  auto panel = view->ownPanel();
  if (panel == nullptr) {
    panel = factory_.makePanel(view);
  }
  const Editor editor{target,
                      view,
                      panel,
                      isGeneric,
                      channel->instrumentNode.changed.connect(check),
                      channel->effectNodes.changed.connect(check),
                      channel->isRinging.changed.connect(check)};
  editors_.insert_or_assign(target.key, editor);
  editor.panel->setTitle(title);
  follow(editor);
  fit(editor);
  editor.panel->center();
  startKeepAboveTimer();
  editor.panel->makeKeyAndOrderFront();
  editor.panel->orderFrontRegardless();
  scheduleRefits(editor);
}

void PluginEditors::fit(const Editor& editor) {
  editor.panel->setContentSize(editorContentSize(editor.view->measuredSize(), factory_.visibleFrame()));
}

void PluginEditors::fitAndRaise(const Editor& editor) {
  fit(editor);
  editor.panel->center();
  editor.panel->orderFrontRegardless();
}

PluginEditors::Editor* PluginEditors::find(const std::string& key, const std::shared_ptr<NSPanel>& panel) {
  const auto found = editors_.find(key);
  return panel != nullptr && found != editors_.end() && found->second.panel == panel ? &found->second : nullptr;
}

void PluginEditors::follow(const Editor& editor) {
  const auto onEditor = [this, life = life_.watch(), key = editor.target.key,
                         weakPanel = std::weak_ptr(editor.panel)](auto action) {
    return [this, life, key, weakPanel, action] {
      if (auto* const current = life.isAlive() ? find(key, weakPanel.lock()) : nullptr) {
        action(*current);
      }
    };
  };
  const auto onUnit = [onEditor](auto action) {
    return [onEditor, action](const auto& value) {
      onEditor([action, value](Editor& current) {
        if (const auto unit = current.target.current()) {
          action(unit, value);
        }
      })();
    };
  };
  editor.view->setEvents(
      {.arrived = onEditor([this](Editor& current) {
         fitAndRaise(current);
         scheduleRefits(current);
       }),
       .resized = onEditor([this](Editor& current) { fit(current); }),
       .failed = onEditor([this](Editor& current) {
         const Target target = current.target;
         const bool wasWanted = current.panel->isVisible();
         closeEditor(target.key);
         if (wasWanted) {
           showContent(target, nullptr);
         }
       }),
       .controlTurned = onUnit([this](const std::shared_ptr<AVAudioUnit>& unit, AUParameterAddress address) {
         controlTurned.emit(unit, address);
       }),
       .fileRequested = onUnit([this](const std::shared_ptr<AVAudioUnit>& unit, const std::string& identifier) {
         fileRequested.emit(unit, identifier);
       })});
}

void PluginEditors::scheduleRefits(const Editor& editor) {
  for (const double seconds : refitSeconds) {
    mainQueue_.asyncAfter(
        seconds, [this, life = life_.watch(), key = editor.target.key, weakPanel = std::weak_ptr(editor.panel)] {
          const auto* const current = life.isAlive() ? find(key, weakPanel.lock()) : nullptr;
          if (current != nullptr && current->panel->isVisible()) {
            fitAndRaise(*current);
          }
        });
  }
}

bool PluginEditors::closeEditorIfVisible(const std::string& key) {
  const auto found = editors_.find(key);
  const bool isOpen = found != editors_.end() && found->second.panel->isVisible();
  closeEditor(key);
  return isOpen;
}

void PluginEditors::closeEditor(const std::string& key) {
  if (auto closed = editors_.extract(key)) {
    closed.mapped().panel->close();
  }
  dropInvisible();
}

void PluginEditors::closeUnlessCurrent(const std::string& key) {
  const auto found = editors_.find(key);
  if (found != editors_.end() && found->second.target.current() == nullptr) {
    closeEditor(key);
  }
}

void PluginEditors::dropInvisible() {
  std::erase_if(editors_, [](const auto& each) { return !each.second.panel->isVisible(); });
}

void PluginEditors::reassertOrdering() {
  dropInvisible();
  for (const auto& [key, editor] : editors_) {
    editor.panel->orderAboveMainWindow();
  }
}

void PluginEditors::installOrderingObservers(NSNotificationCenter& notifications) {
  for (const auto* const name :
       {applicationDidBecomeActiveNotification, windowDidBecomeKeyNotification, windowDidBecomeMainNotification}) {
    orderingObservers_.push_back(notifications.addObserver(name, [this](const auto&) {
      mainQueue_.asyncAfter(orderingSeconds, [this, life = life_.watch()] {
        if (life.isAlive()) {
          reassertOrdering();
        }
      });
    }));
  }
}

void PluginEditors::startKeepAboveTimer() {
  if (keepAboveTimer_ == nullptr) {
    keepAboveTimer_ = mainQueue_.repeatingTimer(keepAboveSeconds, [this] {
      reassertOrdering();
      if (editors_.empty()) {
        keepAboveTimer_.reset();
      }
    });
  }
}

}  // namespace vrel
