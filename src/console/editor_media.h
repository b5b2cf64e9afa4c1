// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace vrel {

class AudioFileFactory;
class AudioPlayerFactory;
class DispatchQueueFactory;
class FileManager;

/// What the editors of sound files read and play with. All is borrowed; null where the program does without.
struct EditorMedia {
  AudioFileFactory* files = nullptr;
  AudioPlayerFactory* players = nullptr;
  DispatchQueueFactory* queues = nullptr;
  FileManager* cacheFiles = nullptr;  // for a thread of the editor's alone
  std::filesystem::path cacheFolder{};
};

}  // namespace vrel
