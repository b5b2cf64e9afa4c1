// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QList>
#include <QString>

#include "console/window/learned_entry.h"
#include "console/window/plugin_rows.h"
#include "console/window/rack_slot.h"
#include "console/window/song_program_entry.h"
#include "console/window/view_model.h"

// What QML reads of the panels that belong to a strip or to the setlist; see view_models.h. Where the values come from
// is in panels_mirror.cpp.

namespace vrel::window {

/// The choice of an instrument for a strip.
class SelectorViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = SelectorViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(bool, isOpen)
  VREL_SHOWN(QString, stripName)  // whose instrument is chosen, with its number
  VREL_SHOWN(QColor, color)       // of the strip
  VREL_SHOWN(QString, searchText)
  VREL_SHOWN(QList<vrel::window::PluginRow>, rows)
  VREL_SHOWN(QString, loadedKey)  // what the strip plays
  VREL_SHOWN(QString, triedKey)   // what it plays for now; empty for nothing
};

/// The effects of a strip or of the master, and the choice of one more.
class RackViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = RackViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(bool, isOpen)
  VREL_SHOWN(QString, ownerName)
  VREL_SHOWN(QColor, color)  // of the owner
  VREL_SHOWN(QList<vrel::window::RackSlot>, effects)
  VREL_SHOWN(QString, replacedSlotId)  // empty for none
  VREL_SHOWN(QString, searchText)
  VREL_SHOWN(QList<vrel::window::PluginRow>, rows)
  VREL_SHOWN(bool, mayChange)
};

/// The page of all learned controls.
class LearnedControlsViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = LearnedControlsViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(bool, isOpen)
  VREL_SHOWN(QList<vrel::window::LearnedEntry>, controls)
  VREL_SHOWN(bool, mayRemove)
};

/// The page on which the hardware gets to change songs.
class SongControlViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = SongControlViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(bool, isOpen)
  VREL_SHOWN(bool, mayEdit)
  VREL_SHOWN(bool, isByProgramChange)
  VREL_SHOWN(int, midiChannel)  // 1 to 16; 0 for all
  VREL_SHOWN(int, guardMilliseconds)
  VREL_SHOWN(int, letRingSeconds)  // 0 for not at all
  VREL_SHOWN(QString, nextSource)  // what of the hardware steps; empty for nothing
  VREL_SHOWN(QString, previousSource)
  VREL_SHOWN(QString, lastProgram)  // what came last; empty for nothing
  VREL_SHOWN(QList<vrel::window::SongProgramEntry>, songs)
};

}  // namespace vrel::window
