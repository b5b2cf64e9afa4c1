// SPDX-License-Identifier: GPL-3.0-or-later
#include <time.h>

// A fixed time of day.

time_t time(time_t* timer) {
  const time_t now = 1000000000;
  if (timer != NULL) {
    *timer = now;
  }
  return now;
}
