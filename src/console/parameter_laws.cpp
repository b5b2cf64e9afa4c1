// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/parameter_laws.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <map>
#include <tuple>

#include "document/collation.h"
#include "document/entered_text.h"
#include "document/note_name.h"
#include "platform/message_parameters.h"

namespace vrel {
namespace {

constexpr double coarseSteps = 100;
constexpr double fineSteps = 1000;
constexpr double fineDrag = 0.1;
constexpr int highestMidiNote = 127;

bool isByOctaves(const AUParameter& parameter) {
  return parameter.isLogarithmic && parameter.minValue > 0;
}

float span(const AUParameter& parameter) {
  return parameter.maxValue - parameter.minValue;
}

float withinBounds(const AUParameter& parameter, double value) {
  return std::clamp(static_cast<float>(value), parameter.minValue, parameter.maxValue);
}

/// The name of exactly this value; null where it has none.
const std::string* nameOf(const AUParameter& parameter, float value) {
  const float tolerance = parameter.isUnbounded ? 0 : span(parameter) * 1e-5F;
  const auto found = std::find_if(parameter.valueNames.begin(), parameter.valueNames.end(),
                                  [&](const auto& each) { return std::abs(each.first - value) <= tolerance; });
  return found == parameter.valueNames.end() ? nullptr : &found->second;
}

int decimalsFor(const AUParameter& parameter, float value) {
  if (parameter.isInteger || parameter.isToggle) {
    return 0;
  }
  const double size = std::abs(value);
  const int bySize = size >= 100 ? 0 : size >= 10 ? 1 : size >= 1 ? 2 : 3;
  if (parameter.isUnbounded) {
    return bySize;
  }
  const int bySpan =
      static_cast<int>(std::clamp(std::ceil(3 - std::log10(static_cast<double>(span(parameter)))), 0.0, 6.0));
  // A small travel needs more digits, a long one that is not stretched at its beginning fewer.
  return bySpan > 3 ? bySpan : isByOctaves(parameter) ? bySize : std::min(bySize, bySpan);
}

std::string numberText(double value, int decimals) {
  std::array<char, 64> characters{};
  (void)std::snprintf(characters.data(), characters.size(), "%.*f", decimals, value);
  const std::string text = characters.data();
  return text.find_first_not_of("-0.") == std::string::npos && text.front() == '-' ? text.substr(1) : text;
}

std::optional<float> enteredNote(const std::wstring& folded) {
  for (int note = 0; note <= highestMidiNote; ++note) {
    if (caseFolded(noteName(static_cast<std::uint8_t>(note)), userLocale()) == folded) {
      return static_cast<float>(note);
    }
  }
  return std::nullopt;
}

}  // namespace

ControlLook controlLook(const AUParameter& parameter) {
  if (isPath(parameter)) {
    return ControlLook::file;
  }
  if (isText(parameter)) {
    return parameter.isOutput ? ControlLook::reading : ControlLook::text;
  }
  if (parameter.isOutput) {
    return parameter.isUnbounded ? ControlLook::reading : ControlLook::meter;
  }
  if (parameter.isTrigger) {
    return ControlLook::trigger;
  }
  if (parameter.isToggle) {
    return ControlLook::toggle;
  }
  if (parameter.isEnumeration) {
    return ControlLook::choice;
  }
  return parameter.isUnbounded ? ControlLook::number : ControlLook::slider;
}

bool isLearnable(const AUParameter& parameter) {
  return isNumber(parameter) && !parameter.isOutput && !parameter.isUnbounded;
}

float settledControl(const AUParameter& parameter, double value) {
  if (parameter.isToggle) {
    return value - parameter.minValue >= span(parameter) / 2 ? parameter.maxValue : parameter.minValue;
  }
  if (parameter.isEnumeration) {
    return parameter.valueNames[nearestChoice(parameter, static_cast<float>(value))].first;
  }
  return withinBounds(parameter, parameter.isInteger || parameter.isMIDINote ? std::round(value) : value);
}

double controlPosition(const AUParameter& parameter, float value) {
  if (parameter.isUnbounded) {
    return 0;
  }
  const double within = withinBounds(parameter, std::isfinite(value) ? value : parameter.minValue);
  return isByOctaves(parameter) ? std::log(within / parameter.minValue) /
                                      std::log(static_cast<double>(parameter.maxValue) / parameter.minValue)
                                : (within - parameter.minValue) / span(parameter);
}

float controlValue(const AUParameter& parameter, double position) {
  const double limited = std::clamp(position, 0.0, 1.0);
  const double value =
      isByOctaves(parameter)
          ? parameter.minValue * std::pow(static_cast<double>(parameter.maxValue) / parameter.minValue, limited)
          : parameter.minValue + limited * span(parameter);
  return settledControl(parameter, value);
}

float steppedControl(const AUParameter& parameter, float value, int steps, bool isFine) {
  if (parameter.isUnbounded) {
    return value;
  }
  if (parameter.isEnumeration) {
    const auto last = static_cast<int>(parameter.valueNames.size()) - 1;
    const int wanted = static_cast<int>(nearestChoice(parameter, value)) + steps;
    return parameter.valueNames[static_cast<std::size_t>(std::clamp(wanted, 0, last))].first;
  }
  if (parameter.isInteger || parameter.isMIDINote) {
    return settledControl(parameter, static_cast<double>(value) + steps);
  }
  return controlValue(parameter, controlPosition(parameter, value) + steps / (isFine ? fineSteps : coarseSteps));
}

double draggedControl(double start, double right, double trackWidth, bool isFine) {
  const double way = trackWidth > 0 ? right / trackWidth : 0;
  return std::clamp(start + way * (isFine ? fineDrag : 1), 0.0, 1.0);
}

std::size_t nearestChoice(const AUParameter& parameter, float value) {
  const auto& names = parameter.valueNames;
  const auto nearest = std::min_element(names.begin(), names.end(), [value](const auto& one, const auto& other) {
    return std::abs(one.first - value) < std::abs(other.first - value);
  });
  return static_cast<std::size_t>(nearest - names.begin());
}

std::string controlText(const AUParameter& parameter, float value) {
  if (parameter.isEnumeration) {
    return parameter.valueNames[nearestChoice(parameter, value)].second;
  }
  if (const std::string* const name = nameOf(parameter, value)) {
    return *name;
  }
  if (parameter.isMIDINote && value >= 0 && value <= highestMidiNote) {
    return noteName(static_cast<std::uint8_t>(std::lround(value)));
  }
  const std::string number = numberText(value, decimalsFor(parameter, value));
  const bool isClose = parameter.unitName == "%" || parameter.unitName == "°";
  return parameter.unitName.empty() ? number : number + (isClose ? "" : " ") + parameter.unitName;
}

std::optional<float> enteredControl(const AUParameter& parameter, std::string_view text) {
  const std::string_view entered = withoutBlanksAround(text);
  const std::wstring folded = caseFolded(entered, userLocale());
  for (const auto& [value, name] : parameter.valueNames) {
    if (caseFolded(name, userLocale()) == folded) {
      return value;
    }
  }
  if (parameter.isMIDINote) {
    if (const auto note = enteredNote(folded)) {
      return settledControl(parameter, *note);
    }
  }
  std::string number(entered);
  std::replace(number.begin(), number.end(), ',', '.');
  const char* const begin = number.data() + (number.starts_with('+') ? 1 : 0);
  const char* const end = number.data() + number.size();
  double value = 0;
  const auto [stop, failure] = std::from_chars(begin, end, value);
  if (failure != std::errc() || !std::isfinite(value)) {
    return std::nullopt;
  }
  const auto unit = caseFolded(withoutBlanksAround({stop, static_cast<std::size_t>(end - stop)}), userLocale());
  if (!unit.empty() && unit != caseFolded(parameter.unitName, userLocale())) {
    return std::nullopt;
  }
  constexpr double largest = std::numeric_limits<float>::max();
  return settledControl(parameter, std::clamp(value, -largest, largest));
}

std::vector<ControlRow> controlRows(const AUParameterTree& tree, std::string_view searchText) {
  const std::wstring sought = caseFolded(searchText, userLocale());
  const auto contains = [&](const std::string& text) {
    return caseFolded(text, userLocale()).find(sought) != std::wstring::npos;
  };
  struct Place {
    int priority;
    std::size_t first;
  };
  std::map<std::tuple<bool, std::string>, Place> sections;  // meters without a group are a section of their own
  const auto sectionOf = [](const AUParameter& parameter) {
    return std::tuple(parameter.isOutput && parameter.groupName.empty(), parameter.groupName);
  };
  std::vector<ControlRow> rows;
  const auto& all = tree.allParameters;
  for (std::size_t index = 0; index < all.size(); ++index) {
    const AUParameter& parameter = all[index];
    if (parameter.isHidden || (!sought.empty() && !contains(parameter.displayName) && !contains(parameter.groupName))) {
      continue;
    }
    rows.push_back({index, parameter.groupName});
    const auto place = sections.try_emplace(sectionOf(parameter), Place{parameter.displayPriority, index}).first;
    place->second.priority = std::max(place->second.priority, parameter.displayPriority);
  }
  const auto rankOf = [&](const ControlRow& row) {
    const auto section = sectionOf(all[row.index]);
    const Place& place = sections.at(section);
    return std::tuple(std::get<bool>(section), -place.priority, place.first, -all[row.index].displayPriority,
                      row.index);
  };
  std::sort(rows.begin(), rows.end(),
            [&](const ControlRow& one, const ControlRow& other) { return rankOf(one) < rankOf(other); });
  return rows;
}

}  // namespace vrel
