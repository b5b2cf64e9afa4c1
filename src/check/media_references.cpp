// SPDX-License-Identifier: GPL-3.0-or-later
#include "check/media_references.h"

#include "document/plugin_path.h"

namespace vrel {

MediaReferences mediaReferencesOf(const SetlistFile& setlist) {
  MediaReferences references;
  for (const auto& song : setlist.songs) {
    for (const auto& channel : song.channels) {
      const auto kind = pluginPathKind(channel.pluginPath);
      if (kind == PluginPathKind::playback && !channel.playbackFilePath.empty()) {
        references.audioFiles.insert(channel.playbackFilePath);
      }
      if (kind == PluginPathKind::visual) {
        for (const auto& clip : channel.visualClipMappings) {
          if (!clip.filePath.empty()) {
            references.clips.insert(clip.filePath);
          }
        }
      }
    }
  }
  return references;
}

}  // namespace vrel
