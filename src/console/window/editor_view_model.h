// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QList>
#include <QString>

#include "console/window/control_rows.h"
#include "console/window/plugin_rows.h"
#include "console/window/view_model.h"

namespace vrel::window {

/// The window of one plug-in; where the values come from is in editors_mirror.cpp.
class EditorViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = EditorViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(QString, editorId)
  VREL_SHOWN(QString, title)
  VREL_SHOWN(int, contentWidth)  // pixels
  VREL_SHOWN(int, contentHeight)
  VREL_SHOWN(int, centerings)  // how often it has been centred
  VREL_SHOWN(int, raises)
  VREL_SHOWN(QString, searchText)
  VREL_SHOWN(QList<vrel::window::ControlEntry>, entries)
  VREL_SHOWN(QList<double>, values)  // by ControlRows' role `control`
  VREL_SHOWN(QList<QString>, texts)  // of those that are text or, by its name, a file; in the same order
  VREL_SHOWN(bool, mayChooseFile)
  VREL_SHOWN(bool, isLoaded)       // the controls are known
  VREL_SHOWN(int, pendingControl)  // that waits for its hardware, by ControlRows' role `control`; -1 for none
  // Of its presets.
  VREL_SHOWN(bool, hasPresets)
  VREL_SHOWN(QString, presetSearch)
  VREL_SHOWN(QList<vrel::window::PluginRow>, presets)  // by identifier
  VREL_SHOWN(QString, presetKey)                       // the one that is loaded, or on its way; empty for none
  VREL_SHOWN(QString, presetName)
  VREL_SHOWN(bool, isOwnPreset)
  VREL_SHOWN(bool, isPresetChanged)  // a control has been moved since
  VREL_SHOWN(QList<QString>, ownPresetNames)
  VREL_SHOWN(QString, presetProblem)
  VREL_SHOWN(bool, maySavePreset)
};

}  // namespace vrel::window
