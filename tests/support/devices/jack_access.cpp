// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/devices/jack_access.h"

namespace vrel::system::test {

void silenceLibrary() {
  jack_set_error_function([](const char*) {});
  jack_set_info_function([](const char*) {});
}

Client joinServer(const std::string& clientName, const std::string& serverName) {
  if (serverName.empty()) {
    return Client(jack_client_open(clientName.c_str(), JackNoStartServer, nullptr));
  }
  const auto options = static_cast<jack_options_t>(JackNoStartServer | JackServerName);
  return Client(jack_client_open(clientName.c_str(), options, nullptr, serverName.c_str()));
}

}  // namespace vrel::system::test
