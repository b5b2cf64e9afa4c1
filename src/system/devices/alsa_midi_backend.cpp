// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/alsa_midi_backend.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "system/devices/alsa_silence.h"

namespace vrel::system {
namespace {

constexpr const char* alsaKeyPrefix = "alsa:";

/// Checked first, since the library writes to the terminal when it is not there.
bool hasSequencer() {
  return ::access("/dev/snd/seq", R_OK | W_OK) == 0;
}

std::unique_ptr<RtMidiIn> makeReader(const std::string& clientName) {
  auto reader = std::make_unique<RtMidiIn>(RtMidi::LINUX_ALSA, clientName);
  reader->setErrorCallback([](RtMidiError::Type, const std::string&, void*) {}, nullptr);
  return reader;
}

}  // namespace

AlsaMidiBackend::~AlsaMidiBackend() {
  AlsaMidiBackend::end();
}

void AlsaMidiBackend::begin(const std::string& clientName, const std::string& portName, Listener listener) {
  silenceAlsa();
  clientName_ = clientName;
  portName_ = portName;
  listener_ = std::move(listener);
  {
    const MutexLock lock(mutex_);
    isEnding_ = false;
    known_ = listSources();
  }
  thread_ = std::thread([this] { watch(); });
}

void AlsaMidiBackend::end() {
  {
    const MutexLock lock(mutex_);
    isEnding_ = true;
  }
  ends_.notify_all();
  if (thread_.joinable()) {
    thread_.join();
  }
  const MutexLock lock(mutex_);
  readers_.clear();
  lister_.reset();
}

std::vector<MidiSource> AlsaMidiBackend::sources() {
  const MutexLock lock(mutex_);
  return listSources();
}

std::vector<MidiSource> AlsaMidiBackend::listSources() {
  std::vector<MidiSource> sources;
  try {
    if (!lister_ && hasSequencer()) {
      lister_ = makeReader(clientName_);
    }
    const unsigned count = lister_ ? lister_->getPortCount() : 0;
    for (unsigned port = 0; port < count; ++port) {
      if (const auto name = lister_->getPortName(port); !name.empty()) {
        sources.push_back({.key = alsaKeyPrefix + name, .name = name});
      }
    }
  } catch (const std::exception&) {
    lister_.reset();
  }
  return sources;
}

Outcome AlsaMidiBackend::connect(const std::string& key) {
  const MutexLock lock(mutex_);
  if (readers_.contains(key)) {
    return {};
  }
  const auto sources = listSources();
  const auto found =
      std::find_if(sources.begin(), sources.end(), [&](const auto& source) { return source.key == key; });
  if (found == sources.end()) {
    return Error{"no such source: " + key};
  }
  return openReader(key, static_cast<unsigned>(found - sources.begin()));
}

Outcome AlsaMidiBackend::openReader(const std::string& key, unsigned port) {
  const auto handOn = [](double, std::vector<unsigned char>* message, void* backend) {
    static_cast<AlsaMidiBackend*>(backend)->listener_.packet(*message);
  };
  try {
    auto reader = makeReader(clientName_);
    reader->ignoreTypes(false, false, false);
    reader->setCallback(handOn, this);
    reader->openPort(port, portName_);
    if (!reader->isPortOpen()) {
      return Error{"ALSA refused to connect " + key};
    }
    readers_.emplace(key, std::move(reader));
  } catch (const std::exception& failure) {
    return Error{failure.what()};
  }
  return {};
}

void AlsaMidiBackend::watch() {
  constexpr auto interval = std::chrono::milliseconds(250);
  MutexLock lock(mutex_);
  while (!ends_.wait_for(lock.native(), interval, [this]() VREL_REQUIRES(mutex_) { return isEnding_; })) {
    auto sources = listSources();
    if (sources == known_) {
      continue;
    }
    known_ = std::move(sources);
    std::erase_if(readers_, [this](const auto& reader) VREL_REQUIRES(mutex_) {
      return std::none_of(known_.begin(), known_.end(), [&](const auto& source) { return source.key == reader.first; });
    });
    lock.unlock();
    listener_.setupChanged();
    lock.lock();
  }
}

}  // namespace vrel::system
