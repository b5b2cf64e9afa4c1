// SPDX-License-Identifier: GPL-3.0-or-later

#if defined(__SANITIZE_ADDRESS__)

// What the libraries under the window keep until the process ends: fonts, input methods, drivers of the screen, and
// what RtAudio and PulseAudio's library leave of a server that is not there.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig.so\nleak:libQt6\nleak:libdbus\nleak:libxcb\nleak:libX11\nleak:libgallium\nleak:_dri.so\n"
         "leak:libqxcb\nleak:libglib\nleak:RtApiPulse::probeDeviceOpen\nleak:libpulse.so\n";
}

#endif
