// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/jack_sockets.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <system_error>

namespace vrel::system {
namespace {

std::string environmentValue(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody sets it once the program runs
  return value == nullptr ? "" : value;
}

bool hasSocket(const std::filesystem::path& folder, std::string_view prefix) {
  std::error_code failed;
  std::filesystem::directory_iterator entries(folder, failed);
  return !failed && std::any_of(begin(entries), end(entries), [&](const std::filesystem::directory_entry& entry) {
    std::error_code isGone;
    return entry.path().filename().string().starts_with(prefix) && entry.is_socket(isGone);
  });
}

}  // namespace

JackSockets JackSockets::ofTheUser() {
  JackSockets sockets{.jackFolder = "/dev/shm", .pipeWireFolders = {"/run/pipewire"}};
  for (const char* variable : {"PIPEWIRE_RUNTIME_DIR", "XDG_RUNTIME_DIR"}) {
    if (const auto folder = environmentValue(variable); !folder.empty()) {
      sockets.pipeWireFolders.emplace_back(folder);
    }
  }
  return sockets;
}

bool JackSockets::mayHaveServer(const std::string& name) const {
  std::string server = name.empty() ? environmentValue("JACK_DEFAULT_SERVER") : name;
  if (server.empty()) {
    server = "default";
  }
  return hasSocket(jackFolder, "jack_" + server + "_") ||
         std::any_of(pipeWireFolders.begin(), pipeWireFolders.end(),
                     [](const std::filesystem::path& folder) { return hasSocket(folder, "pipewire-"); });
}

}  // namespace vrel::system
