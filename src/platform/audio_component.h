// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vrel {

/// Identifies a plug-in by three codes. In a search a field of zero matches anything.
struct AudioComponentDescription {
  std::uint32_t componentType = 0;
  std::uint32_t componentSubType = 0;
  std::uint32_t componentManufacturer = 0;

  bool operator==(const AudioComponentDescription&) const = default;
};

/// The four component types in use, as their four-character codes.
inline constexpr std::uint32_t componentTypeMusicDevice = 0x61756D75;  // 'aumu'
inline constexpr std::uint32_t componentTypeGenerator = 0x6175676E;    // 'augn'
inline constexpr std::uint32_t componentTypeEffect = 0x61756678;       // 'aufx'
inline constexpr std::uint32_t componentTypeMusicEffect = 0x61756D66;  // 'aumf'

/// One installed plug-in, as the scan found it. None of its code has run.
struct AVAudioUnitComponent {
  std::string name;
  std::string manufacturerName;
  AudioComponentDescription audioComponentDescription;

  bool operator==(const AVAudioUnitComponent&) const = default;
};

/// The installed plug-ins. Main thread.
class AVAudioUnitComponentManager {
 public:
  virtual ~AVAudioUnitComponentManager() = default;

  /// Whether all of them are known; until then there are no components.
  [[nodiscard]] virtual bool isComplete() const { return true; }

  /// Calls `handler`, on any thread, when they are; while they are not.
  virtual void whenComplete(std::function<void()> handler) { handler(); }

  /// All components that match, in the platform's order. May be empty.
  [[nodiscard]] virtual std::vector<AVAudioUnitComponent> componentsMatchingDescription(
      const AudioComponentDescription& description) = 0;
};

}  // namespace vrel
