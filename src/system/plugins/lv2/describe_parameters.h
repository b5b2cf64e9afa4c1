// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lilv/lilv.h>

#include <optional>
#include <string>

#include "platform/audio_parameters.h"
#include "system/plugins/lv2/plugin_description.h"

namespace vrel::lv2 {

/// What the data of a plug-in says about its controls, for people: every control port but those that the host sets, and
/// behind them its parameters without a port (describe_properties.h). An address is a port's number. World thread.
///
/// Damaged data is mended: bounds that contradict themselves become 0 to 1, a default outside of them is brought in,
/// and a control without a name has its symbol. One that lacks a bound is unbounded.
[[nodiscard]] AUParameterTree describeParameters(LilvWorld* world, const LilvPlugin* plugin,
                                                 const PluginDescription& description, double sampleRate);

/// Sets the bounds and the default as the data gives them; its kind must be known.
void setBounds(AUParameter& parameter, std::optional<float> minimum, std::optional<float> maximum,
               std::optional<float> defaultValue);

/// What is written behind a number in this unit; empty for a unit without a symbol. World thread.
[[nodiscard]] std::string unitName(LilvWorld* world, const LilvNode* unit);

}  // namespace vrel::lv2
