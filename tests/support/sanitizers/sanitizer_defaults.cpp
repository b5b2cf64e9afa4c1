// SPDX-License-Identifier: GPL-3.0-or-later

// Default options and suppressions of the sanitizers. The environment (ASAN_OPTIONS and so on) overrides them. Only
// third-party libraries are suppressed, none of the program's own code.

extern "C" {

const char* __asan_default_options();
const char* __ubsan_default_options();
const char* __tsan_default_options();
const char* __lsan_default_suppressions();
const char* __tsan_default_suppressions();

const char* __asan_default_options() {
  return "detect_leaks=1:check_initialization_order=1:strict_init_order=1:detect_stack_use_after_return=1";
}

const char* __ubsan_default_options() {
  return "print_stacktrace=1:halt_on_error=1";
}

const char* __tsan_default_options() {
  return "halt_on_error=1:second_deadlock_stack=1:atexit_sleep_ms=50";
}

// Fonts, input methods and display drivers keep memory until the process ends. RtAudio and PulseAudio's library do not
// release a stream whose server is gone. The organ of setbfree leaks 56 bytes per instance, in any host.
const char* __lsan_default_suppressions() {
  return "leak:libfontconfig.so\nleak:libQt6\nleak:libdbus\nleak:libxcb\nleak:libX11\nleak:libgallium\nleak:_dri.so\n"
         "leak:libqxcb\nleak:libglib\nleak:RtApiPulse::probeDeviceOpen\nleak:libpulse.so\nleak:b_synth.so\n";
}

// FFmpeg's and PulseAudio's libraries are not built for the thread sanitizer, which does not see how their threads
// synchronise. The MIDI sender of the tests and the program under test are two JACK clients in one process: what one
// writes the other reads in the same period, synchronised by the server's process. Only the sender writes. A lock with
// a time limit, by pthread_mutex_clocklock, is not known to the sanitizer of Clang 14, which sees its unlocking only.
const char* __tsan_default_suppressions() {
  return "race:libavcodec.so\nrace:libavutil.so\nrace:libavformat.so\nrace:libswscale.so\nrace:libvpx.so\n"
         "race:jack_midi_event_write\nrace:libpulse\nmutex:callWithin\n";
}
}
