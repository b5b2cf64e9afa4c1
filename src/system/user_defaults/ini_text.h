// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace vrel::system {

/// The values of an INI text, and whether all of it could be parsed.
struct IniContent {
  std::map<std::string, std::string> values;
  bool isDamaged = false;
};

/// Parses one `key=value` per line. Blank lines, comments, section headers and blanks around key and value are ignored.
/// A malformed line is skipped and marks the content as damaged; of two lines with the same key the last wins.
[[nodiscard]] IniContent readIni(std::string_view text);

/// The text from which `readIni` restores these values, with any characters.
[[nodiscard]] std::string writeIni(const std::map<std::string, std::string>& values);

}  // namespace vrel::system
