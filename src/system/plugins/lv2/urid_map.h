// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/urid/urid.h>

#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/mutex.h"

namespace vrel::lv2 {

/// The numbers of the URIs in this process: one map for all plug-ins of a world.
///
/// Any thread; takes a lock, so it is not for the host's own code in a block. Numbers begin at 1, are
/// given in the order of asking, and are never taken back.
class UridMap {
 public:
  UridMap();
  UridMap(const UridMap&) = delete;
  UridMap& operator=(const UridMap&) = delete;

  /// The number of `uri`; a new one if it has none yet.
  [[nodiscard]] LV2_URID map(std::string_view uri);

  /// The URI behind a number, null for a number never given. Stays valid as long as the map.
  [[nodiscard]] const char* unmap(LV2_URID urid) const;

  /// The two features as plug-ins get them.
  [[nodiscard]] LV2_URID_Map* mapFeature() { return &mapFeature_; }
  [[nodiscard]] LV2_URID_Unmap* unmapFeature() { return &unmapFeature_; }

 private:
  mutable Mutex mutex_;
  std::deque<std::string> uris_ VREL_GUARDED_BY(mutex_);  // never moves its elements, so plug-ins may keep the pointers
  std::unordered_map<std::string_view, LV2_URID> urids_ VREL_GUARDED_BY(mutex_);
  LV2_URID_Map mapFeature_;
  LV2_URID_Unmap unmapFeature_;
};

}  // namespace vrel::lv2
