// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "document/plugin_path.h"
#include "document/setlist.h"

namespace vrel {

/// Calls `visit` with the path of each audio file or clip that a strip plays; none is empty. The strip may be const.
template <typename Channel, typename Visit>
void visitPlayedFiles(Channel& channel, const Visit& visit) {
  const auto kind = pluginPathKind(channel.pluginPath);
  if (kind == PluginPathKind::playback && !channel.playbackFilePath.empty()) {
    visit(channel.playbackFilePath);
  } else if (kind == PluginPathKind::visual) {
    for (auto& clip : channel.visualClipMappings) {
      if (!clip.filePath.empty()) {
        visit(clip.filePath);
      }
    }
  }
}

}  // namespace vrel
