// SPDX-License-Identifier: GPL-3.0-or-later
#include "check/report_coding.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <type_traits>
#include <utility>

#include "check/finding_words.h"
#include "document/json_tree.h"
#include "document/midi_control_kinds.h"

namespace vrel {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr int reportVersion = 1;

/// As the lists of a setlist name it, or the field of its own: "projection_blackout" of "projection_blackout_control".
constexpr std::string_view nameOf(const MidiControlTraits& kind) {
  constexpr std::string_view ending = "_control";
  return kind.ownField.empty() ? kind.text : kind.ownField.substr(0, kind.ownField.size() - ending.size());
}

std::string_view severityName(FindingSeverity severity) {
  return severity == FindingSeverity::error ? "error" : "warning";
}

double finite(double value) {
  return std::isfinite(value) ? value : 0;
}

ordered_json encodeTarget(const MidiControlTarget& target) {
  ordered_json object = ordered_json::object();
  object["kind"] = nameOf(traitsOf(target.kind));
  if (target.channelIndex) {
    object["strip"] = *target.channelIndex;
  }
  return object;
}

ordered_json encodeFinding(const Finding& finding) {
  ordered_json object{{"kind", traitsOf(finding.kind).name}, {"severity", severityName(severityOf(finding.kind))}};
  if (finding.strip) {
    object["strip"] = finding.strip->index;
    object["strip_name"] = finding.strip->name;
  }
  if (!finding.subject.empty()) {
    object["subject"] = finding.subject;
  }
  if (finding.value != 0) {
    object["value"] = finite(finding.value);
  }
  if (!finding.reason.empty()) {
    object["reason"] = finding.reason;
  }
  for (const auto& target : finding.targets) {
    object["targets"].push_back(encodeTarget(target));
  }
  if (!finding.pluginControls.empty()) {
    object["plugin_controls"] = finding.pluginControls;
  }
  object["text"] = findingText(finding, Language::english);
  object["advice"] = findingAdvice(finding.kind, Language::english);
  return object;
}

ordered_json encodeFindings(const std::vector<Finding>& findings) {
  ordered_json array = ordered_json::array();
  for (const auto& finding : findings) {
    array.push_back(encodeFinding(finding));
  }
  return array;
}

ordered_json pageObject(const SongPage& page) {
  ordered_json object{{"song", page.song}, {"name", page.name}};
  if (page.played) {
    object["played"] = {{"load_seconds", finite(page.played->loadSeconds)},
                        {"median_share", finite(page.played->medianShare)},
                        {"worst_share", finite(page.played->worstShare)},
                        {"peak", finite(page.played->peak)},
                        {"memory_bytes", page.played->memoryBytes}};
  }
  object["findings"] = encodeFindings(page.findings);
  return object;
}

std::string textOf(const ordered_json& object) {
  return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

// A value of another type counts as missing.
template <typename Value>
Value valueIn(const json& object, const char* key, Value missing) {
  const auto found = object.find(key);
  if (found == object.end()) {
    return missing;
  }
  if constexpr (std::is_same_v<Value, std::string>) {
    return found->is_string() ? found->template get<std::string>() : missing;
  } else if constexpr (std::is_floating_point_v<Value>) {
    return found->is_number() ? found->template get<Value>() : missing;
  } else {
    return found->is_number_unsigned() ? static_cast<Value>(found->template get<std::uint64_t>()) : missing;
  }
}

const json& arrayIn(const json& object, const char* key) {
  static const json empty = json::array();
  const auto found = object.find(key);
  return found != object.end() && found->is_array() ? *found : empty;
}

std::optional<MidiControlTarget> decodeTarget(const json& object) {
  if (!object.is_object()) {
    return std::nullopt;
  }
  const auto name = valueIn(object, "kind", std::string());
  const auto* const kind = std::find_if(midiControlKinds.begin(), midiControlKinds.end(),
                                        [&](const auto& row) { return nameOf(row) == name; });
  if (kind == midiControlKinds.end()) {
    return std::nullopt;
  }
  MidiControlTarget target{kind->kind, {}};
  if (const auto strip = object.find("strip"); strip != object.end() && strip->is_number_integer()) {
    target.channelIndex = strip->get<std::int64_t>();
  }
  return target;
}

std::optional<Finding> decodeFinding(const json& object) {
  if (!object.is_object()) {
    return std::nullopt;
  }
  const auto name = valueIn(object, "kind", std::string());
  const auto traits =
      std::find_if(findingKinds.begin(), findingKinds.end(), [&](const auto& row) { return row.name == name; });
  if (traits == findingKinds.end()) {
    return std::nullopt;
  }
  Finding finding{.kind = traits->kind,
                  .subject = valueIn(object, "subject", std::string()),
                  .value = valueIn(object, "value", 0.0),
                  .reason = valueIn(object, "reason", std::string())};
  if (object.contains("strip")) {
    finding.strip =
        FindingStrip{valueIn(object, "strip", std::size_t{0}), valueIn(object, "strip_name", std::string())};
  }
  for (const auto& target : arrayIn(object, "targets")) {
    if (const auto decoded = decodeTarget(target)) {
      finding.targets.push_back(*decoded);
    }
  }
  for (const auto& control : arrayIn(object, "plugin_controls")) {
    if (control.is_string()) {
      finding.pluginControls.push_back(control.get<std::string>());
    }
  }
  return finding;
}

std::vector<Finding> decodeFindings(const json& object) {
  std::vector<Finding> findings;
  for (const auto& each : arrayIn(object, "findings")) {
    if (auto finding = decodeFinding(each)) {
      findings.push_back(std::move(*finding));
    }
  }
  return findings;
}

SongPage pageIn(const json& object) {
  SongPage page{.song = valueIn(object, "song", std::size_t{0}),
                .name = valueIn(object, "name", std::string()),
                .findings = decodeFindings(object)};
  if (const auto played = object.find("played"); played != object.end() && played->is_object()) {
    page.played = PlayedSong{.loadSeconds = valueIn(*played, "load_seconds", 0.0),
                             .medianShare = valueIn(*played, "median_share", 0.0),
                             .worstShare = valueIn(*played, "worst_share", 0.0),
                             .peak = valueIn(*played, "peak", 0.0),
                             .memoryBytes = valueIn(*played, "memory_bytes", std::uint64_t{0})};
  }
  return page;
}

Outcome parseObject(std::string_view bytes, json& object) {
  if (auto failure = parseJson(bytes, object)) {
    return failure;
  }
  return object.is_object() ? Outcome{} : Error{"expected an object"};
}

}  // namespace

std::string encodeReport(const CheckReport& report) {
  const FindingCounts counts = countsOf(report);
  ordered_json object{{"version", reportVersion},
                      {"setlist", report.setlist},
                      {"rate", report.rate},
                      {"block", report.block},
                      {"errors", counts.errors},
                      {"warnings", counts.warnings},
                      {"findings", encodeFindings(report.findings)}};
  object["pages"] = ordered_json::array();
  for (const auto& page : report.pages) {
    object["pages"].push_back(pageObject(page));
  }
  return textOf(object);
}

Result<CheckReport> decodeReport(std::string_view bytes) {
  json object;
  if (auto failure = parseObject(bytes, object)) {
    return *failure;
  }
  CheckReport report{.setlist = valueIn(object, "setlist", std::string()),
                     .rate = static_cast<int>(valueIn(object, "rate", 0U)),
                     .block = valueIn(object, "block", 0U),
                     .findings = decodeFindings(object)};
  for (const auto& page : arrayIn(object, "pages")) {
    if (page.is_object()) {
      report.pages.push_back(pageIn(page));
    }
  }
  return report;
}

std::string encodePage(const SongPage& page) {
  return textOf(pageObject(page));
}

Result<SongPage> decodePage(std::string_view bytes) {
  json object;
  if (auto failure = parseObject(bytes, object)) {
    return *failure;
  }
  return pageIn(object);
}

}  // namespace vrel
