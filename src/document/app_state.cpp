// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/app_state.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

#include "document/component_scan.h"
#include "document/recent_files_coding.h"
#include "foundation/enum_texts.h"
#include "platform/console_output.h"
#include "platform/dispatch.h"
#include "platform/file_manager.h"
#include "platform/user_defaults.h"

namespace vrel {
namespace {

const std::string blendModeKey = "vrel.visual.blendMode";
const std::string backgroundVideoKey = "vrel.visual.backgroundVideoPath";
const std::string frameSizeKey = "vrel.audio.ioBufferFrameSize";
const std::string outputDeviceKey = "vrel.audio.outputDeviceUID";
const std::string favouritePluginsKey = "vrel.plugins.favourites";
const std::string recentPluginsKey = "vrel.plugins.recent";

// Five paths of the longest kind take less than a tenth of it.
constexpr std::uintmax_t mostRecentFilesBytes = std::uintmax_t{1} << 20U;

constexpr double loadingTimeoutSeconds = 30.0;

constexpr EnumTexts<VisualBlendMode, 4> blendModeTexts = {{
    {VisualBlendMode::multiply, "multiply"},
    {VisualBlendMode::screen, "screen"},
    {VisualBlendMode::plusLighter, "plusLighter"},
    {VisualBlendMode::normal, "normal"},
}};
static_assert(isComplete(blendModeTexts));

std::uint32_t allowedFrameSize(std::int64_t stored) {
  const auto& allowed = AppState::allowedFrameSizes;
  const auto* found = std::find(allowed.begin(), allowed.end(), stored);
  return found != allowed.end() ? *found : AppState::defaultFrameSize;
}

void writeText(NSUserDefaults& defaults, const std::string& key, const std::optional<std::string>& text) {
  if (text && !text->empty()) {
    defaults.setString(key, *text);
  } else {
    defaults.removeObjectForKey(key);
  }
}

// Keys of plug-ins hold no space.
std::vector<std::string> keysOf(const std::optional<std::string>& stored) {
  std::istringstream text(stored.value_or(""));
  return {std::istream_iterator<std::string>(text), {}};
}

std::string storedKeys(const std::vector<std::string>& keys) {
  std::string text;
  for (const auto& key : keys) {
    text += (text.empty() ? "" : " ") + key;
  }
  return text;
}

}  // namespace

std::string storedText(VisualBlendMode mode) {
  return std::string(textOf(blendModeTexts, mode));
}

std::optional<VisualBlendMode> visualBlendModeFromStoredText(const std::string& text) {
  return caseOf(blendModeTexts, text);
}

AppState::AppState(const Collaborators& collaborators, std::filesystem::path recentPath)
    : recentFilesPath(std::move(recentPath)),
      defaults_(collaborators.defaults),
      components_(collaborators.components),
      mainQueue_(collaborators.mainQueue),
      console_(collaborators.console),
      files_(collaborators.files),
      recentListQueue_(collaborators.queues != nullptr ? collaborators.queues->makeSerialQueue("vrel.recent.list")
                                                       : nullptr) {
  readDefaults();
  writeDefaultsThrough();
  loadRecentFiles();
  findPlugins();
}

AppState::~AppState() {
  if (recentListQueue_ != nullptr) {
    recentListQueue_->sync([] {});
  }
}

void AppState::findPlugins() {
  if (components_.isComplete()) {
    scanPlugins();
    return;
  }
  isLookingForPlugins.set(true);
  components_.whenComplete([this, life = life_.watch(), &queue = mainQueue_] {
    queue.async([this, life] {
      if (life.isAlive()) {
        scanPlugins();
        isLookingForPlugins.set(false);
      }
    });
  });
}

void AppState::readDefaults() {
  const auto blendMode = defaults_.stringForKey(blendModeKey);
  visualBlendMode.set(blendMode ? visualBlendModeFromStoredText(*blendMode).value_or(VisualBlendMode::plusLighter)
                                : VisualBlendMode::plusLighter);
  visualBackgroundVideoPath.set(defaults_.stringForKey(backgroundVideoKey));
  audioIOBufferFrameSize.set(allowedFrameSize(defaults_.integerForKey(frameSizeKey)));
  audioOutputDeviceUID.set(defaults_.stringForKey(outputDeviceKey));
  favouritePlugins.set(keysOf(defaults_.stringForKey(favouritePluginsKey)));
  recentPlugins.set(keysOf(defaults_.stringForKey(recentPluginsKey)));
}

void AppState::writeDefaultsThrough() {
  visualBlendMode.setEffect([this] { defaults_.setString(blendModeKey, storedText(visualBlendMode.get())); });
  visualBackgroundVideoPath.setEffect(
      [this] { writeText(defaults_, backgroundVideoKey, visualBackgroundVideoPath.get()); });
  audioIOBufferFrameSize.setEffect([this] { defaults_.setInteger(frameSizeKey, audioIOBufferFrameSize.get()); });
  audioOutputDeviceUID.setEffect([this] { writeText(defaults_, outputDeviceKey, audioOutputDeviceUID.get()); });
  favouritePlugins.setEffect([this] { writeText(defaults_, favouritePluginsKey, storedKeys(favouritePlugins.get())); });
  recentPlugins.setEffect([this] { writeText(defaults_, recentPluginsKey, storedKeys(recentPlugins.get())); });
}

void AppState::scanPlugins() {
  scannedPlugins.set(scanInstrumentComponents(components_));
  scannedAudioEffectPlugins.set(scanAudioEffectPlugins());
}

std::vector<AVAudioUnitComponent> AppState::scanAudioEffectPlugins() {
  return scanAudioEffectComponents(components_);
}

void AppState::beginLoadingSession(int count, const std::string& message) {
  if (count <= 0) {
    return;
  }
  const auto token = Uuid::fresh();
  loadingSessionToken.set(token);
  loadingMessage.set(message);
  totalLoadsCount.set(count);
  remainingLoadsCount.set(count);
  showLoadingModal.set(true);
  mainQueue_.asyncAfter(loadingTimeoutSeconds, [this, life = life_.watch(), token] {
    if (life.isAlive()) {
      loadingSessionTimedOut(token);
    }
  });
}

void AppState::loadingSessionTimedOut(const Uuid& token) {
  if (loadingSessionToken.get() != token || !showLoadingModal.get()) {
    return;
  }
  console_.print("Audio unit loading timed out after 30 seconds");
  finishLoadingSession();
}

void AppState::completeOneLoad() {
  remainingLoadsCount.set(std::max(remainingLoadsCount.get() - 1, 0));
  if (remainingLoadsCount.get() == 0) {
    finishLoadingSession();
  }
}

void AppState::finishLoadingSession() {
  loadingSessionToken.set(Uuid::fresh());
  showLoadingModal.set(false);
  loadingMessage.set("");
  remainingLoadsCount.set(0);
  totalLoadsCount.set(0);
}

void AppState::noteActivity(std::uint8_t note, bool isOn) {
  auto notes = pressedNotes.get();
  if (isOn) {
    notes.insert(note);
  } else {
    notes.erase(note);
  }
  pressedNotes.set(std::move(notes));
}

void AppState::performanceControl(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
  constexpr float largestData = 127.0F;
  constexpr int bendCentre = 8192;
  const float proportion = static_cast<float>(data2) / largestData;
  if ((status & 0xF0) == 0xE0) {
    const int bend = int{data2} * 128 + int{data1} - bendCentre;
    pitchBendValue.set(std::clamp(static_cast<float>(bend) / static_cast<float>(bendCentre), -1.0F, 1.0F));
    return;
  }
  if ((status & 0xF0) != 0xB0) {
    return;
  }
  if (data1 == 64) {
    sustainPedalValue.set(proportion);
  } else if (data1 == 11) {
    expressionValue.set(proportion);
  } else if (data1 == 1) {
    modulationValue.set(proportion);
  }
}

void AppState::resetPerformanceValues() {
  sustainPedalValue.set(0);
  expressionValue.set(0);
  modulationValue.set(0);
  pitchBendValue.set(0);
}

void AppState::loadRecentFiles() {
  if (!files_.fileExists(recentFilesPath)) {
    return;
  }
  const auto bytes = files_.contents(recentFilesPath, mostRecentFilesBytes);
  const auto entries = bytes ? decodeRecentFiles(bytes.value()) : bytes.error();
  std::vector<std::filesystem::path> existing;
  if (!entries) {
    console_.print("Failed to load recent files: " + entries.error().description);
  } else {
    for (const auto& path : entries.value()) {
      const bool isListed = std::find(existing.begin(), existing.end(), path) != existing.end();
      if (!isListed && existing.size() < mostRecentFiles && files_.fileExists(path)) {
        existing.push_back(path);
      }
    }
  }
  recentFiles.set(std::move(existing));
}

void AppState::saveRecentFiles() {
  const auto write = [this, bytes = encodeRecentFiles(recentFiles.get())] {
    if (const Outcome failure = bytes ? files_.write(recentFilesPath, bytes.value()) : bytes.error()) {
      console_.print("Failed to save recent files: " + failure->description);
    }
  };
  if (recentListQueue_ != nullptr) {
    recentListQueue_->async(write);
  } else {
    write();
  }
}

void AppState::addRecentFile(const std::filesystem::path& path) {
  auto paths = recentFiles.get();
  paths.erase(std::remove(paths.begin(), paths.end(), path), paths.end());
  paths.insert(paths.begin(), path);
  paths.resize(std::min(paths.size(), mostRecentFiles));
  recentFiles.set(std::move(paths));
  saveRecentFiles();
}

void AppState::clearRecentFiles() {
  recentFiles.set({});
  saveRecentFiles();
}

}  // namespace vrel
