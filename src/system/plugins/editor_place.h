// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vrel {

/// What an editor knows of a port of its plug-in.
struct EditorPort {
  std::uint32_t index = 0;
  std::string symbol;
  bool isControl = false;
  bool isSetting = false;  // a control that a person sets
  bool isAtom = false;     // for messages

  bool operator==(const EditorPort&) const = default;
};

/// The first two are put into a window of ours; the others open windows of their own: by what the plug-in interface's
/// users call an external one, or by its own interface for being shown.
enum class EditorKind : std::uint8_t { x11, gtk2, external, shown };

[[nodiscard]] constexpr bool isEmbedded(EditorKind kind) {
  return kind == EditorKind::x11 || kind == EditorKind::gtk2;
}

/// A plug-in's own editor, as its data describes it: enough to open it without reading that data again.
struct EditorPlace {
  EditorKind kind = EditorKind::x11;
  bool needsInstance = false;  // requires the plug-in's own memory, so that it runs in its process
  std::string pluginName;
  std::string pluginUri;
  std::string uri;
  std::string bundlePath;   // of the editor, with a separator at its end
  std::string libraryPath;  // its own, which is not the plug-in's
  std::vector<EditorPort> ports;
  std::vector<std::string> files;  // URIs of the parameters that are files and are set by messages

  bool operator==(const EditorPlace&) const = default;
};

}  // namespace vrel
