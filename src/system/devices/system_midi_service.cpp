// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/system_midi_service.h"

#include <algorithm>
#include <utility>

namespace vrel::system {

SystemMidiService::~SystemMidiService() {
  SystemMidiService::MIDIPortDispose(port_);
}

OSStatus SystemMidiService::MIDIClientCreateWithBlock(const std::string& name, NotifyBlock notifyBlock,
                                                      MIDIClientRef& client) {
  client = 0;
  if (client_ != 0) {
    return wrongClient;
  }
  clientName_ = name;
  client = client_ = ++lastRef_;
  const MutexLock lock(mutex_);
  notifyBlock_ = std::move(notifyBlock);
  return 0;
}

OSStatus SystemMidiService::MIDIInputPortCreateWithBlock(MIDIClientRef client, const std::string& portName,
                                                         ReadBlock readBlock, MIDIPortRef& port) {
  port = 0;
  if (client == 0 || client != client_) {
    return wrongClient;
  }
  if (port_ != 0) {
    return wrongPort;
  }
  {
    const MutexLock lock(mutex_);
    readBlock_ = std::move(readBlock);
  }
  port = port_ = ++lastRef_;
  for (const auto& backend : backends_) {
    backend->begin(clientName_, portName, listener());
  }
  return 0;
}

MidiBackend::Listener SystemMidiService::listener() {
  return {.packet =
              [this](const audio::PlayedPacket& played) {
                const MutexLock lock(mutex_);
                if (readBlock_) {
                  const MIDIPacket packet(played.bytes);
                  MIDIPacketList list(&packet, 1);
                  list.areInstrumentsServed = played.areInstrumentsServed;
                  list.untilRouted = played.untilRouted;
                  readBlock_(list);
                }
              },
          .setupChanged =
              [this] {
                const MutexLock lock(mutex_);
                if (notifyBlock_) {
                  notifyBlock_(MIDINotification{.messageID = kMIDIMsgSetupChanged});
                }
              }};
}

void SystemMidiService::look() {
  std::vector<Endpoint> found;
  bool isAlsaBridged = false;
  for (const auto& backend : backends_) {
    if (port_ == 0) {
      continue;
    }
    if (isAlsaBridged && backend->canBeBridged()) {
      backend->disconnect();  // what was read while there was no bridge would be heard twice
      continue;
    }
    for (auto& source : backend->sources()) {
      isAlsaBridged = isAlsaBridged || source.isBridged;
      const auto same = std::find_if(endpoints_.begin(), endpoints_.end(),
                                     [&](const auto& each) { return each.source.key == source.key; });
      const auto ref = same == endpoints_.end() ? ++lastRef_ : same->ref;
      found.push_back({ref, backend.get(), std::move(source)});
    }
  }
  endpoints_ = std::move(found);
}

std::size_t SystemMidiService::MIDIGetNumberOfSources() {
  look();
  return endpoints_.size();
}

MIDIEndpointRef SystemMidiService::MIDIGetSource(std::size_t index) {
  return index < endpoints_.size() ? endpoints_[index].ref : 0;
}

const SystemMidiService::Endpoint* SystemMidiService::find(MIDIEndpointRef source) const {
  const auto found =
      std::find_if(endpoints_.begin(), endpoints_.end(), [&](const auto& each) { return each.ref == source; });
  return found == endpoints_.end() ? nullptr : &*found;
}

OSStatus SystemMidiService::MIDIPortConnectSource(MIDIPortRef port, MIDIEndpointRef source) {
  if (port == 0 || port != port_) {
    return wrongPort;
  }
  const auto* const endpoint = find(source);
  return endpoint != nullptr && !endpoint->backend->connect(endpoint->source.key) ? 0 : noSuchSource;
}

std::optional<std::string> SystemMidiService::MIDIObjectGetName(MIDIEndpointRef source) {
  const auto* const endpoint = find(source);
  return endpoint != nullptr && !endpoint->source.name.empty() ? std::optional(endpoint->source.name) : std::nullopt;
}

std::uint64_t SystemMidiService::droppedMessages() const {
  std::uint64_t count = 0;
  for (const auto& backend : backends_) {
    count += backend->dropped();
  }
  return count;
}

void SystemMidiService::MIDIPortDispose(MIDIPortRef port) {
  if (port == 0 || port != port_) {
    return;
  }
  port_ = 0;
  endpoints_.clear();
  for (const auto& backend : backends_) {
    backend->end();
  }
  const MutexLock lock(mutex_);
  readBlock_ = nullptr;
}

void SystemMidiService::MIDIClientDispose(MIDIClientRef client) {
  if (client == 0 || client != client_) {
    return;
  }
  MIDIPortDispose(port_);
  client_ = 0;
  const MutexLock lock(mutex_);
  notifyBlock_ = nullptr;
}

}  // namespace vrel::system
