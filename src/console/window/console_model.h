// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

#include "console/window/console_commands.h"
#include "console/window/console_mirror.h"
#include "console/window/meter_board.h"
#include "console/window/mirror_store.h"

namespace vrel::window {

/// Makes the QML module known to Qt. Once, before any QML is loaded.
void registerQmlTypes();

/// All that QML knows: what to show, and what can be done. The window's thread.
class ConsoleModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the program makes it")
  Q_PROPERTY(vrel::window::MirrorItem* session READ session CONSTANT)
  Q_PROPERTY(vrel::window::MirrorItem* master READ master CONSTANT)
  Q_PROPERTY(vrel::window::MirrorItem* texts READ texts CONSTANT)
  Q_PROPERTY(vrel::window::MirrorItem* alert READ alert CONSTANT)
  Q_PROPERTY(vrel::window::MirrorItem* menuBar READ menuBar CONSTANT)
  Q_PROPERTY(vrel::window::MirrorList* songs READ songs CONSTANT)
  Q_PROPERTY(vrel::window::MirrorList* strips READ strips CONSTANT)
  Q_PROPERTY(vrel::window::MeterBoard* meters READ meters CONSTANT)
  Q_PROPERTY(vrel::window::ConsoleCommands* commands READ commands CONSTANT)

 public:
  explicit ConsoleModel(ConsoleCommands::Post post, QObject* parent = nullptr)
      : QObject(parent), commands_(std::move(post)) {}

  [[nodiscard]] MirrorItem* session() { return store_.object(mirror_ids::session); }
  [[nodiscard]] MirrorItem* master() { return store_.object(mirror_ids::master); }
  [[nodiscard]] MirrorItem* texts() { return store_.object(mirror_ids::texts); }
  [[nodiscard]] MirrorItem* alert() { return store_.object(mirror_ids::alert); }
  [[nodiscard]] MirrorItem* menuBar() { return store_.object(mirror_ids::menuBar); }
  [[nodiscard]] MirrorList* songs() { return store_.list(mirror_ids::songs); }
  [[nodiscard]] MirrorList* strips() { return store_.list(mirror_ids::strips); }
  [[nodiscard]] MeterBoard* meters() { return &meters_; }
  [[nodiscard]] ConsoleCommands* commands() { return &commands_; }

  /// Shows what the logic has sent.
  void apply(const MirrorBatch& batch) { store_.apply(batch); }

 private:
  MirrorStore store_;
  MeterBoard meters_;
  ConsoleCommands commands_;
};

}  // namespace vrel::window
