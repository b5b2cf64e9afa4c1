// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/core/lv2.h>
#include <lv2/options/options.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "system/plugins/lv2/host_settings.h"
#include "system/plugins/lv2/plugin_description.h"
#include "system/plugins/lv2/plugin_log.h"
#include "system/plugins/lv2/plugin_worker.h"
#include "system/plugins/lv2/state_files.h"
#include "system/plugins/lv2/urid_map.h"

namespace vrel::lv2 {

/// The features that one plug-in is offered, in the form the plug-in interface wants them. Must live
/// as long as the plug-in, at one address.
class HostFeatures {
 public:
  HostFeatures(UridMap& urids, const HostSettings& settings, double sampleRate, PluginLog& log, PluginWorker& worker,
               StateFiles& files);
  HostFeatures(const HostFeatures&) = delete;
  HostFeatures& operator=(const HostFeatures&) = delete;

  /// For instantiation, and for saving and restoring a state; ended by a null pointer.
  [[nodiscard]] const LV2_Feature* const* list() const { return list_.data(); }

  /// The first feature that the plug-in requires and that is not offered here.
  [[nodiscard]] std::optional<std::string> firstMissing(const PluginDescription& description) const;

 private:
  void offer(const char* uri, void* data = nullptr) { features_.push_back({uri, data}); }

  float sampleRate_;
  std::int32_t minimumBlockFrames_ = 0;  // a restored state is run through once with no frames
  std::int32_t maximumBlockFrames_;
  std::int32_t nominalBlockFrames_;
  std::int32_t sequenceBytes_;
  std::vector<LV2_Options_Option> options_;
  std::vector<LV2_Feature> features_;
  std::vector<const LV2_Feature*> list_;
};

}  // namespace vrel::lv2
