// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace vrel::system {

/// What an INI text says, and whether all of it could be read.
struct IniContent {
  std::map<std::string, std::string> values;
  bool isDamaged = false;
};

/// Reads one `key=value` a line. Blank lines, comments and section headers say nothing; blanks around key and
/// value do not count. A line that can not be read is left out and marks the content as damaged; of
/// two lines with one key the last counts.
[[nodiscard]] IniContent readIni(std::string_view text);

/// The text that `readIni` turns into these values again, whatever characters they hold.
[[nodiscard]] std::string writeIni(const std::map<std::string, std::string>& values);

}  // namespace vrel::system
