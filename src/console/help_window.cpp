// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/help_window.h"

#include "text/text.h"

namespace vrel {

std::string_view VrelHelpView::title() const {
  return text(subject == HelpSubject::manual ? TextKey::helpTitle : TextKey::liveKeys, language);
}

std::span<const HelpSection> VrelHelpView::sections() const {
  return subject == HelpSubject::manual ? manualSections(language) : liveKeySections(language);
}

void VrelHelpWindowController::show(Language language, const Color& accentColor) {
  view.set(VrelHelpView{subject_, language, accentColor});
  isOpen.set(true);
  raises.set(raises.get() + 1);
}

}  // namespace vrel
