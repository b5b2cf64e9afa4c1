// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "check/finding.h"

namespace vrel::render {

/// The report as it is printed for people: a page for each song, worst first, in the order of the report.
[[nodiscard]] std::vector<std::string> checkLines(const CheckReport& report);

}  // namespace vrel::render
