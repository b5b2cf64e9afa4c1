// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "foundation/mutex.h"
#include "foundation/result.h"
#include "platform/console_output.h"

namespace vrel::system {

/// The log of one run of the program, in a file of its own: "20261231-235959-4711.log" after the local time and the
/// process, each line with its time. Every line is in the file when `print` returns, so that a run that crashes has
/// them all; what cannot be written is lost without a word.
///
/// A file that is full is renamed to "...-older.log", in place of one of that name, so that a run keeps its last lines
/// and never has more than two files. When a log is opened, the files of all but the last runs are deleted; others in
/// its folder are left alone.
///
/// Any thread but the audio thread.
class RunLog final : public ConsoleOutput {
 public:
  using Now = std::function<std::chrono::system_clock::time_point()>;

  struct Settings {
    std::filesystem::path folder;  // created where it is missing
    int runs = 20;                 // that are kept, this one included
    std::uintmax_t fileBytes = 2 * 1024 * 1024;
    Now now = [] { return std::chrono::system_clock::now(); };
  };

  [[nodiscard]] static Result<std::unique_ptr<RunLog>> open(Settings settings);
  ~RunLog() override;
  RunLog(const RunLog&) = delete;
  RunLog& operator=(const RunLog&) = delete;

  void print(const std::string& line) override;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  /// Where the trace of a crash of this run belongs.
  [[nodiscard]] const std::filesystem::path& crashPath() const { return crashPath_; }
  /// The trace of the run before this one; empty where that did not crash.
  [[nodiscard]] const std::filesystem::path& crashBefore() const { return crashBefore_; }

 private:
  RunLog(Settings settings, const std::string& name, std::filesystem::path crashBefore);
  [[nodiscard]] int openFile() VREL_REQUIRES(mutex_);
  void startNextFile() VREL_REQUIRES(mutex_);

  const Settings settings_;
  const std::filesystem::path path_;
  const std::filesystem::path olderPath_;
  const std::filesystem::path crashPath_;
  const std::filesystem::path crashBefore_;
  Mutex mutex_;
  int file_ VREL_GUARDED_BY(mutex_) = -1;
  std::uintmax_t bytes_ VREL_GUARDED_BY(mutex_) = 0;
};

}  // namespace vrel::system
