// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/audio_parameters.h"

namespace vrel::lv2 {

/// A parameter of a plug-in that has no port: its property is set and reported by messages (the patch vocabulary).
struct PropertyDescription {
  std::string uri;
  std::string range;      // the type of its value, a URI
  AUParameter parameter;  // its identifier is the URI
};

struct PropertyDescriptions {
  std::uint32_t port = 0;  // of the messages to the plug-in
  std::vector<PropertyDescription> all;
};

}  // namespace vrel::lv2
