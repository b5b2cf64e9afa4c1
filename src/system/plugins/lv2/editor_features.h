// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/core/lv2.h>
#include <lv2/data-access/data-access.h>
#include <lv2/instance-access/instance-access.h>
#include <lv2/log/log.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace vrel::lv2 {

/// Editors with windows of their own: their class, and what they get of their host. The old name is of both.
inline constexpr const char* externalEditorClass = "http://kxstudio.sf.net/ns/lv2ext/external-ui#Widget";
inline constexpr const char* externalEditorHost = "http://kxstudio.sf.net/ns/lv2ext/external-ui#Host";
inline constexpr const char* externalEditorOld = LV2_UI_PREFIX "external";

/// What an editor may require of its host. Some are properties, or interfaces of its own, which data lists among them.
inline constexpr std::array<std::string_view, 19> editorFeatures{
    LV2_URID__map,
    LV2_URID__unmap,
    LV2_OPTIONS__options,
    LV2_LOG__log,
    LV2_UI__parent,
    LV2_UI__resize,
    LV2_UI__portMap,
    LV2_UI__portSubscribe,
    LV2_UI__touch,
    LV2_UI__requestValue,
    LV2_UI__idleInterface,
    LV2_UI__showInterface,
    externalEditorHost,
    externalEditorOld,
    LV2_UI__fixedSize,
    LV2_UI__noUserResize,
    LV2_CORE__isLive,
    LV2_UI_PREFIX "makeResident",
    LV2_UI_PREFIX "makeSONameResident",
};

[[nodiscard]] constexpr bool isEditorFeature(std::string_view uri) {
  return std::find(editorFeatures.begin(), editorFeatures.end(), uri) != editorFeatures.end();
}

/// Whether it is the plug-in's own memory, which only an editor in the plug-in's process can be given.
[[nodiscard]] constexpr bool isAccessToInstance(std::string_view uri) {
  return uri == LV2_INSTANCE_ACCESS_URI || uri == LV2_DATA_ACCESS_URI;
}

}  // namespace vrel::lv2
