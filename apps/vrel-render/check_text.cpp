// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/check_text.h"

#include <cstddef>

#include "check/finding_words.h"
#include "vrel-render/summary.h"

namespace vrel::render {
namespace {

std::string counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string countText(const FindingCounts& counts) {
  return counts.all() == 0 ? "no findings"
                           : counted(counts.errors, "error") + ", " + counted(counts.warnings, "warning");
}

void addFindings(std::vector<std::string>& lines, const std::vector<Finding>& findings) {
  for (const auto& finding : findings) {
    const bool isError = severityOf(finding.kind) == FindingSeverity::error;
    const std::string strip =
        finding.strip ? "strip " + std::to_string(finding.strip->index + 1) + " \"" + finding.strip->name + "\": " : "";
    lines.push_back(oneLine((isError ? "  error: " : "  warning: ") + strip + findingText(finding, Language::english) +
                            ". " + findingAdvice(finding.kind, Language::english)));
  }
}

}  // namespace

std::vector<std::string> checkLines(const CheckReport& report) {
  std::vector<std::string> lines{oneLine(report.setlist) + ": " + counted(report.pages.size(), "song") + ", " +
                                 countText(countsOf(report))};
  addFindings(lines, report.findings);
  for (const auto& page : report.pages) {
    lines.push_back(oneLine("song " + std::to_string(page.song + 1) + " \"" + page.name + "\": ") +
                    countText(countsOf(page.findings)));
    addFindings(lines, page.findings);
    if (page.played) {
      lines.push_back("  " + playedText(*page.played, Language::english));
    }
  }
  return lines;
}

}  // namespace vrel::render
