// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/run_log/run_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <regex>
#include <system_error>
#include <utility>
#include <vector>

namespace vrel::system {
namespace {

namespace fs = std::filesystem;
using TimePoint = std::chrono::system_clock::time_point;

std::string formatted(TimePoint time, const char* format) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm local{};
  ::localtime_r(&seconds, &local);
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), format, &local)};
}

std::string timeOfDay(TimePoint time) {
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count() % 1000;
  std::array<char, 8> fraction{};
  std::snprintf(fraction.data(), fraction.size(), ".%03d", static_cast<int>(milliseconds));
  return formatted(time, "%H:%M:%S") + fraction.data();
}

using Runs = std::map<std::string, std::vector<fs::path>>;  // files by the name of their run, oldest first

Runs runsIn(const fs::path& folder) {
  static const std::regex ours(R"((\d{8}-\d{6}-\d+)(-older)?\.(log|crash))");
  Runs runs;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::smatch match;
    if (const auto name = entry->path().filename().string(); std::regex_match(name, match, ours)) {
      runs[match[1]].push_back(entry->path());
    }
  }
  return runs;
}

void keepLast(Runs& runs, std::size_t count) {
  while (runs.size() > count) {
    for (const auto& file : runs.begin()->second) {
      std::error_code ignored;
      fs::remove(file, ignored);
    }
    runs.erase(runs.begin());
  }
}

fs::path crashOfLast(const Runs& runs) {
  if (!runs.empty()) {
    for (const auto& file : runs.rbegin()->second) {
      if (file.extension() == ".crash") {
        return file;
      }
    }
  }
  return {};
}

void writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto written = ::write(file, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      return;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace

Result<std::unique_ptr<RunLog>> RunLog::open(Settings settings) {
  const fs::path folder = settings.folder;
  if (folder.empty()) {
    return Error{"no state folder (HOME and XDG_STATE_HOME are not set)"};
  }
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) {
    return Error{"cannot create " + folder.string() + ": " + error.message()};
  }
  Runs runs = runsIn(folder);
  auto crashBefore = crashOfLast(runs);
  keepLast(runs, static_cast<std::size_t>(settings.runs) - 1);
  const auto name = formatted(settings.now(), "%Y%m%d-%H%M%S") + "-" + std::to_string(::getpid());
  std::unique_ptr<RunLog> log(new RunLog(std::move(settings), name, std::move(crashBefore)));
  const MutexLock lock(log->mutex_);
  if (const int failure = log->openFile(); failure != 0) {
    return Error{"cannot write " + log->path_.string() + ": " + std::generic_category().message(failure)};
  }
  return log;
}

RunLog::RunLog(Settings settings, const std::string& name, fs::path crashBefore)
    : settings_(std::move(settings)),
      path_(settings_.folder / (name + ".log")),
      olderPath_(settings_.folder / (name + "-older.log")),
      crashPath_(settings_.folder / (name + ".crash")),
      crashBefore_(std::move(crashBefore)) {}

RunLog::~RunLog() {
  const MutexLock lock(mutex_);
  if (file_ >= 0) {
    ::close(file_);
  }
}

int RunLog::openFile() {
  constexpr mode_t ownerOnly = 0600;  // file names are nobody else's business
  file_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, ownerOnly);
  bytes_ = 0;
  return file_ >= 0 ? 0 : errno;
}

void RunLog::startNextFile() {
  ::close(std::exchange(file_, -1));
  std::error_code ignored;
  fs::rename(path_, olderPath_, ignored);
  (void)openFile();
}

void RunLog::print(const std::string& line) {
  std::string entry = timeOfDay(settings_.now()) + " " + line + "\n";
  const MutexLock lock(mutex_);
  if (entry.size() > settings_.fileBytes) {
    entry.resize(settings_.fileBytes - 1);
    entry += '\n';
  }
  if (file_ >= 0 && bytes_ + entry.size() > settings_.fileBytes) {
    startNextFile();
  }
  if (file_ >= 0) {
    writeAll(file_, entry);
    bytes_ += entry.size();
  }
}

}  // namespace vrel::system
