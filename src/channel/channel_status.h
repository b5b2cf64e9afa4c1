// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

#include "foundation/enum_texts.h"

namespace vrel {

/// What a strip's instrument is doing.
enum class ChannelStatus {
  noPlugin,  // at first, and after an unload
  loading,
  loadFailed,
  running,  // an instrument, an audio file or video clips are in place
  crashed,
};

inline constexpr EnumTexts<ChannelStatus, 5> channelStatusTexts = {{
    {ChannelStatus::noPlugin, "No plugin"},
    {ChannelStatus::loading, "Loading..."},
    {ChannelStatus::loadFailed, "Load failed"},
    {ChannelStatus::running, "RUNNING"},
    {ChannelStatus::crashed, "CRASHED"},
}};
static_assert(isComplete(channelStatusTexts));

/// The untranslated text, as it is logged.
[[nodiscard]] constexpr std::string_view statusText(ChannelStatus status) {
  return textOf(channelStatusTexts, status);
}

}  // namespace vrel
