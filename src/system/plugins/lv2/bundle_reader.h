// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Reads the data of bundles with the library. None of a plug-in's code runs.
//
// Threads: the library writes to memory that all its worlds share while it reads a file, so whoever has it read one
// holds `libraryMutex`.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "system/plugins/lv2/bundle_record.h"

struct LilvWorldImpl;
struct LilvPluginImpl;

namespace vrel::lv2 {

[[nodiscard]] Mutex& libraryMutex();

/// An empty world of the library, to be freed with `lilv_world_free`.
[[nodiscard]] LilvWorldImpl* newLibraryWorld();

/// Adds a bundle to a world, without the data of its plug-ins. It must be readable; see `isReadableBundle`.
void loadBundle(LilvWorldImpl* world, const std::filesystem::path& folder) VREL_REQUIRES(libraryMutex());

/// A plug-in of the world whose data may be read, with all of it; null for any other.
[[nodiscard]] const LilvPluginImpl* readablePlugin(LilvWorldImpl* world, const std::string& uri)
    VREL_REQUIRES(libraryMutex());

/// Reads a bundle in a world of its own. `files` are its data files as they were before that.
[[nodiscard]] BundleRecord readBundle(const std::filesystem::path& folder, std::vector<FileStamp> files)
    VREL_REQUIRES(libraryMutex());

}  // namespace vrel::lv2
