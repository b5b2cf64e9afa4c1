// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/jack_client.h"

#include <chrono>
#include <cstddef>
#include <thread>

#include "system/devices/jack_sockets.h"

namespace vrel::system {
namespace {

jack_client_t* join(const std::string& clientName, const std::string& serverName) {
  // Opening a client maps JACK's metadata files even where no server runs, and a program that was killed may have left
  // them damaged: then the next access ends this one with a bus error.
  if (!JackSockets::ofTheUser().mayHaveServer(serverName)) {
    return nullptr;
  }
  // For the whole process.
  jack_set_error_function([](const char*) {});
  jack_set_info_function([](const char*) {});
  const auto name = clientName.substr(0, static_cast<std::size_t>(jack_client_name_size()) - 1);
  if (serverName.empty()) {
    return jack_client_open(name.c_str(), JackNoStartServer, nullptr);
  }
  const auto options = static_cast<jack_options_t>(JackNoStartServer | JackServerName);
  return jack_client_open(name.c_str(), options, nullptr, serverName.c_str());
}

// A client was notified that its server has gone, and others may not have been yet.
std::atomic<bool> serverDeath{false};

}  // namespace

Mutex& JackClient::libraryMutex() {
  static Mutex mutex;
  return mutex;
}

std::vector<JackClient*>& JackClient::openClients() {
  static std::vector<JackClient*> clients;
  return clients;
}

std::unique_ptr<JackClient> JackClient::open(const std::string& clientName, const std::string& serverName,
                                             const Callbacks& callbacks) {
  std::unique_ptr<JackClient> client(new JackClient(callbacks));  // ends after the lock, which its end takes, too
  const MutexLock lock(libraryMutex());
  if (serverDeath.exchange(false)) {
    closeAll();
  }
  client->client_ = join(clientName, serverName);
  if (serverDeath.exchange(false)) {
    releaseAll();
  }
  if (client->client_ == nullptr) {
    return nullptr;
  }
  openClients().push_back(client.get());
  jack_on_shutdown(client->client_, noteShutdown, client.get());
  if (callbacks.process != nullptr) {
    jack_set_process_callback(client->client_, process, client.get());
  }
  return client;
}

void JackClient::closeAll() {
  for (auto* const each : openClients()) {
    each->noteServerGone();
    each->close();
  }
}

void JackClient::releaseAll() {
  constexpr int mostWaits = 100;
  for (auto* const each : openClients()) {
    // Freed by the library, or about to be notified: in both cases nothing calls back any more.
    for (int waits = 0; !each->isServerGone_ && waits < mostWaits; ++waits) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    each->noteServerGone();
    each->client_ = nullptr;
  }
}

JackClient::~JackClient() {
  const MutexLock lock(libraryMutex());
  close();
  std::erase(openClients(), this);
}

void JackClient::close() {
  constexpr int mostWaits = 1000;
  if (client_ == nullptr) {
    return;
  }
  if (!isServerGone_) {
    jack_deactivate(client_);
  }
  // Nobody else is left to wait for a block that the server's death has caught.
  for (int waits = 0; isInBlock_ && waits < mostWaits; ++waits) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  jack_client_close(client_);
  client_ = nullptr;
}

bool JackClient::activate() {
  bool isActive = false;
  use([&](jack_client_t* client) { isActive = jack_activate(client) == 0; });
  return isActive;
}

void JackClient::deactivate() {
  if (!use([](jack_client_t* client) { jack_deactivate(client); })) {
    const MutexLock lock(libraryMutex());
    close();
  }
}

int JackClient::process(jack_nframes_t frames, void* client) {
  auto& self = *static_cast<JackClient*>(client);
  self.isInBlock_ = true;
  const int status = self.callbacks_.process(frames, self.callbacks_.owner);
  self.isInBlock_ = false;
  return status;
}

void JackClient::noteShutdown(void* client) {
  serverDeath = true;
  static_cast<JackClient*>(client)->noteServerGone();
}

void JackClient::noteServerGone() {
  if (!isServerGone_.exchange(true) && callbacks_.serverGone != nullptr) {
    callbacks_.serverGone(callbacks_.owner);
  }
}

std::vector<std::string> jackPorts(jack_client_t* client, const char* type, unsigned long flags) {
  struct Free {
    void operator()(const char** names) const { jack_free(static_cast<void*>(names)); }
  };
  const std::unique_ptr<const char*[], Free> names(jack_get_ports(client, nullptr, type, flags));
  std::vector<std::string> ports;
  for (std::size_t index = 0; names && names[index] != nullptr; ++index) {
    ports.emplace_back(names[index]);
  }
  return ports;
}

std::string jackPortOwner(const std::string& portName) {
  return portName.substr(0, portName.find(':'));
}

}  // namespace vrel::system
