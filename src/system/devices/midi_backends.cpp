// SPDX-License-Identifier: GPL-3.0-or-later
#include <utility>

#include "system/devices/alsa_midi_backend.h"
#include "system/devices/jack_midi_backend.h"
#include "system/devices/midi_backend.h"

namespace vrel::system {

MidiBackends makeMidiBackends(const std::string& jackServerName, MidiInlets inlets) {
  MidiBackends backends;
  backends.push_back(std::make_unique<JackMidiBackend>(jackServerName, std::move(inlets.jack)));
  backends.push_back(std::make_unique<AlsaMidiBackend>(std::move(inlets.timed)));
  return backends;
}

}  // namespace vrel::system
