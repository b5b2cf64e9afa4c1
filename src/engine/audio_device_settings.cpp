// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/audio_device_settings.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "document/collation.h"
#include "engine/graph_mutator.h"
#include "platform/audio_engine.h"
#include "platform/console_output.h"

namespace vrel {

std::optional<AudioOutputDevice> AudioDeviceSettings::describe(AudioObjectID device) {
  const auto streams = hardware_.outputStreamChannels(device);
  if (!streams || std::accumulate(streams.value().begin(), streams.value().end(), std::uint64_t{0}) == 0) {
    return std::nullopt;
  }
  auto uid = hardware_.deviceUID(device);
  if (!uid || uid.value().empty()) {
    return std::nullopt;
  }
  auto name = hardware_.deviceName(device);
  if (!name || name.value().empty()) {
    return std::nullopt;
  }
  return AudioOutputDevice{device, std::move(uid).value(), std::move(name).value()};
}

std::vector<AudioOutputDevice> AudioDeviceSettings::availableOutputDevices() {
  const auto ids = hardware_.devices();
  if (!ids) {
    return {};
  }
  std::vector<AudioOutputDevice> devices;
  for (const auto id : ids.value()) {
    if (auto device = describe(id)) {
      devices.push_back(std::move(*device));
    }
  }
  std::stable_sort(devices.begin(), devices.end(), [locale = userLocale()](const auto& a, const auto& b) {
    return collationKey(a.name, locale) < collationKey(b.name, locale);
  });
  return devices;
}

std::optional<AudioOutputDevice> AudioDeviceSettings::choose(const std::optional<std::string>& deviceUID) {
  const auto devices = availableOutputDevices();
  const auto find = [&](auto&& matches) -> std::optional<AudioOutputDevice> {
    const auto found = std::find_if(devices.begin(), devices.end(), matches);
    return found == devices.end() ? std::nullopt : std::optional(*found);
  };
  if (deviceUID) {
    if (auto saved = find([&](const auto& device) { return device.uid == *deviceUID; })) {
      return saved;
    }
  }
  const auto systemDefault = hardware_.defaultOutputDevice();
  if (!systemDefault || systemDefault.value() == 0) {
    return std::nullopt;
  }
  return find([&](const auto& device) { return device.id == systemDefault.value(); });
}

void AudioDeviceSettings::applyAudioSettings(std::uint32_t frameSize, const std::optional<std::string>& deviceUID,
                                             const std::function<void()>& prepareOutputGraph) {
  hardware_.preferOutputDevice(deviceUID);
  const auto device = choose(deviceUID);
  const bool wasRunning = engine_.isRunning();
  if (wasRunning) {
    engine_.stop();
  }
  if (device) {
    if (const auto status = hardware_.setCurrentOutputDevice(device->id); status != 0) {
      console_.print("Failed to set audio output device: " + std::to_string(status));
    }
    if (const auto status = hardware_.setBufferFrameSize(device->id, frameSize); status != 0) {
      console_.print("Failed to set audio I/O buffer frame size: " + std::to_string(status));
    }
  }
  if (!wasRunning) {
    return;
  }
  restart(prepareOutputGraph);
}

void AudioDeviceSettings::followDevice(const std::function<void()>& prepareOutputGraph) {
  if (engine_.isRunning()) {
    engine_.stop();
    restart(prepareOutputGraph);
  }
}

void AudioDeviceSettings::restart(const std::function<void()>& prepareOutputGraph) {
  prepareOutputGraph();
  if (const auto& error = mutator_.startEngine()) {
    console_.print("AVAudioEngine restart failed after audio settings change: " + error->description);
  }
}

}  // namespace vrel
