// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/system_audio_hardware.h"

#include <algorithm>
#include <utility>

namespace vrel::system {

void SystemAudioHardware::look() {
  hasLooked_ = true;
  devices_.clear();
  for (const auto& backend : backends_) {
    auto found = backend->devices();
    const auto isOutput = [](const auto& device) { return device.outputChannels > 0; };
    if (std::none_of(found.begin(), found.end(), isOutput)) {
      continue;
    }
    for (auto& description : found) {
      auto uid = backend->uidPrefix() + ":" + description.name;
      const auto id = ids_.try_emplace(uid, static_cast<AudioObjectID>(ids_.size() + 1)).first->second;
      devices_.push_back({backend.get(), std::move(description), std::move(uid), id});
    }
    return;
  }
}

void SystemAudioHardware::lookOnce() {
  if (!hasLooked_) {
    look();
  }
}

const SystemAudioHardware::Device* SystemAudioHardware::find(AudioObjectID id) {
  lookOnce();
  const auto found = std::find_if(devices_.begin(), devices_.end(), [&](const auto& each) { return each.id == id; });
  return found == devices_.end() ? nullptr : &*found;
}

const SystemAudioHardware::Device* SystemAudioHardware::findByUID(const std::string& uid) const {
  const auto found = std::find_if(devices_.begin(), devices_.end(), [&](const auto& each) { return each.uid == uid; });
  return found == devices_.end() ? nullptr : &*found;
}

const SystemAudioHardware::Device* SystemAudioHardware::findDefault() const {
  const auto find = [this](auto&& matches) {
    const auto found = std::find_if(devices_.begin(), devices_.end(), matches);
    return found == devices_.end() ? nullptr : &*found;
  };
  const auto* const named = find([](const Device& device) { return device.description.isDefaultOutput; });
  return named != nullptr ? named : find([](const Device& device) { return device.description.outputChannels > 0; });
}

Result<std::vector<AudioObjectID>> SystemAudioHardware::devices() {
  look();
  std::vector<AudioObjectID> ids;
  for (const auto& device : devices_) {
    ids.push_back(device.id);
  }
  return ids;
}

Result<std::vector<std::uint32_t>> SystemAudioHardware::outputStreamChannels(AudioObjectID device) {
  const auto* const found = find(device);
  if (found == nullptr) {
    return Error{"no such audio device"};
  }
  const auto channels = found->description.outputChannels;
  return channels == 0 ? std::vector<std::uint32_t>() : std::vector<std::uint32_t>{channels};
}

Result<std::string> SystemAudioHardware::deviceUID(AudioObjectID device) {
  const auto* const found = find(device);
  return found != nullptr ? Result(found->uid) : Error{"no such audio device"};
}

Result<std::string> SystemAudioHardware::deviceName(AudioObjectID device) {
  const auto* const found = find(device);
  return found != nullptr ? Result(found->description.title) : Error{"no such audio device"};
}

Result<AudioObjectID> SystemAudioHardware::defaultOutputDevice() {
  lookOnce();
  const auto* const found = findDefault();
  return found != nullptr ? found->id : AudioObjectID{0};
}

OSStatus SystemAudioHardware::setBufferFrameSize(AudioObjectID device, std::uint32_t frames) {
  const auto* const found = find(device);
  if (found == nullptr) {
    return badObject;
  }
  if (frames == 0 || frames > mostFrames) {
    return illegalOperation;
  }
  frames_.insert_or_assign(found->uid, frames);
  return 0;
}

OSStatus SystemAudioHardware::setCurrentOutputDevice(AudioObjectID device) {
  const auto* const found = find(device);
  if (found == nullptr || found->description.outputChannels == 0) {
    return badObject;
  }
  currentUID_ = found->uid;
  return 0;
}

OutputChoice SystemAudioHardware::choice() const {
  OutputChoice choice{.deviceUID = currentUID_, .frames = std::nullopt};
  const auto* const defaultDevice = currentUID_ ? nullptr : findDefault();
  const auto frames = frames_.find(currentUID_ ? *currentUID_ : defaultDevice != nullptr ? defaultDevice->uid : "");
  if (frames != frames_.end()) {
    choice.frames = frames->second;
  }
  return choice;
}

Result<SystemAudioHardware::Opened> SystemAudioHardware::open(const OutputChoice& choice) {
  look();
  const auto* const device = choice.deviceUID ? findByUID(*choice.deviceUID) : findDefault();
  if (device == nullptr) {
    return Error{choice.deviceUID ? "no audio output device " + *choice.deviceUID : "no audio output device found"};
  }
  auto stream = device->backend->open(device->description.name, choice.frames);
  if (!stream) {
    return Error{"no audio output device " + device->uid + ": " + stream.error().description};
  }
  return Opened{std::move(stream).value(), device->uid, device->description.title};
}

}  // namespace vrel::system
