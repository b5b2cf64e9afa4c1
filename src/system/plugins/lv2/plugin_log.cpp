// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/plugin_log.h"

#include <array>
#include <cstdio>
#include <utility>

namespace vrel::lv2 {
namespace {

constinit thread_local bool insideBlock = false;

}  // namespace

InsideBlockScope::InsideBlockScope(bool isInside) noexcept : before_(std::exchange(insideBlock, isInside)) {}

InsideBlockScope::~InsideBlockScope() {
  insideBlock = before_;
}

PluginLog::PluginLog(std::string pluginName, const HostSettings& settings)
    : pluginName_(std::move(pluginName)),
      sink_(settings.log),
      counters_(settings.counters),
      feature_{this, &PluginLog::print, &PluginLog::printList} {}

void PluginLog::write(const std::string& text) const {
  if (insideBlock) {
    counters_->mutedLogLines.fetch_add(1, std::memory_order_relaxed);
  } else if (sink_) {
    sink_(pluginName_ + ": " + text);
  }
}

int PluginLog::print(LV2_Log_Handle self, LV2_URID type, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = printList(self, type, format, arguments);
  va_end(arguments);
  return result;
}

int PluginLog::printList(LV2_Log_Handle self, LV2_URID /*type*/, const char* format, va_list arguments) {
  const auto& log = *static_cast<const PluginLog*>(self);
  if (insideBlock) {
    log.counters_->mutedLogLines.fetch_add(1, std::memory_order_relaxed);
    return 0;
  }
  std::array<char, 1024> text{};
  const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
  std::string line = text.data();
  while (!line.empty() && line.back() == '\n') {
    line.pop_back();
  }
  if (!line.empty()) {
    log.write(line);
  }
  return length;
}

}  // namespace vrel::lv2
