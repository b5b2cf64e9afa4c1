// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/console_model.h"

// Made by the build out of the classes that are marked for QML.
void qml_register_types_Vrel_Console();  // NOLINT(readability-identifier-naming)

namespace vrel::window {

void registerQmlTypes() {
  qml_register_types_Vrel_Console();
}

}  // namespace vrel::window
