// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/log/log.h>

#include <cstdarg>
#include <memory>
#include <string>

#include "system/plugins/lv2/host_settings.h"
#include "system/plugins/plugin_counters.h"

namespace vrel::lv2 {

/// Marks this thread as being inside a plug-in's block, or not, for the time of its life.
class InsideBlockScope {
 public:
  explicit InsideBlockScope(bool isInside) noexcept;
  ~InsideBlockScope();
  InsideBlockScope(const InsideBlockScope&) = delete;
  InsideBlockScope& operator=(const InsideBlockScope&) = delete;

 private:
  bool before_;
};

/// The log of one plug-in. What the plug-in writes inside a block is counted and dropped, since no
/// sink may be reached from there; all else goes to the sink, one line at a time.
class PluginLog {
 public:
  PluginLog(std::string pluginName, const HostSettings& settings);
  PluginLog(const PluginLog&) = delete;
  PluginLog& operator=(const PluginLog&) = delete;

  /// A line of the host's own about this plug-in.
  void write(const std::string& text) const;

  [[nodiscard]] LV2_Log_Log* feature() { return &feature_; }

 private:
  static int print(LV2_Log_Handle self, LV2_URID type, const char* format, ...) __attribute__((format(printf, 3, 4)));
  static int printList(LV2_Log_Handle self, LV2_URID type, const char* format, va_list arguments)
      __attribute__((format(printf, 3, 0)));

  std::string pluginName_;
  HostSettings::LogSink sink_;
  std::shared_ptr<PluginCounters> counters_;
  LV2_Log_Log feature_;
};

}  // namespace vrel::lv2
