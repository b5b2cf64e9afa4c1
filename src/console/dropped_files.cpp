// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/dropped_files.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <string>
#include <string_view>

#include "channel/audio_channel.h"
#include "console/channel_operations.h"
#include "console/instrument_selector.h"
#include "console/setlist_files.h"
#include "document/app_state.h"
#include "document/plugin_path.h"
#include "performance/live_mode_policy.h"

namespace vrel {
namespace {

constexpr std::array<std::string_view, 12> audioExtensions{".wav", ".flac", ".ogg", ".oga", ".opus", ".mp3",
                                                           ".aif", ".aiff", ".m4a", ".aac", ".caf",  ".w64"};
constexpr std::array<std::string_view, 13> clipExtensions{".mp4",  ".mov", ".m4v", ".mkv", ".webm", ".avi", ".mpg",
                                                          ".mpeg", ".ogv", ".png", ".jpg", ".jpeg", ".webp"};
constexpr std::uint8_t firstClipNote = 60;
constexpr std::uint8_t highestClipNote = 127;

template <typename Extensions>
bool isAmong(const Extensions& extensions, const std::string& extension) {
  return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

/// What plays the file, beside clips that are there already; none for another kind, or when no note is left.
std::optional<ChannelConfig> sourceOf(const std::filesystem::path& file, const std::vector<VisualClipMapping>& clips) {
  ChannelConfig source;
  const auto kind = droppedFileKind(file);
  if (kind == DroppedFileKind::audio) {
    source.pluginPath = pathPlayback;
    source.playbackFilePath = file.string();
    return source;
  }
  if (kind != DroppedFileKind::clip) {
    return std::nullopt;
  }
  std::uint8_t note = firstClipNote;
  const auto isTaken = [&] {
    return std::any_of(clips.begin(), clips.end(), [&](const auto& clip) { return clip.note == note; });
  };
  while (isTaken()) {
    if (note == highestClipNote) {
      return std::nullopt;
    }
    ++note;
  }
  source.pluginPath = pathVisual;
  source.visualClipMappings = clips;
  source.visualClipMappings.push_back({.note = note, .filePath = file.string()});
  return source;
}

}  // namespace

DroppedFileKind droppedFileKind(const std::filesystem::path& file) {
  auto extension = file.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return extension == ".vrel"                  ? DroppedFileKind::setlist
         : isAmong(audioExtensions, extension) ? DroppedFileKind::audio
         : isAmong(clipExtensions, extension)  ? DroppedFileKind::clip
                                               : DroppedFileKind::other;
}

void DroppedFiles::dropOnWindow(const std::filesystem::path& file) {
  if (droppedFileKind(file) == DroppedFileKind::setlist) {
    setlists_.openRecentSetlist(file);
  }
}

void DroppedFiles::dropOnStrip(const std::shared_ptr<AudioChannel>& channel, const std::filesystem::path& file) {
  dropOnWindow(file);
  const auto source = sourceOf(file, channel->visualClipMappings.get());
  if (source && LiveModePolicy::isAllowed(LiveModeAction::chooseInternalSource, state_)) {
    instruments_.put(channel, *source);
    state_.markEdited();
  }
}

void DroppedFiles::dropBehindStrips(const std::filesystem::path& file) {
  dropOnWindow(file);
  if (auto source = sourceOf(file, {})) {
    source->name = file.stem().string();
    strips_.addChannelFromConfig(*source, std::nullopt);
  }
}

}  // namespace vrel
