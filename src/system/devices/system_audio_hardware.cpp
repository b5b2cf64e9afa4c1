// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/system_audio_hardware.h"

#include <algorithm>
#include <utility>

namespace vrel::system {

std::vector<SystemAudioHardware::Device> SystemAudioHardware::list(AudioBackend& backend) {
  std::vector<Device> devices;
  for (auto& description : ask(backend)) {
    auto uid = backend.uidPrefix() + ":" + description.name;
    const auto id = ids_.try_emplace(uid, static_cast<AudioObjectID>(ids_.size() + 1)).first->second;
    {
      const MutexLock lock(settingsMutex_);
      names_[uid] = description.title;
    }
    devices.push_back({&backend, std::move(description), std::move(uid), id});
  }
  return devices;
}

std::vector<AudioDeviceDescription> SystemAudioHardware::ask(AudioBackend& backend) const {
  return isAvoided(backend) ? std::vector<AudioDeviceDescription>() : backend.devices();
}

void SystemAudioHardware::avoid(const std::string& deviceUID, const std::weak_ptr<const void>& life) {
  const AudioBackend* const backend = backendOf(deviceUID);
  if (backend != nullptr && backend->isServer()) {
    const MutexLock lock(settingsMutex_);
    hung_[backend] = life;
  }
}

bool SystemAudioHardware::isAvoided(const std::string& deviceUID) const {
  const AudioBackend* const backend = backendOf(deviceUID);
  return backend != nullptr && isAvoided(*backend);
}

bool SystemAudioHardware::isAvoided(const AudioBackend& backend) const {
  const MutexLock lock(settingsMutex_);
  const auto found = hung_.find(&backend);
  return found != hung_.end() && !found->second.expired();
}

void SystemAudioHardware::look() {
  hasLooked_ = true;
  devices_.clear();
  for (const auto& backend : backends_) {
    auto found = list(*backend);
    const auto isOutput = [](const Device& device) { return device.description.outputChannels > 0; };
    if (std::any_of(found.begin(), found.end(), isOutput)) {
      devices_ = std::move(found);
      return;
    }
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
  std::vector<AudioDeviceDescription> descriptions;
  for (const auto& device : devices_) {
    descriptions.push_back(device.description);
  }
  const auto name = defaultOutput(descriptions);
  return name ? findByUID(devices_.front().backend->uidPrefix() + ":" + *name) : nullptr;
}

Result<std::vector<AudioObjectID>> SystemAudioHardware::devices() {
  const MutexLock lock(lookMutex_);
  look();
  std::vector<AudioObjectID> ids;
  for (const auto& device : devices_) {
    ids.push_back(device.id);
  }
  return ids;
}

Result<std::vector<std::uint32_t>> SystemAudioHardware::outputStreamChannels(AudioObjectID device) {
  const MutexLock lock(lookMutex_);
  const auto* const found = find(device);
  if (found == nullptr) {
    return Error{"no such audio device"};
  }
  const auto channels = found->description.outputChannels;
  return channels == 0 ? std::vector<std::uint32_t>() : std::vector<std::uint32_t>{channels};
}

Result<std::string> SystemAudioHardware::deviceUID(AudioObjectID device) {
  const MutexLock lock(lookMutex_);
  const auto* const found = find(device);
  return found != nullptr ? Result(found->uid) : Error{"no such audio device"};
}

Result<std::string> SystemAudioHardware::deviceName(AudioObjectID device) {
  const MutexLock lock(lookMutex_);
  const auto* const found = find(device);
  return found != nullptr ? Result(found->description.title) : Error{"no such audio device"};
}

Result<AudioObjectID> SystemAudioHardware::defaultOutputDevice() {
  const MutexLock lock(lookMutex_);
  lookOnce();
  const auto* const found = findDefault();
  return found != nullptr ? found->id : AudioObjectID{0};
}

OSStatus SystemAudioHardware::setBufferFrameSize(AudioObjectID device, std::uint32_t frames) {
  const MutexLock look(lookMutex_);
  const auto* const found = find(device);
  if (found == nullptr) {
    return badObject;
  }
  if (frames == 0 || frames > mostFrames) {
    return illegalOperation;
  }
  const MutexLock lock(settingsMutex_);
  frames_.insert_or_assign(found->uid, frames);
  ++revision_;
  return 0;
}

OSStatus SystemAudioHardware::setCurrentOutputDevice(AudioObjectID device) {
  const MutexLock look(lookMutex_);
  const auto* const found = find(device);
  if (found == nullptr || found->description.outputChannels == 0) {
    return badObject;
  }
  const MutexLock lock(settingsMutex_);
  currentUID_ = found->uid;
  ++revision_;
  return 0;
}

void SystemAudioHardware::preferOutputDevice(const std::optional<std::string>& deviceUID) {
  const MutexLock lock(settingsMutex_);
  preferredUID_ = deviceUID;
  ++revision_;
}

OutputChoice SystemAudioHardware::choice() const {
  const MutexLock lock(settingsMutex_);
  return {.deviceUID = currentUID_, .revision = revision_};
}

std::optional<std::uint32_t> SystemAudioHardware::blockFrames(const std::string& deviceUID) const {
  const MutexLock lock(settingsMutex_);
  const auto found = frames_.find(deviceUID);
  return found == frames_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> SystemAudioHardware::preferred() const {
  const MutexLock lock(settingsMutex_);
  return preferredUID_;
}

Result<SystemAudioHardware::Opened> SystemAudioHardware::open(const Device& device) const {
  auto stream = device.backend->open(device.description.name, blockFrames(device.uid));
  if (!stream) {
    return Error{"No audio output device " + device.uid + ": " + stream.error().description};
  }
  return Opened{std::move(stream).value(), device.uid, device.description.title};
}

Result<SystemAudioHardware::Opened> SystemAudioHardware::open(const OutputChoice& choice) {
  const MutexLock lock(lookMutex_);
  look();
  const auto* const device = choice.deviceUID ? findByUID(*choice.deviceUID) : findDefault();
  if (device == nullptr) {
    return Error{choice.deviceUID ? "No audio output device " + *choice.deviceUID : "No audio output device found"};
  }
  return open(*device);
}

AudioBackend* SystemAudioHardware::backendOf(const std::string& uid) const {
  const auto found = std::find_if(backends_.begin(), backends_.end(),
                                  [&](const auto& backend) { return uid.starts_with(backend->uidPrefix() + ":"); });
  return found == backends_.end() ? nullptr : found->get();
}

std::optional<SystemAudioHardware::Opened> SystemAudioHardware::openWhenThere(AudioBackend& backend,
                                                                              const std::string& uid) {
  for (const auto& device : list(backend)) {
    if (device.uid == uid && device.description.outputChannels > 0) {
      auto opened = open(device);
      return opened ? std::optional(std::move(opened).value()) : std::nullopt;
    }
  }
  return std::nullopt;
}

std::optional<SystemAudioHardware::Opened> SystemAudioHardware::openDefault(AudioBackend* backend) {
  for (const auto& each : backends_) {
    if (backend != nullptr && backend != each.get()) {
      continue;
    }
    const auto devices = ask(*each);
    if (const auto name = defaultOutput(devices)) {
      return openWhenThere(*each, each->uidPrefix() + ":" + *name);
    }
  }
  return std::nullopt;
}

std::optional<SystemAudioHardware::Opened> SystemAudioHardware::lookFor(const Present& present) {
  const auto preferredUID = preferred();
  if (present.isHung && preferredUID.value_or(present.deviceUID) == present.deviceUID) {
    return std::nullopt;
  }
  const bool isLost = present.stream == nullptr;
  std::optional<std::string> systemDefault;
  if (!isLost && !present.isHung) {
    systemDefault = present.stream->systemDefault();
  }
  const MutexLock lock(lookMutex_);
  AudioBackend* const backend = backendOf(present.deviceUID);
  if (preferredUID && (isLost || *preferredUID != present.deviceUID)) {
    AudioBackend* const wanted = backendOf(*preferredUID);
    if (wanted != nullptr && (isLost || wanted->mayHaveChanged())) {
      if (auto opened = openWhenThere(*wanted, *preferredUID)) {
        return opened;
      }
    }
  }
  if (isLost && preferredUID && backend != nullptr) {
    return *preferredUID == present.deviceUID ? std::nullopt : openWhenThere(*backend, present.deviceUID);
  }
  if (isLost) {
    return openDefault(backend);
  }
  if (preferredUID || !systemDefault || backend == nullptr) {
    return std::nullopt;
  }
  const auto uid = backend->uidPrefix() + ":" + *systemDefault;
  return uid == present.deviceUID ? std::nullopt : openWhenThere(*backend, uid);
}

std::string SystemAudioHardware::awaitedName(const std::string& presentUID) const {
  const MutexLock lock(settingsMutex_);
  const auto& uid = preferredUID_.value_or(presentUID);
  const auto found = names_.find(uid);
  return found == names_.end() ? uid : found->second;
}

}  // namespace vrel::system
