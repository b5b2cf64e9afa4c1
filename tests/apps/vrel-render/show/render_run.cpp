// SPDX-License-Identifier: GPL-3.0-or-later
#include "apps/vrel-render/show/render_run.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string_view>

namespace vrel {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

std::string contentOf(std::FILE* file) {
  std::rewind(file);
  std::string content;
  std::array<char, 4096> chunk{};
  while (const std::size_t count = std::fread(chunk.data(), 1, chunk.size(), file)) {
    content.append(chunk.data(), count);
  }
  return content;
}

bool setsNameOf(const std::string& change, std::string_view entry) {
  return entry.starts_with(change.substr(0, change.find('=') + 1));
}

std::vector<std::string> changedEnvironment(const std::vector<std::string>& changes) {
  std::vector<std::string> entries = changes;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    bool isChanged = false;
    for (const auto& change : changes) {
      isChanged = isChanged || setsNameOf(change, *entry);
    }
    if (!isChanged) {
      entries.emplace_back(*entry);
    }
  }
  return entries;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (auto& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

std::string ProgramRun::ownErrors() const {
  std::istringstream lines(errors);
  std::string own;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("lilv_") && !line.starts_with("error: " VREL_ZOO_PATH)) {
      own += line + "\n";
    }
  }
  return own;
}

ProgramRun runProgram(const std::vector<std::string>& command, const std::vector<std::string>& environment) {
  const File output(std::tmpfile());
  const File errors(std::tmpfile());
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fileno(output.get()), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, fileno(errors.get()), STDERR_FILENO);
  auto arguments = command;
  auto entries = changedEnvironment(environment);
  pid_t process = 0;
  const int failure = posix_spawn(&process, command.front().c_str(), &actions, nullptr, pointersTo(arguments).data(),
                                  pointersTo(entries).data());
  posix_spawn_file_actions_destroy(&actions);
  ProgramRun run;
  int status = 0;
  if (failure == 0 && waitpid(process, &status, 0) == process && WIFEXITED(status)) {
    run.exitCode = WEXITSTATUS(status);
  }
  run.output = contentOf(output.get());
  run.errors = contentOf(errors.get());
  return run;
}

ProgramRun runRender(const std::vector<std::string>& arguments, const std::vector<std::string>& environment) {
  std::vector<std::string> command = {VREL_RENDER_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return runProgram(command, environment);
}

ProgramRun renderOnZoo(const std::vector<std::string>& arguments) {
  return runRender(arguments, {"LV2_PATH=" VREL_ZOO_PATH});
}

}  // namespace vrel
