// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "platform/notification_center.h"
#include "platform/plugin_editor.h"

namespace vrel {

class AudioChannel;
class AVAudioUnit;
class MainQueue;
class RepeatingTimer;

/// The size of a plug-in's view: what was measured, at least 760 by 520, or what it prefers where that is more.
[[nodiscard]] NSSize editorViewSize(const NSSize& measured, const NSSize& preferred);

/// The content of an editor's panel: what was measured, at least 760 by 520, as far as the screen has room for it
/// beside a margin of 80. Without a screen one of 1440 by 900 is assumed.
[[nodiscard]] NSSize editorContentSize(const NSSize& measured, const std::optional<NSSize>& visibleFrame);

/// Which window of a plug-in: its own where it has one, or the generic one, which has its presets.
enum class PluginView { best, generic };

/// The windows of plug-ins: one for each key, above the main window, fitted three times after it opens, since many
/// plug-ins size their views late.
///
/// A plug-in without a view, or that has not given one within a second, gets the generic view; one that comes later is
/// dropped. A view that is given and fails before it has arrived is replaced by the generic one. An editor closes when
/// its plug-in leaves the place that it was opened from: replaced, removed, reloaded, dead, or off the stage with its
/// strip. Closing does not touch the plug-in. Main thread.
class PluginEditors {
 public:
  /// All are borrowed.
  PluginEditors(PluginEditorFactory& factory, MainQueue& mainQueue, NSNotificationCenter& notifications);
  ~PluginEditors();

  [[nodiscard]] static std::string instrumentKey(const AudioChannel& channel);
  [[nodiscard]] static std::string effectKey(const AudioChannel& channel, const Uuid& slotId);

  /// Opens the editor of the channel's instrument, or closes it; the generic view takes the place of another. Nothing
  /// for a channel that hosts no plug-in, and while the editor is on its way.
  void openInstrumentEditor(const std::shared_ptr<AudioChannel>& channel, PluginView wanted = PluginView::best);

  /// The same for the effect of a slot; nothing for a slot that is not there or has no plug-in.
  void openEffectEditor(const std::shared_ptr<AudioChannel>& channel, const Uuid& slotId,
                        PluginView wanted = PluginView::best);

  void closeEditor(const std::string& key);

  /// Emitted for a control that a person has turned in the plug-in's own editor, by its address.
  Signal<const std::shared_ptr<AVAudioUnit>&, AUParameterAddress> controlTurned;

  /// Emitted when that editor wants a file for the parameter of this identifier.
  Signal<const std::shared_ptr<AVAudioUnit>&, const std::string&> fileRequested;

  /// False, and the key is forgotten, when there is none or a person has closed it.
  bool closeEditorIfVisible(const std::string& key);

 private:
  /// The plug-in now in the place that an editor is for; null when there is none.
  using Find = std::function<std::shared_ptr<AVAudioUnit>(AudioChannel& channel)>;

  struct Target {
    std::string key;
    std::string title;
    std::weak_ptr<AudioChannel> channel;
    std::weak_ptr<AVAudioUnit> unit;
    Find find;
    PluginView wanted = PluginView::best;

    /// The plug-in, where it still has the place.
    [[nodiscard]] std::shared_ptr<AVAudioUnit> current() const;
  };

  struct Editor {
    Target target;
    std::shared_ptr<NSViewController> view;
    std::shared_ptr<NSPanel> panel;
    bool isGeneric = false;
    std::shared_ptr<void> instrumentConnection;
    std::shared_ptr<void> effectsConnection;
    std::shared_ptr<void> ringingConnection;
  };

  void open(std::string key, std::string title, const std::shared_ptr<AudioChannel>& channel, Find find,
            PluginView wanted);
  void requestView(const Target& target);
  void showContent(const Target& target, std::shared_ptr<NSViewController> view);
  void present(const Target& target, const std::string& title, const std::shared_ptr<NSViewController>& view,
               bool isGeneric);
  void follow(const Editor& editor);
  /// Null when the panel is not the one of this key any more.
  [[nodiscard]] Editor* find(const std::string& key, const std::shared_ptr<NSPanel>& panel);
  void fit(const Editor& editor);
  void fitAndRaise(const Editor& editor);
  void scheduleRefits(const Editor& editor);
  void dropInvisible();
  void closeUnlessCurrent(const std::string& key);
  void reassertOrdering();
  void installOrderingObservers(NSNotificationCenter& notifications);
  void startKeepAboveTimer();

  PluginEditorFactory& factory_;
  MainQueue& mainQueue_;
  std::map<std::string, Editor> editors_;
  std::set<std::string> opening_;  // keys whose view is on its way
  std::unique_ptr<RepeatingTimer> keepAboveTimer_;
  std::vector<NSNotificationCenter::Listeners::Connection> orderingObservers_;
  LifeToken life_;
};

}  // namespace vrel
