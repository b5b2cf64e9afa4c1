// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/audio_hardware.h"

namespace vrel::simulation {

/// Audio devices defined by a test; records what is set, as lines like "device 2".
class SimulatedAudioHardware : public AudioHardware {
 public:
  struct Device {
    AudioObjectID id;
    std::vector<std::uint32_t> outputChannels;
    std::optional<std::string> uid;
    std::optional<std::string> name;
  };

  Result<std::vector<AudioObjectID>> devices() override {
    if (listFails) {
      return Error{"no list"};
    }
    std::vector<AudioObjectID> ids;
    for (const auto& device : list) {
      ids.push_back(device.id);
    }
    ids.insert(ids.end(), vanishing.begin(), vanishing.end());
    return ids;
  }

  Result<std::vector<std::uint32_t>> outputStreamChannels(AudioObjectID device) override {
    const auto* found = find(device);
    return found != nullptr ? Result(found->outputChannels) : Error{"gone"};
  }
  Result<std::string> deviceUID(AudioObjectID device) override { return text(device, &Device::uid); }
  Result<std::string> deviceName(AudioObjectID device) override { return text(device, &Device::name); }

  Result<AudioObjectID> defaultOutputDevice() override { return defaultDevice; }

  OSStatus setBufferFrameSize(AudioObjectID device, std::uint32_t frames) override {
    record.push_back("frames " + std::to_string(frames) + " on " + std::to_string(device));
    return frameSizeStatus;
  }
  OSStatus setCurrentOutputDevice(AudioObjectID device) override {
    record.push_back("device " + std::to_string(device));
    return deviceStatus;
  }

  std::vector<Device> list;
  std::vector<AudioObjectID> vanishing;  // still listed, but every query fails
  AudioObjectID defaultDevice = 0;
  bool listFails = false;
  OSStatus deviceStatus = 0;
  OSStatus frameSizeStatus = 0;
  std::vector<std::string> record;

 private:
  [[nodiscard]] const Device* find(AudioObjectID id) const {
    const auto found = std::find_if(list.begin(), list.end(), [id](const auto& each) { return each.id == id; });
    return found == list.end() ? nullptr : &*found;
  }
  [[nodiscard]] Result<std::string> text(AudioObjectID id, std::optional<std::string> Device::*field) const {
    const auto* device = find(id);
    return device != nullptr && device->*field ? Result(*(device->*field)) : Error{"no such property"};
  }
};

}  // namespace vrel::simulation
