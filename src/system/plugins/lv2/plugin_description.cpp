// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/plugin_description.h"

#include <algorithm>
#include <cstddef>

namespace vrel::lv2 {

std::uint32_t componentTypeOf(const PluginDescription& description) {
  if (description.countPorts(PortKind::audio, false) == 0) {
    return 0;
  }
  if (description.isInstrumentClass) {
    return componentTypeMusicDevice;
  }
  const bool takesMidi = std::any_of(description.ports.begin(), description.ports.end(),
                                     [](const PortDescription& port) { return port.takesMidi; });
  if (description.countPorts(PortKind::audio, true) == 0) {
    return takesMidi ? componentTypeMusicDevice : componentTypeGenerator;
  }
  return takesMidi ? componentTypeMusicEffect : componentTypeEffect;
}

std::string nameFromUri(const std::string& uri) {
  const std::size_t end = uri.find_last_not_of("/#:");
  if (end == std::string::npos) {
    return uri;
  }
  const std::size_t separator = uri.find_last_of("/#:", end);
  const std::size_t begin = separator == std::string::npos ? 0 : separator + 1;
  return uri.substr(begin, end - begin + 1);
}

std::string manufacturerFromUri(const std::string& uri) {
  const std::size_t scheme = uri.find("://");
  if (scheme != std::string::npos) {
    const std::size_t begin = scheme + 3;
    const std::string host = uri.substr(begin, uri.find_first_of("/#?", begin) - begin);
    if (!host.empty()) {
      return host;
    }
  }
  // "urn:somebody:something" names its owner in the second place.
  const std::size_t first = uri.find(':');
  const std::size_t second = first == std::string::npos ? first : uri.find(':', first + 1);
  if (second == std::string::npos || second == first + 1) {
    return "Unknown";
  }
  return uri.substr(first + 1, second - first - 1);
}

}  // namespace vrel::lv2
