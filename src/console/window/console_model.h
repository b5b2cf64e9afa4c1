// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <utility>

#include "console/window/clip_commands.h"
#include "console/window/clip_view_model.h"
#include "console/window/console_commands.h"
#include "console/window/console_mirror.h"
#include "console/window/editor_commands.h"
#include "console/window/editor_view_model.h"
#include "console/window/editors_mirror.h"
#include "console/window/help_view_model.h"
#include "console/window/hints_view_model.h"
#include "console/window/meter_board.h"
#include "console/window/mirror_store.h"
#include "console/window/panel_view_models.h"
#include "console/window/performance_board.h"
#include "console/window/setlist_page_view_models.h"
#include "console/window/stage_board.h"
#include "console/window/strip_commands.h"
#include "console/window/texts_view_model.h"
#include "console/window/track_commands.h"
#include "console/window/track_view_model.h"
#include "console/window/view_models.h"

namespace vrel::window {

/// Makes the QML module known to Qt. Once, before any QML is loaded.
void registerQmlTypes();

/// All that QML knows: what to show, and what can be done. The window's thread.
class ConsoleModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")
  Q_PROPERTY(vrel::window::SessionViewModel* session READ session CONSTANT FINAL)
  Q_PROPERTY(vrel::window::MasterViewModel* master READ master CONSTANT FINAL)
  Q_PROPERTY(vrel::window::TextsViewModel* texts READ texts CONSTANT FINAL)
  Q_PROPERTY(vrel::window::HintsViewModel* hints READ hints CONSTANT FINAL)
  Q_PROPERTY(vrel::window::SelectorViewModel* selector READ selector CONSTANT FINAL)
  Q_PROPERTY(vrel::window::RackViewModel* rack READ rack CONSTANT FINAL)
  Q_PROPERTY(vrel::window::ClipViewModel* clips READ clips CONSTANT FINAL)
  Q_PROPERTY(vrel::window::TrackViewModel* track READ track CONSTANT FINAL)
  Q_PROPERTY(vrel::window::LearnedControlsViewModel* learned READ learned CONSTANT FINAL)
  Q_PROPERTY(vrel::window::SongControlViewModel* songControl READ songControl CONSTANT FINAL)
  Q_PROPERTY(vrel::window::CheckViewModel* check READ check CONSTANT FINAL)
  Q_PROPERTY(vrel::window::CopiesViewModel* copies READ copies CONSTANT FINAL)
  Q_PROPERTY(vrel::window::HelpViewModel* help READ help CONSTANT FINAL)
  Q_PROPERTY(vrel::window::HelpViewModel* liveKeys READ liveKeys CONSTANT FINAL)
  Q_PROPERTY(vrel::window::AlertViewModel* alert READ alert CONSTANT FINAL)
  Q_PROPERTY(vrel::window::MenuBarViewModel* menuBar READ menuBar CONSTANT FINAL)
  Q_PROPERTY(vrel::window::MirrorList* songs READ songs CONSTANT FINAL)
  Q_PROPERTY(vrel::window::MirrorList* strips READ strips CONSTANT FINAL)
  Q_PROPERTY(vrel::window::MirrorList* editors READ editors CONSTANT FINAL)
  Q_PROPERTY(vrel::window::MeterBoard* meters READ meters CONSTANT FINAL)
  Q_PROPERTY(vrel::window::StageBoard* stage READ stage CONSTANT FINAL)
  Q_PROPERTY(vrel::window::PerformanceBoard* performance READ performance CONSTANT FINAL)
  /// A file is asked for, in a window of its own; until it is answered the console is covered.
  Q_PROPERTY(bool isPanelShown READ isPanelShown NOTIFY isPanelShownChanged FINAL)
  Q_PROPERTY(vrel::window::ConsoleCommands* commands READ commands CONSTANT FINAL)
  Q_PROPERTY(vrel::window::StripCommands* controls READ controls CONSTANT FINAL)
  Q_PROPERTY(vrel::window::EditorCommands* plugins READ plugins CONSTANT FINAL)
  Q_PROPERTY(vrel::window::ClipCommands* clipCommands READ clipCommands CONSTANT FINAL)
  Q_PROPERTY(vrel::window::TrackCommands* trackCommands READ trackCommands CONSTANT FINAL)

 public:
  explicit ConsoleModel(ConsoleCommands::Post post, QObject* parent = nullptr)
      : QObject(parent), commands_(std::move(post)) {
    store_.adopt(mirror_ids::session, session_);
    store_.adopt(mirror_ids::master, master_);
    store_.adopt(mirror_ids::texts, texts_);
    store_.adopt(mirror_ids::selector, selector_);
    store_.adopt(mirror_ids::rack, rack_);
    store_.adopt(mirror_ids::clips, clips_);
    store_.adopt(mirror_ids::track, track_);
    store_.adopt(mirror_ids::learned, learned_);
    store_.adopt(mirror_ids::songControl, songControl_);
    store_.adopt(mirror_ids::check, check_);
    store_.adopt(mirror_ids::copies, copies_);
    store_.adopt(mirror_ids::help, help_);
    store_.adopt(mirror_ids::liveKeys, liveKeys_);
    store_.adopt(mirror_ids::alert, alert_);
    store_.adopt(mirror_ids::menuBar, menuBar_);
  }

  [[nodiscard]] SessionViewModel* session() { return &session_; }
  [[nodiscard]] MasterViewModel* master() { return &master_; }
  [[nodiscard]] TextsViewModel* texts() { return &texts_; }
  [[nodiscard]] HintsViewModel* hints() { return &hints_; }
  [[nodiscard]] SelectorViewModel* selector() { return &selector_; }
  [[nodiscard]] RackViewModel* rack() { return &rack_; }
  [[nodiscard]] ClipViewModel* clips() { return &clips_; }
  [[nodiscard]] TrackViewModel* track() { return &track_; }
  [[nodiscard]] LearnedControlsViewModel* learned() { return &learned_; }
  [[nodiscard]] SongControlViewModel* songControl() { return &songControl_; }
  [[nodiscard]] CheckViewModel* check() { return &check_; }
  [[nodiscard]] CopiesViewModel* copies() { return &copies_; }
  [[nodiscard]] HelpViewModel* help() { return &help_; }
  [[nodiscard]] HelpViewModel* liveKeys() { return &liveKeys_; }
  [[nodiscard]] AlertViewModel* alert() { return &alert_; }
  [[nodiscard]] MenuBarViewModel* menuBar() { return &menuBar_; }
  [[nodiscard]] MirrorList* songs() { return store_.list(mirror_ids::songs); }
  [[nodiscard]] MirrorList* strips() { return store_.list(mirror_ids::strips); }
  [[nodiscard]] MirrorList* editors() { return store_.list(mirror_ids::editors); }
  [[nodiscard]] MeterBoard* meters() { return &meters_; }
  [[nodiscard]] StageBoard* stage() { return &stage_; }
  [[nodiscard]] PerformanceBoard* performance() { return &performance_; }
  [[nodiscard]] bool isPanelShown() const { return isPanelShown_; }
  void setPanelShown(bool isShown) {
    if (std::exchange(isPanelShown_, isShown) != isShown) {
      Q_EMIT isPanelShownChanged();
    }
  }
  [[nodiscard]] ConsoleCommands* commands() { return &commands_; }
  [[nodiscard]] StripCommands* controls() { return &controls_; }
  [[nodiscard]] EditorCommands* plugins() { return &plugins_; }
  [[nodiscard]] ClipCommands* clipCommands() { return &clipCommands_; }
  [[nodiscard]] TrackCommands* trackCommands() { return &trackCommands_; }

  /// Shows what the logic has sent.
  void apply(const MirrorBatch& batch) { store_.apply(batch); }

 Q_SIGNALS:
  void isPanelShownChanged();

 private:
  SessionViewModel session_;
  MasterViewModel master_;
  TextsViewModel texts_;
  HintsViewModel hints_{texts_};
  SelectorViewModel selector_;
  RackViewModel rack_;
  ClipViewModel clips_;
  TrackViewModel track_;
  LearnedControlsViewModel learned_;
  SongControlViewModel songControl_;
  CheckViewModel check_;
  CopiesViewModel copies_;
  HelpViewModel help_;
  HelpViewModel liveKeys_;
  AlertViewModel alert_;
  MenuBarViewModel menuBar_;
  MirrorStore store_;
  MeterBoard meters_;
  PerformanceBoard performance_;
  StageBoard stage_;
  bool isPanelShown_ = false;
  ConsoleCommands commands_;
  StripCommands controls_{commands_};
  EditorCommands plugins_{commands_};
  ClipCommands clipCommands_{commands_};
  TrackCommands trackCommands_{commands_};
};

}  // namespace vrel::window
