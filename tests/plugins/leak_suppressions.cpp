// SPDX-License-Identifier: GPL-3.0-or-later

// For the address sanitizer's leak check. Plug-ins of the distribution that leak by themselves are
// named here by their library, and nothing else is.
//
// The check names a library only as long as it is loaded, so unloading is turned off. What this
// program itself should have released is found as before.

#if defined(__SANITIZE_ADDRESS__)

extern "C" int dlclose(void* /*library*/) noexcept;
extern "C" int dlclose(void* /*library*/) noexcept {
  return 0;
}

extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:b_synth.so\n";  // 56 bytes for each organ made, also outside of this host
}

#endif
