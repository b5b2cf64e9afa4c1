// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vrel::system {

/// Where JACK servers accept clients: a server of JACK's own on a socket that bears its name, and PipeWire, whose
/// library answers in JACK's place, on one socket for all clients.
struct JackSockets {
  std::filesystem::path jackFolder;
  std::vector<std::filesystem::path> pipeWireFolders;

  /// Those of this user and process.
  [[nodiscard]] static JackSockets ofTheUser();

  /// Whether a server of this name may accept clients; an empty name is the user's usual server. True for the socket
  /// of a killed server, too. Touches nothing but folders.
  [[nodiscard]] bool mayHaveServer(const std::string& name) const;
};

}  // namespace vrel::system
