// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "foundation/mutex.h"
#include "system/devices/held_keys.h"
#include "system/devices/midi_backend.h"

namespace vrel::system {

/// The ports of ALSA's sequencer: one client with one port, to which all sources are linked.
///
/// A source is its sequencer address and the number of its appearance there, so one that leaves and comes back is a new
/// one, whatever its name. The sequencer announces who comes and goes. On a kernel without the sequencer there are no
/// sources; it is looked for twice a second. Where the sequencer has lost messages, whatever keys and pedals are held
/// by then are released: it does not say what was among them.
///
/// Threads: the reader waits for packets and announcements and calls the listener; the rest on the main thread.
class AlsaMidiBackend final : public MidiBackend {
 public:
  /// With `timed`, instruments get each message on the audio thread, by the time that the sequencer has stamped on it.
  explicit AlsaMidiBackend(std::shared_ptr<audio::TimedEvents> timed = nullptr);
  ~AlsaMidiBackend() override;
  AlsaMidiBackend(const AlsaMidiBackend&) = delete;
  AlsaMidiBackend& operator=(const AlsaMidiBackend&) = delete;

  void begin(const std::string& clientName, const std::string& portName, Listener listener) override;
  void end() override;
  [[nodiscard]] std::vector<MidiSource> sources() override;
  [[nodiscard]] bool canBeBridged() const override { return true; }
  [[nodiscard]] Outcome connect(const std::string& key) override;
  void disconnect() override;

  /// One for each time that the sequencer or the blocks' queue had no room, however many events each of them cost.
  [[nodiscard]] std::uint64_t dropped() const override;

 private:
  class Sequencer;

  /// What has come since the last read.
  struct News {
    std::vector<audio::PlayedPacket> packets;
    bool isSetupChanged = false;
  };

  /// Client and port.
  struct Address {
    int client = 0;
    int port = 0;
    auto operator<=>(const Address&) const = default;
  };

  void serve();
  /// False when the sequencer is broken.
  [[nodiscard]] bool wait();
  [[nodiscard]] News read();
  [[nodiscard]] News abandon();

  [[nodiscard]] audio::PlayedPacket giveToBlocks(std::vector<std::uint8_t> bytes, std::int64_t time) const;
  [[nodiscard]] bool open() VREL_REQUIRES(mutex_);
  void noteAnnouncement(int type, const Address& address, News& news) VREL_REQUIRES(mutex_);
  void release(News& news) VREL_REQUIRES(mutex_);
  [[nodiscard]] std::string keyOf(const Address& address) const VREL_REQUIRES(mutex_);

  const std::shared_ptr<audio::TimedEvents> timed_;
  std::string clientName_;
  std::string portName_;
  Listener listener_;
  std::atomic<bool> isEnding_{false};
  std::atomic<std::uint64_t> overruns_{0};
  int wakeDescriptor_ = -1;

  Mutex mutex_;                                                      // never held while waiting
  std::unique_ptr<Sequencer> sequencer_ VREL_GUARDED_BY(mutex_);     // null without one
  std::map<Address, unsigned> appearances_ VREL_GUARDED_BY(mutex_);  // of ports at an address
  std::map<Address, std::string> linked_ VREL_GUARDED_BY(mutex_);    // keys of the sources that are read
  HeldKeys held_ VREL_GUARDED_BY(mutex_);
  std::thread thread_;
};

}  // namespace vrel::system
