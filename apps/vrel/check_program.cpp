// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/check_program.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace vrel::app {

std::string checkProgramPath() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
  if (const char* const given = std::getenv("VREL_RENDER"); given != nullptr && *given != '\0') {
    return given;
  }
  std::error_code ignored;
  return std::filesystem::read_symlink("/proc/self/exe", ignored).replace_filename("vrel-render").string();
}

}  // namespace vrel::app
