// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace vrel {

class AudioFileFactory;
class AudioPlayerFactory;
class DispatchQueueFactory;
class FileManager;
class VideoFactory;

/// What the editors of tracks and clips read and play with. All is borrowed; null where the program does without.
struct EditorMedia {
  AudioFileFactory* files = nullptr;
  AudioPlayerFactory* players = nullptr;
  DispatchQueueFactory* queues = nullptr;
  FileManager* cacheFiles = nullptr;  // for a thread of the editor's alone
  std::filesystem::path cacheFolder{};
  VideoFactory* videos = nullptr;
};

}  // namespace vrel
