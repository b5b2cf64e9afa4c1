// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "vrel/session.h"

namespace vrel::app::test {

/// A page or panel over the console.
struct OpenedPage {
  std::string name;
  std::string first;  // something on it
  bool opensInLiveMode;
  void (*open)(Session& session);
  void (*close)(Session& session);
};

/// All of them, for tests that look at each.
[[nodiscard]] const std::vector<OpenedPage>& openedPages();

/// Gives them something to show: plug-ins, effects, learned controls, a finding. The first strip stays empty.
void fillPages(Session& session);

}  // namespace vrel::app::test
