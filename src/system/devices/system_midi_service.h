// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "platform/midi_service.h"
#include "system/devices/midi_backend.h"

namespace vrel::system {

/// The MIDI sources of the machine, from all backends together.
///
/// One client with one port at a time, which is what the program makes; the backends appear to others under
/// their names once the port is made, and only then are there sources. Each message of a source is
/// a packet list of one packet. The blocks come from threads of the backends, one at a time; when a dispose has
/// returned they do not come any more, so a block must not wait for the main thread.
///
/// A source that a JACK server shows on behalf of ALSA would play each note twice: while there is one,
/// ALSA's own are left out.
class SystemMidiService final : public MIDIService {
 public:
  explicit SystemMidiService(MidiBackends backends) : backends_(std::move(backends)) {}
  ~SystemMidiService() override;
  SystemMidiService(const SystemMidiService&) = delete;
  SystemMidiService& operator=(const SystemMidiService&) = delete;

  // Statuses other than 0.
  static constexpr OSStatus wrongClient = -10830;  // no such client, or there is one already
  static constexpr OSStatus wrongPort = -10831;
  static constexpr OSStatus noSuchSource = -10832;

  [[nodiscard]] OSStatus MIDIClientCreateWithBlock(const std::string& name, NotifyBlock notifyBlock,
                                                   MIDIClientRef& client) override;
  [[nodiscard]] OSStatus MIDIInputPortCreateWithBlock(MIDIClientRef client, const std::string& portName,
                                                      ReadBlock readBlock, MIDIPortRef& port) override;
  [[nodiscard]] std::size_t MIDIGetNumberOfSources() override;
  [[nodiscard]] MIDIEndpointRef MIDIGetSource(std::size_t index) override;
  OSStatus MIDIPortConnectSource(MIDIPortRef port, MIDIEndpointRef source) override;
  [[nodiscard]] std::optional<std::string> MIDIObjectGetName(MIDIEndpointRef source) override;
  [[nodiscard]] std::uint64_t droppedMessages() const override;
  void MIDIPortDispose(MIDIPortRef port) override;
  void MIDIClientDispose(MIDIClientRef client) override;

 private:
  struct Endpoint {
    MIDIEndpointRef ref = 0;
    MidiBackend* backend = nullptr;
    MidiSource source;
  };

  void look();
  [[nodiscard]] const Endpoint* find(MIDIEndpointRef source) const;
  [[nodiscard]] MidiBackend::Listener listener();

  const MidiBackends backends_;
  std::uint32_t lastRef_ = 0;  // of clients, ports and sources; none is used twice
  MIDIClientRef client_ = 0;
  MIDIPortRef port_ = 0;
  std::string clientName_;
  std::vector<Endpoint> endpoints_;  // of the last look

  Mutex mutex_;
  NotifyBlock notifyBlock_ VREL_GUARDED_BY(mutex_);
  ReadBlock readBlock_ VREL_GUARDED_BY(mutex_);
};

}  // namespace vrel::system
