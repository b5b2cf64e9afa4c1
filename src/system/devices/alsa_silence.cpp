// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/alsa_silence.h"

#include <alsa/asoundlib.h>

namespace vrel::system {
namespace {

void ignore(const char* /*file*/, int /*line*/, const char* /*function*/, int /*code*/, const char* /*format*/, ...) {}

}  // namespace

void silenceAlsa() {
  snd_lib_error_set_handler(ignore);
}

}  // namespace vrel::system
