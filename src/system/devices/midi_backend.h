// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "foundation/result.h"
#include "platform/midi_service.h"
#include "system/audio/device_event.h"

namespace vrel::audio {
class TimedEvents;
}

namespace vrel::system {

class JackMidiInlet;

/// A place that MIDI comes from. `key` is, among all backends, its own for as long as it lives.
struct MidiSource {
  std::string key;
  std::string name;        // for people
  bool isBridged = false;  // shows what another backend shows, too

  bool operator==(const MidiSource&) const = default;
};

/// One way to the machine's MIDI sources. Main thread; it calls on threads of its own.
class MidiBackend {
 public:
  struct Listener {
    std::function<void(const audio::PlayedPacket&)> packet;
    std::function<void()> setupChanged;
  };

  virtual ~MidiBackend() = default;

  /// Appears under these names to others, and begins to call the listener. Once. A way that leads nowhere
  /// yet is tried again and again.
  virtual void begin(const std::string& clientName, const std::string& portName, Listener listener) = 0;

  /// Once it has returned, the listener is not called any more.
  virtual void end() = 0;

  /// Those of this moment; none where the system does not answer, until `setupChanged`.
  [[nodiscard]] virtual std::vector<MidiSource> sources() = 0;

  /// Whether another backend may show the same sources as "bridged".
  [[nodiscard]] virtual bool canBeBridged() const { return false; }

  /// Packets that were dropped because nobody took them in time. Any thread.
  [[nodiscard]] virtual std::uint64_t dropped() const { return 0; }

  /// Reads this source, too. Nothing when it is read already.
  [[nodiscard]] virtual Outcome connect(const std::string& key) = 0;

  /// Reads no source any more, until `connect`.
  virtual void disconnect() {}
};

using MidiBackends = std::vector<std::unique_ptr<MidiBackend>>;

/// The paths from the backends to the blocks of the device, so that instruments are played at the frame of each
/// message. Where one is null the main thread routes what would take it.
struct MidiInlets {
  std::shared_ptr<JackMidiInlet> jack{};        // shared with the audio backends
  std::shared_ptr<audio::TimedEvents> timed{};  // shared with the output
};

/// JACK and ALSA. Neither is started. Without a name, JACK's server is the one that is usual for the user.
[[nodiscard]] MidiBackends makeMidiBackends(const std::string& jackServerName = {}, MidiInlets inlets = {});

}  // namespace vrel::system
