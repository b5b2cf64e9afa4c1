// SPDX-License-Identifier: GPL-3.0-or-later

#if defined(__SANITIZE_THREAD__)

// Here the sender of MIDI and the program under test are two clients in one process. What one writes into a port the
// other reads in the same block, in memory of the server; that they take turns is the server's doing, in a process that
// the sanitizer does not see. Only the tests' sender writes, so nothing of the program's own is hidden.
// PulseAudio's library was not built for the sanitizer, which does not see how its threads take turns.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  return "race:jack_midi_event_write\nrace:libpulse\n";
}

#endif

#if defined(__SANITIZE_ADDRESS__)

// A stream that can not be opened, since its server is gone, is not cleared away by RtAudio, nor is the connection by
// PulseAudio's library.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:RtApiPulse::probeDeviceOpen\nleak:libpulse.so\n";
}

#endif
