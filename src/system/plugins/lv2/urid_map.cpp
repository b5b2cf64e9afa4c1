// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/urid_map.h"

namespace vrel::lv2 {

UridMap::UridMap()
    : mapFeature_{this,
                  [](LV2_URID_Map_Handle self, const char* uri) { return static_cast<UridMap*>(self)->map(uri); }},
      unmapFeature_{this, [](LV2_URID_Unmap_Handle self, LV2_URID urid) {
                      return static_cast<const UridMap*>(self)->unmap(urid);
                    }} {}

LV2_URID UridMap::map(std::string_view uri) {
  const MutexLock lock(mutex_);
  if (const auto known = urids_.find(uri); known != urids_.end()) {
    return known->second;
  }
  const std::string& stored = uris_.emplace_back(uri);
  const auto urid = static_cast<LV2_URID>(uris_.size());
  urids_.emplace(stored, urid);
  return urid;
}

const char* UridMap::unmap(LV2_URID urid) const {
  const MutexLock lock(mutex_);
  return urid == 0 || urid > uris_.size() ? nullptr : uris_[urid - 1].c_str();
}

}  // namespace vrel::lv2
