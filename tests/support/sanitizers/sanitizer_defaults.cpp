// SPDX-License-Identifier: GPL-3.0-or-later

// What the sanitizers ask the program when they start. The environment (ASAN_OPTIONS and so on)
// still has the last word.

extern "C" {

const char* __asan_default_options();
const char* __ubsan_default_options();
const char* __tsan_default_options();

const char* __asan_default_options() {
  return "detect_leaks=1:check_initialization_order=1:strict_init_order=1:detect_stack_use_after_return=1";
}

const char* __ubsan_default_options() {
  return "print_stacktrace=1:halt_on_error=1";
}

const char* __tsan_default_options() {
  return "halt_on_error=1:second_deadlock_stack=1:atexit_sleep_ms=50";
}
}
