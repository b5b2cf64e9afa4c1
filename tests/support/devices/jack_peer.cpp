// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/devices/jack_peer.h"

#include <gtest/gtest.h>
#include <jack/midiport.h>

#include <algorithm>

#include "support/devices/child_process.h"

namespace vrel::system::test {

Recorder::Recorder(const std::string& serverName, std::size_t mostFrames)
    : client_(joinServer("recorder", serverName)) {
  for (auto& channel : channels_) {
    channel.resize(mostFrames);
  }
  ports_[0] = jack_port_register(client_.get(), "in_1", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
  ports_[1] = jack_port_register(client_.get(), "in_2", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
  jack_set_process_callback(client_.get(), process, this);
  EXPECT_EQ(jack_activate(client_.get()), 0);
  EXPECT_EQ(jack_connect(client_.get(), "system:monitor_1", "recorder:in_1"), 0);
  EXPECT_EQ(jack_connect(client_.get(), "system:monitor_2", "recorder:in_2"), 0);
}

int Recorder::process(jack_nframes_t frames, void* recorder) {
  auto& self = *static_cast<Recorder*>(recorder);
  const std::size_t position = self.recorded_.load(std::memory_order_relaxed);
  const std::size_t count = std::min<std::size_t>(frames, self.channels_[0].size() - position);
  for (std::size_t channel = 0; channel < self.channels_.size(); ++channel) {
    const auto* const samples = static_cast<const float*>(jack_port_get_buffer(self.ports_[channel], frames));
    std::copy_n(samples, count, self.channels_[channel].data() + position);
  }
  self.recorded_.store(position + count, std::memory_order_release);
  return 0;
}

MidiPeer::MidiPeer(const std::string& serverName, const std::string& clientName)
    : client_(joinServer(clientName, serverName)) {
  jack_set_process_callback(client_.get(), process, this);
  EXPECT_EQ(jack_activate(client_.get()), 0);
}

void MidiPeer::addPort(const std::string& name) {
  auto* const port = jack_port_register(client_.get(), name.c_str(), JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
  ASSERT_NE(port, nullptr);
  port_ = port;
}

void MidiPeer::removePort() {
  passBlocks();  // so that its buffer is empty before the client stops clearing it
  ASSERT_EQ(jack_port_unregister(client_.get(), port_.exchange(nullptr)), 0);
}

void MidiPeer::send(const std::vector<Message>& messages) {
  passBlocks();
  sent_ = 0;
  pending_ = &messages;
  EXPECT_TRUE(eventually([this] { return pending_ == nullptr; })) << "JACK does not run the MIDI client";
}

void MidiPeer::passBlocks() const {
  const auto before = blocks_.load();
  EXPECT_TRUE(eventually([&] { return blocks_ - before > 3; })) << "JACK does not run the client";
}

bool MidiPeer::isLinked() const {
  return jack_port_connected(port_) > 0;
}

int MidiPeer::process(jack_nframes_t frames, void* peer) {
  auto& self = *static_cast<MidiPeer*>(peer);
  ++self.blocks_;
  auto* const port = self.port_.load();
  if (port == nullptr) {
    return 0;
  }
  void* const buffer = jack_port_get_buffer(port, frames);
  jack_midi_clear_buffer(buffer);
  const auto* const messages = self.pending_.load();
  if (messages == nullptr) {
    return 0;
  }
  for (std::size_t count = 0; count < self.mostInPeriod && self.sent_ < messages->size(); ++count, ++self.sent_) {
    const auto& message = (*messages)[self.sent_];
    jack_midi_event_write(buffer, static_cast<jack_nframes_t>(count * frames / self.mostInPeriod), message.data(),
                          message.size());
  }
  if (self.sent_ == messages->size()) {
    self.pending_ = nullptr;
  }
  return 0;
}

}  // namespace vrel::system::test
