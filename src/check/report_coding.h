// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "check/finding.h"
#include "foundation/result.h"

// The JSON form of a report, for other programs and for the console, which reads what a check in a process of its own
// prints. Its keys are in the manual page of vrel-render; keys may be added, but none changes its meaning. Any thread.

namespace vrel {

/// In one line, without a newline. Counts and English words of each finding are added for readers that only show them.
/// Text that is not UTF-8 is written with replacement characters.
[[nodiscard]] std::string encodeReport(const CheckReport& report);

/// The same report again; counts and words are not read. Unknown keys are skipped; a finding of an unknown kind, as a
/// newer program may print, is left out.
[[nodiscard]] Result<CheckReport> decodeReport(std::string_view bytes);

/// One page, as the process that plays a song hands it on.
[[nodiscard]] std::string encodePage(const SongPage& page);
[[nodiscard]] Result<SongPage> decodePage(std::string_view bytes);

}  // namespace vrel
