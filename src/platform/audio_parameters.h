// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace vrel {

/// Names a parameter within its plug-in.
using AUParameterAddress = std::uint32_t;

/// One control of a plug-in, as the plug-in's data describes it. A value.
struct AUParameter {
  AUParameterAddress address = 0;
  std::string identifier;  // stays the same in all versions of the plug-in
  std::string displayName;
  std::string groupName;  // empty for none
  std::string unitName;   // behind the number, such as "dB"; empty for none
  float minValue = 0;     // always below maxValue; the limits of the type where isUnbounded
  float maxValue = 1;
  float defaultValue = 0;   // within them
  int displayPriority = 0;  // the higher, the further up

  bool isOutput = false;  // the plug-in sets it: a meter
  bool isToggle = false;
  bool isInteger = false;
  bool isEnumeration = false;  // has the values of `valueNames` and no others
  bool isLogarithmic = false;
  bool isTrigger = false;  // an event: goes back by itself
  bool isMIDINote = false;
  bool isHidden = false;            // not for people
  bool isUnbounded = false;         // has no travel between two ends
  bool changesAtEndOfDrag = false;  // changing it is costly, or can be heard as a click

  std::vector<std::pair<float, std::string>> valueNames;  // by value

  bool operator==(const AUParameter&) const = default;
};

/// All parameters of a plug-in, in the plug-in's order.
struct AUParameterTree {
  std::vector<AUParameter> allParameters;
};

}  // namespace vrel
