// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/file_finder.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <map>
#include <system_error>
#include <thread>
#include <utility>

#include "foundation/mutex.h"

namespace vrel::system {
namespace {

struct Question {
  std::string path;
  FileFinder::Completion completion;
};

struct Folder {
  std::deque<Question> questions;
  bool isServed = false;  // a thread asks the first of them, and may hang there
};

bool existsOnDisk(const std::string& path) {
  std::error_code failure;
  return std::filesystem::exists(path, failure);
}

}  // namespace

struct FileFinder::Shared {
  explicit Shared(Exists check) : exists(std::move(check)) {}

  const Exists exists;
  Mutex mutex;
  std::condition_variable changed;
  std::map<std::string, Folder> folders VREL_GUARDED_BY(mutex);
  int threads VREL_GUARDED_BY(mutex) = 0;
  int idle VREL_GUARDED_BY(mutex) = 0;
  int completing VREL_GUARDED_BY(mutex) = 0;
  bool isOver VREL_GUARDED_BY(mutex) = false;
};

FileFinder::FileFinder(Exists exists)
    : shared_(std::make_shared<Shared>(exists != nullptr ? std::move(exists) : Exists(existsOnDisk))) {}

FileFinder::~FileFinder() {
  std::map<std::string, Folder> dropped;  // freed after the lock
  Shared& shared = *shared_;
  MutexLock lock(shared.mutex);
  shared.isOver = true;
  dropped.swap(shared.folders);
  shared.changed.notify_all();
  shared.changed.wait(lock.native(), [&shared]() VREL_REQUIRES(shared.mutex) { return shared.completing == 0; });
}

void FileFinder::find(const std::string& path, Completion completion) {
  Shared& shared = *shared_;
  bool needsThread = false;
  {
    const MutexLock lock(shared.mutex);
    auto& folders = shared.folders;
    folders[std::filesystem::path(path).parent_path()].questions.push_back({path, std::move(completion)});
    const auto waiting =
        std::count_if(folders.begin(), folders.end(), [](const auto& each) { return !each.second.isServed; });
    needsThread = waiting > shared.idle && shared.threads < mostThreads;
    if (needsThread) {
      ++shared.threads;
    }
  }
  if (needsThread) {
    std::thread([kept = shared_] { serve(*kept); }).detach();
  } else {
    shared.changed.notify_one();
  }
}

void FileFinder::serve(Shared& shared) {
  MutexLock lock(shared.mutex);
  while (!shared.isOver) {
    const auto folder = std::find_if(shared.folders.begin(), shared.folders.end(),
                                     [](const auto& each) { return !each.second.isServed; });
    if (folder == shared.folders.end()) {
      ++shared.idle;
      shared.changed.wait(lock.native());
      --shared.idle;
      continue;
    }
    folder->second.isServed = true;
    const std::string path = folder->second.questions.front().path;
    lock.unlock();
    const bool isThere = shared.exists(path);
    lock.lock();
    if (shared.isOver) {
      return;
    }
    auto completion = std::move(folder->second.questions.front().completion);
    folder->second.questions.pop_front();
    ++shared.completing;
    lock.unlock();
    completion(isThere);
    completion = nullptr;
    lock.lock();
    if (--shared.completing == 0 && shared.isOver) {
      shared.changed.notify_all();
    }
    if (shared.isOver) {
      return;
    }
    folder->second.isServed = false;
    if (folder->second.questions.empty()) {
      shared.folders.erase(folder);
    }
  }
}

}  // namespace vrel::system
