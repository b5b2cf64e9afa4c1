// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/summary.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace vrel::render {
namespace {

std::string songLine(const std::vector<std::string>& names) {
  if (names.empty()) {
    return "Played no song: the setlist is empty";
  }
  std::string line = names.size() == 1 ? "Played 1 song:" : "Played " + std::to_string(names.size()) + " songs:";
  for (std::size_t index = 0; index < names.size(); ++index) {
    line += (index == 0 ? " \"" : ", \"") + names[index] + "\"";
  }
  return line;
}

std::string soundLine(const Summary& summary) {
  std::ostringstream line;
  line << "Sound: " << summary.outPath.value_or("not written") << ", " << std::fixed << std::setprecision(2)
       << static_cast<double>(summary.rendered.frames) / summary.rate << " s at " << summary.rate << " Hz, ";
  if (summary.rendered.peak > 0) {
    line << "peak " << std::setprecision(1) << 20 * std::log10(summary.rendered.peak) << " dBFS";
  } else {
    line << "silent";
  }
  return line.str();
}

}  // namespace

std::string oneLine(std::string text) {
  const auto isControl = [](char character) {
    return static_cast<unsigned char>(character) < 0x20 || character == '\x7F';
  };
  std::replace_if(text.begin(), text.end(), isControl, '?');
  return text;
}

std::vector<std::string> summaryLines(const Summary& summary) {
  std::vector<std::string> lines = {songLine(summary.songNames), soundLine(summary)};
  if (summary.problems.empty()) {
    lines.emplace_back("Problems: none");
  } else {
    lines.push_back("Problems: " + std::to_string(summary.problems.size()));
    for (const auto& problem : summary.problems) {
      lines.push_back("  " + problem);
    }
  }
  std::transform(lines.begin(), lines.end(), lines.begin(), oneLine);
  return lines;
}

}  // namespace vrel::render
