// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <RtMidi.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "foundation/mutex.h"
#include "system/devices/midi_backend.h"

namespace vrel::system {

/// The ports of ALSA's sequencer, by RtMidi: one reader for each source, whose thread waits for its packets and
/// calls the listener itself. Another thread compares the list of ports four times a second. On a kernel without the
/// sequencer there are no sources, and when it appears they are noticed.
class AlsaMidiBackend final : public MidiBackend {
 public:
  AlsaMidiBackend() = default;
  ~AlsaMidiBackend() override;
  AlsaMidiBackend(const AlsaMidiBackend&) = delete;
  AlsaMidiBackend& operator=(const AlsaMidiBackend&) = delete;

  void begin(const std::string& clientName, const std::string& portName, Listener listener) override;
  void end() override;
  [[nodiscard]] std::vector<MidiSource> sources() override;
  [[nodiscard]] bool canBeBridged() const override { return true; }
  [[nodiscard]] Outcome connect(const std::string& key) override;

 private:
  void watch();
  [[nodiscard]] std::vector<MidiSource> listSources() VREL_REQUIRES(mutex_);
  [[nodiscard]] Outcome openReader(const std::string& key, unsigned port) VREL_REQUIRES(mutex_);

  std::string clientName_;
  std::string portName_;
  Listener listener_;

  Mutex mutex_;
  std::condition_variable ends_;
  bool isEnding_ VREL_GUARDED_BY(mutex_) = false;
  std::unique_ptr<RtMidiIn> lister_ VREL_GUARDED_BY(mutex_);                          // null without a sequencer
  std::map<std::string, std::unique_ptr<RtMidiIn>> readers_ VREL_GUARDED_BY(mutex_);  // by key
  std::vector<MidiSource> known_ VREL_GUARDED_BY(mutex_);
  std::thread thread_;
};

}  // namespace vrel::system
