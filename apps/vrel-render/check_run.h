// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel::render {

struct Options;

/// Checks the setlist of `options` and prints the report: its songs one after the other, then all its files, each in a
/// process of its own. With `json` the progress is printed on standard error, a line at least every half minute.
/// Whether anything was found. Call before this process starts a thread.
[[nodiscard]] bool checkSetlistFile(const Options& options);

}  // namespace vrel::render
