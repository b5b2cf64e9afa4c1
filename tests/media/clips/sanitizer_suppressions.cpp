// SPDX-License-Identifier: GPL-3.0-or-later

#if defined(__SANITIZE_THREAD__)

// FFmpeg's libraries were not built for the sanitizer, which does not see how a codec's threads take turns. What is
// reported here are their own buffers only; none of the program's code runs on their threads.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  return "race:libavcodec.so\nrace:libavutil.so\nrace:libavformat.so\nrace:libswscale.so\nrace:libvpx.so\n";
}

#endif
