// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/app_delegate.h"

#include "platform/notification_center.h"

namespace vrel {

NSApplicationTerminateReply VrelAppDelegate::applicationShouldTerminate() {
  // The main loop goes on while the alert is shown, and a person may ask twice.
  if (!isAsking_) {
    isAsking_ = true;
    notifications_.post("vrel.requestTermination");
    isAsking_ = false;
    ++answerCount_;
  }
  return NSApplicationTerminateReply::NSTerminateLater;
}

}  // namespace vrel
