# SPDX-License-Identifier: GPL-3.0-or-later
# The QML of the console, told relative to the folder above.
file(GLOB_RECURSE VREL_CONSOLE_QML_FILES RELATIVE "${CMAKE_CURRENT_LIST_DIR}/.." CONFIGURE_DEPENDS "${CMAKE_CURRENT_LIST_DIR}/*.qml")
set_source_files_properties(qml/controls/Theme.qml PROPERTIES QT_QML_SINGLETON_TYPE TRUE)
