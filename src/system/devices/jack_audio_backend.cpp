// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/jack_audio_backend.h"

#include <jack/jack.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <iterator>

#include "system/devices/bounded_call.h"
#include "system/devices/jack_client.h"
#include "system/devices/jack_midi_inlet.h"

namespace vrel::system {
namespace {

constexpr const char* audioType = JACK_DEFAULT_AUDIO_TYPE;
constexpr const char* midiPortName = "VRELMIDIInputPort";
constexpr std::chrono::seconds longestList{2};

std::vector<AudioDeviceDescription> listDevices(jack_client_t* client) {
  std::vector<AudioDeviceDescription> devices;
  // A port that takes sound in is an output of the machine.
  for (const bool isOutput : {true, false}) {
    const auto flags = (isOutput ? JackPortIsInput : JackPortIsOutput) | JackPortIsPhysical;
    for (const auto& port : jackPorts(client, audioType, static_cast<unsigned long>(flags))) {
      const auto name = jackPortOwner(port);
      auto device = std::find_if(devices.begin(), devices.end(), [&](const auto& each) { return each.name == name; });
      if (device == devices.end()) {
        devices.push_back({.name = name, .title = "JACK: " + name, .isDefaultOutput = isOutput && devices.empty()});
        device = std::prev(devices.end());
      }
      device->outputChannels += isOutput ? 1 : 0;
    }
  }
  return devices;
}

/// Two ports of a client of its own, linked to the device's first two, and one for MIDI.
class JackStream final : public OutputStream {
 public:
  JackStream(std::string deviceName, std::shared_ptr<JackMidiInlet> inlet)
      : deviceName_(std::move(deviceName)), inlet_(std::move(inlet)), midi_(inlet_ ? inlet_->makePort() : nullptr) {}
  ~JackStream() override {
    stop();
    if (midi_) {
      midi_->close();
    }
  }
  JackStream(const JackStream&) = delete;
  JackStream& operator=(const JackStream&) = delete;

  [[nodiscard]] Outcome open(const std::string& serverName);

  [[nodiscard]] double sampleRate() const override { return sampleRate_; }
  [[nodiscard]] std::uint32_t blockFrames() const override { return blockFrames_.load(std::memory_order_relaxed); }
  [[nodiscard]] bool changeBlockFrames(std::uint32_t frames) override;
  [[nodiscard]] Outcome start(audio::BlockRenderer& renderer) override;
  void stop() override;
  [[nodiscard]] std::optional<std::string> lossReason() const override;
  [[nodiscard]] std::uint64_t underruns() const override { return underruns_.load(std::memory_order_relaxed); }
  [[nodiscard]] std::optional<std::string> systemDefault() override;

 private:
  [[nodiscard]] bool registerAll(jack_client_t* client);
  [[nodiscard]] bool link(jack_client_t* client) const;

  // Called by JACK, from its threads.
  static int process(jack_nframes_t frames, void* stream);
  static int countUnderrun(void* stream);
  static int noticeSampleRate(jack_nframes_t rate, void* stream);
  static void noticePorts(jack_port_id_t port, int isRegistered, void* stream);

  const std::string deviceName_;
  const std::shared_ptr<JackMidiInlet> inlet_;
  const std::shared_ptr<JackMidiPort> midi_;  // null where no MIDI is taken in
  double sampleRate_ = 0;
  std::atomic<std::uint32_t> blockFrames_{0};  // of the last block
  std::array<jack_port_t*, 2> ports_{};
  audio::BlockRenderer* renderer_ = nullptr;  // written while JACK asks for no blocks
  bool isActive_ = false;
  std::atomic<bool> isRateChanged_{false};
  std::atomic<bool> havePortsChanged_{false};
  std::atomic<bool> hasDeviceGone_{false};
  std::atomic<std::uint64_t> underruns_{0};
  std::unique_ptr<JackClient> client_;  // last: its threads use the above
};

Outcome JackStream::open(const std::string& serverName) {
  client_ = JackClient::open("vrel", serverName, {.process = process, .owner = this});
  if (!client_) {
    return Error{"no JACK server is running"};
  }
  bool isRegistered = false;
  client_->use([&](jack_client_t* client) {
    sampleRate_ = jack_get_sample_rate(client);
    blockFrames_ = jack_get_buffer_size(client);
    isRegistered = registerAll(client);
  });
  return isRegistered ? Outcome() : Error{"JACK refused to register the ports"};
}

bool JackStream::registerAll(jack_client_t* client) {
  constexpr std::array<const char*, 2> names = {"left", "right"};
  for (std::size_t channel = 0; channel < ports_.size(); ++channel) {
    ports_[channel] = jack_port_register(client, names[channel], audioType, JackPortIsOutput | JackPortIsTerminal, 0);
  }
  return ports_[0] != nullptr && ports_[1] != nullptr &&
         (midi_ == nullptr || midi_->registerAt(client, midiPortName)) &&
         jack_set_xrun_callback(client, countUnderrun, this) == 0 &&
         jack_set_sample_rate_callback(client, noticeSampleRate, this) == 0 &&
         jack_set_port_registration_callback(client, noticePorts, this) == 0;
}

bool JackStream::changeBlockFrames(std::uint32_t frames) {
  // A server that refuses plays on with its own size, which is better than not to play.
  client_->use([&](jack_client_t* client) {
    if (jack_get_buffer_size(client) != frames) {
      jack_set_buffer_size(client, frames);
      blockFrames_ = jack_get_buffer_size(client);
    }
  });
  return true;
}

Outcome JackStream::start(audio::BlockRenderer& renderer) {
  renderer_ = &renderer;
  if (!client_->activate()) {
    return Error{"JACK refused to activate the client"};
  }
  isActive_ = true;
  bool isLinked = false;
  client_->use([&](jack_client_t* client) { isLinked = link(client); });
  if (!isLinked) {
    stop();
    return Error{"JACK refused to connect to " + deviceName_};
  }
  if (midi_) {
    midi_->setPlaying(true);
  }
  return {};
}

bool JackStream::link(jack_client_t* client) const {
  auto inputs = jackPorts(client, audioType, JackPortIsInput | JackPortIsPhysical);
  std::erase_if(inputs, [this](const std::string& port) { return jackPortOwner(port) != deviceName_; });
  if (inputs.empty()) {
    return false;
  }
  for (std::size_t channel = 0; channel < ports_.size(); ++channel) {
    // A single loudspeaker gets both channels.
    const auto& input = inputs[std::min(channel, inputs.size() - 1)];
    if (jack_connect(client, jack_port_name(ports_[channel]), input.c_str()) != 0) {
      return false;
    }
  }
  return true;
}

void JackStream::stop() {
  if (std::exchange(isActive_, false)) {
    if (midi_) {
      midi_->setPlaying(false);
      if (!client_->isServerGone()) {
        midi_->waitUntilLeft();
      }
    }
    client_->deactivate();
  }
}

std::optional<std::string> JackStream::lossReason() const {
  if (client_->isServerGone()) {
    return "the JACK server was shut down";
  }
  if (hasDeviceGone_) {
    return "it is not there any more";
  }
  return isRateChanged_ ? std::optional<std::string>("its sample rate has changed") : std::nullopt;
}

std::optional<std::string> JackStream::systemDefault() {
  std::vector<AudioDeviceDescription> devices;
  client_->use([&](jack_client_t* client) {
    devices = listDevices(client);
    // Links that a person has taken away stay so; those that went with the device's ports do not come back by
    // themselves.
    if (havePortsChanged_.exchange(false) && jack_port_connected(ports_[0]) == 0) {
      hasDeviceGone_ = true;
    }
  });
  return defaultOutput(devices);
}

int JackStream::process(jack_nframes_t frames, void* stream) {
  auto& self = *static_cast<JackStream*>(stream);
  self.blockFrames_.store(frames, std::memory_order_relaxed);
  auto* const left = static_cast<float*>(jack_port_get_buffer(self.ports_[0], frames));
  auto* const right = static_cast<float*>(jack_port_get_buffer(self.ports_[1], frames));
  if (self.midi_ == nullptr) {
    self.renderer_->render(left, right, frames);
    return 0;
  }
  const AudioThreadScope audioThread;
  self.renderer_->renderWithEvents(left, right, frames, self.midi_->read(frames));
  self.midi_->handOn();
  return 0;
}

int JackStream::countUnderrun(void* stream) {
  static_cast<JackStream*>(stream)->underruns_.fetch_add(1, std::memory_order_relaxed);
  return 0;
}

int JackStream::noticeSampleRate(jack_nframes_t rate, void* stream) {
  auto& self = *static_cast<JackStream*>(stream);
  if (static_cast<double>(rate) != self.sampleRate_) {
    self.isRateChanged_ = true;
  }
  return 0;
}

void JackStream::noticePorts(jack_port_id_t /*port*/, int isRegistered, void* stream) {
  if (isRegistered == 0) {
    static_cast<JackStream*>(stream)->havePortsChanged_ = true;
  }
}

}  // namespace

std::vector<AudioDeviceDescription> JackAudioBackend::devices() {
  if (listed_.use_count() > 1) {
    return {};  // the call that hangs is not to be joined by another one
  }
  listed_ = std::make_shared<std::vector<AudioDeviceDescription>>();
  const auto list = [devices = listed_, serverName = serverName_] {
    if (const auto client = JackClient::open("vrel-list", serverName, {})) {
      client->use([&](jack_client_t* library) { *devices = listDevices(library); });
    }
  };
  return endsWithin(longestList, list) ? *listed_ : std::vector<AudioDeviceDescription>();
}

Result<std::unique_ptr<OutputStream>> JackAudioBackend::open(const std::string& deviceName,
                                                             std::optional<std::uint32_t> frames) {
  auto stream = std::make_unique<JackStream>(deviceName, inlet_);
  if (Outcome failure = stream->open(serverName_)) {
    return *failure;
  }
  if (frames) {
    static_cast<void>(stream->changeBlockFrames(*frames));
  }
  return std::unique_ptr<OutputStream>(std::move(stream));
}

}  // namespace vrel::system
