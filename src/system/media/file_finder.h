// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace vrel::system {

/// Finds out whether files exist. A network folder may answer late or never: that holds up one thread of this and what
/// is asked of the same folder, and nothing else while fewer than `mostThreads` folders are silent.
///
/// Threads: `find` from any; it never waits. Completions come on threads of this. The destructor waits for completions
/// under way, not for folders: threads that hang there are left behind, and what is unanswered is dropped.
class FileFinder {
 public:
  static constexpr int mostThreads = 16;
  using Exists = std::function<bool(const std::string& path)>;
  using Completion = std::function<void(bool isThere)>;

  /// `exists` may hang. By default it asks the file system.
  explicit FileFinder(Exists exists = nullptr);
  ~FileFinder();
  FileFinder(const FileFinder&) = delete;
  FileFinder& operator=(const FileFinder&) = delete;

  void find(const std::string& path, Completion completion);

 private:
  struct Shared;
  static void serve(Shared& shared);

  const std::shared_ptr<Shared> shared_;  // with threads that may outlive this
};

}  // namespace vrel::system
