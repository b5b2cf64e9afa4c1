// SPDX-License-Identifier: GPL-3.0-or-later
#include "check/finding.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace vrel {
namespace {

constexpr bool areKindsInOrder() {
  for (std::size_t index = 0; index < findingKinds.size(); ++index) {
    if (static_cast<std::size_t>(findingKinds.at(index).kind) != index) {
      return false;
    }
  }
  return true;
}
static_assert(areKindsInOrder(), "a kind of finding is at the index of its case");

// A stage computer does more than this check, and a block that ends at the last moment is late on another day.
constexpr double heavyShare = 0.6;
constexpr double silentPeak = 1e-5;     // -100 dB
constexpr double longLoadSeconds = 10;  // within the timeout of a song switch, but a pause on stage
constexpr double decibelsPerDecade = 20;

double shareOfWorst(const SongPage& page) {
  return page.played ? page.played->worstShare : 0;
}

}  // namespace

FindingCounts countsOf(const std::vector<Finding>& findings) {
  FindingCounts counts;
  for (const auto& finding : findings) {
    ++(severityOf(finding.kind) == FindingSeverity::error ? counts.errors : counts.warnings);
  }
  return counts;
}

FindingCounts countsOf(const CheckReport& report) {
  FindingCounts counts = countsOf(report.findings);
  for (const auto& page : report.pages) {
    const FindingCounts ofPage = countsOf(page.findings);
    counts.errors += ofPage.errors;
    counts.warnings += ofPage.warnings;
  }
  return counts;
}

void sortWorstFirst(CheckReport& report) {
  const auto isWorse = [](const Finding& a, const Finding& b) { return severityOf(a.kind) > severityOf(b.kind); };
  std::stable_sort(report.findings.begin(), report.findings.end(), isWorse);
  for (auto& page : report.pages) {
    std::stable_sort(page.findings.begin(), page.findings.end(), isWorse);
  }
  std::stable_sort(report.pages.begin(), report.pages.end(), [](const SongPage& a, const SongPage& b) {
    const FindingCounts ofA = countsOf(a.findings);
    const FindingCounts ofB = countsOf(b.findings);
    return std::tuple(ofA.errors, ofA.warnings, shareOfWorst(a)) >
           std::tuple(ofB.errors, ofB.warnings, shareOfWorst(b));
  });
}

std::vector<Finding> findingsOf(const PlayedSong& played) {
  std::vector<Finding> findings;
  if (played.peak > 1) {
    findings.push_back({.kind = FindingKind::clips, .value = decibelsPerDecade * std::log10(played.peak)});
  }
  if (played.peak < silentPeak) {
    findings.push_back({.kind = FindingKind::silentWhenPlayed});
  }
  if (played.medianShare >= 1) {
    findings.push_back({.kind = FindingKind::overloaded, .value = played.medianShare});
  } else if (played.medianShare >= heavyShare) {
    findings.push_back({.kind = FindingKind::heavy, .value = played.medianShare});
  }
  if (played.loadSeconds > longLoadSeconds) {
    findings.push_back({.kind = FindingKind::slowLoad, .value = played.loadSeconds});
  }
  return findings;
}

}  // namespace vrel
