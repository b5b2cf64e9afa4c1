// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/version.h"

namespace vrel {

std::string_view programVersion() {
  return VREL_VERSION;
}

}  // namespace vrel
