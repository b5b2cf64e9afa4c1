// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>

#include <memory>
#include <string>

namespace vrel::system::test {

struct CloseClient {
  void operator()(jack_client_t* client) const { jack_client_close(client); }
};
using Client = std::unique_ptr<jack_client_t, CloseClient>;

/// JACK clients of the tests, independent of the code under test. When a server dies, the library invalidates all
/// clients of the process as soon as another one is opened, so a test's own must be closed by then.
void silenceLibrary();

/// Null when there is no such server. Without a name it is the usual one.
[[nodiscard]] Client joinServer(const std::string& clientName, const std::string& serverName);

}  // namespace vrel::system::test
