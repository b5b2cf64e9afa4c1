// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "document/plugin_names.h"

namespace vrel {

/// A line of the log as a performer reads it: with the names of plug-ins in place of their codes and URIs. One that
/// nothing knows is "a plug-in", and of any other URI the last part is left.
[[nodiscard]] std::string problemText(std::string_view line, const KnownPlugins& known);

}  // namespace vrel
