// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A stage of real processes: plug-ins of the zoo in guests of their own, played without a graph.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "system/dispatch/offline_main_loop.h"
#include "system/plugins/lv2/lv2_stage.h"
#include "system/plugins/sandbox/editor_service.h"
#include "system/plugins/sandbox/sandboxed_unit.h"
#include "system/plugins/sandbox/sandboxing_unit_factory.h"

namespace vrel::sandbox {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

class SandboxStage : public testing::Test {
 protected:
  explicit SandboxStage(GuestLink::Timeout timeout = std::nullopt, std::string helper = VREL_PLUGIN_HOST_PROGRAM,
                        bool isRealTime = false, lv2::Bundles bundles = lv2::Bundles::zoo,
                        std::chrono::milliseconds longestBlock = std::chrono::minutes(10), std::size_t mostParked = 0);
  ~SandboxStage() override;

  using Made = lv2::Stage::Made;

  /// A unit, once it is there; `makeLater` does not wait.
  [[nodiscard]] Made make(const std::string& uri, AudioComponentInstantiationOptions options =
                                                      AudioComponentInstantiationOptions::outOfProcess);
  [[nodiscard]] Made make(const AVAudioUnitComponent& component);
  [[nodiscard]] std::future<Made> makeLater(
      const std::string& uri,
      AudioComponentInstantiationOptions options = AudioComponentInstantiationOptions::outOfProcess);
  [[nodiscard]] std::shared_ptr<AVAudioUnit> rebel(const std::string& name = "kind") {
    return make("urn:vrel:zoo:rebel-" + name).unit;
  }

  [[nodiscard]] static int processOf(const std::shared_ptr<AVAudioUnit>& unit) {
    return dynamic_cast<SandboxedNode&>(*unit).processId();
  }
  [[nodiscard]] static GuestLink& linkOf(const std::shared_ptr<AVAudioUnit>& unit) {
    return dynamic_cast<SandboxedInstance&>(unit->auAudioUnit()).processor()->guest().link();
  }

  /// Its state, however long that takes.
  [[nodiscard]] static std::optional<PropertyListDictionary> stateOf(const std::shared_ptr<AVAudioUnit>& unit);

  /// The deaths reported on the main queue so far, by process.
  [[nodiscard]] const std::vector<int>& deaths() {
    mainLoop_.runPending();
    return deaths_;
  }

  [[nodiscard]] std::vector<std::string> lines() const;
  [[nodiscard]] bool hasLogged(const std::string& part) const;

  [[nodiscard]] PluginCounters& counters() { return *settings_.counters; }

  /// What this process has of guests, to be compared before and after.
  [[nodiscard]] std::size_t guestCount() const { return supervisor_->processCount(); }
  [[nodiscard]] std::size_t parkedCount() const { return supervisor_->parkedCount(); }

  [[nodiscard]] std::future<Made> makeLater(const AudioComponentDescription& codes,
                                            AudioComponentInstantiationOptions options);

  lv2::Stage inProcess_;
  system::OfflineClock clock_;
  system::OfflineMainLoop mainLoop_{clock_};
  std::unique_ptr<SandboxingUnitFactory> factory_;
  std::shared_ptr<EditorService> editors_;

 private:
  struct Lines {
    std::mutex mutex;
    std::vector<std::string> all;
  };

  std::shared_ptr<Lines> lines_ = std::make_shared<Lines>();
  SandboxSettings settings_;
  std::shared_ptr<Supervisor> supervisor_;
  std::vector<int> deaths_;
};

/// Plays a unit with a deadline for each block, as a device would.
class DeadlinePlayer {
 public:
  explicit DeadlinePlayer(const std::shared_ptr<AVAudioUnit>& unit)
      : instrument_(std::dynamic_pointer_cast<AVAudioUnitMIDIInstrument>(unit)),
        processor_(dynamic_cast<audio::GraphNode&>(*unit).processor()) {}

  /// One block of 128 frames whose wait ends `wait` from now; none waits as long as the guest lives.
  lv2::Sound block(std::optional<std::chrono::microseconds> wait);

  void key(std::uint8_t note, std::uint8_t velocity = 64) { instrument_->sendMIDIEvent(0x90, note, velocity); }

 private:
  std::shared_ptr<AVAudioUnitMIDIInstrument> instrument_;
  std::shared_ptr<audio::NodeProcessor> processor_;
};

/// What the rebel plays at this velocity.
inline lv2::Sound constant(int velocity) {
  const float level = static_cast<float>(velocity) / 128.0F;
  return {std::vector<float>(128, level), std::vector<float>(128, level)};
}

/// The keys that cause faults; see the rebel in the zoo.
namespace fault_key {
inline constexpr std::uint8_t hangForever = 1;
inline constexpr std::uint8_t writeToNothing = 2;
inline constexpr std::uint8_t leaveTheProgram = 3;
inline constexpr std::uint8_t writeBehindTheBuffer = 4;
inline constexpr std::uint8_t writeBeforeTheBuffer = 5;
inline constexpr std::uint8_t notANumber = 6;
inline constexpr std::uint8_t infinite = 7;
inline constexpr std::uint8_t denormal = 8;
inline constexpr std::uint8_t sleepTwoBlocks = 9;
inline constexpr std::uint8_t sleepLong = 10;
inline constexpr std::uint8_t askForTooMuchWork = 11;
inline constexpr std::uint8_t startDaemon = 13;
inline constexpr std::uint8_t allocateWithoutEnd = 14;
inline constexpr std::uint8_t printMuch = 15;
}  // namespace fault_key

}  // namespace vrel::sandbox
