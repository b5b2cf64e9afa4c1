// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/help_mirror.h"

#include <QColor>
#include <QList>
#include <QString>
#include <string>
#include <string_view>

#include "console/content_view.h"
#include "console/help_window.h"

namespace vrel::window {
namespace {

QString shown(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QList<HelpEntry> entriesOf(const VrelHelpView& view) {
  QList<HelpEntry> entries;
  for (const HelpSection& section : view.sections()) {
    HelpEntry entry;
    entry.title = shown(section.title);
    entry.body = shown(section.body);
    entries.append(entry);
  }
  return entries;
}

}  // namespace

HelpMirror::HelpMirror(MirrorSource& source, ContentView& content)
    : help_(source, mirror_ids::help), liveKeys_(source, mirror_ids::liveKeys) {
  mirror(help_, content.help());
  mirror(liveKeys_, content.liveKeysHelp());
}

void HelpMirror::mirror(MirrorPublisher<HelpViewModel>& view, VrelHelpWindowController& window) {
  using Help = HelpViewModel;
  const auto shownView = [&window] { return window.view.get().value_or(VrelHelpView{}); };
  view.set(Help::contentWidthKey, VrelHelpWindowController::width);
  view.set(Help::contentHeightKey, VrelHelpWindowController::height);
  view.derive(
      Help::titleKey, [shownView] { return shown(shownView().title()); }, window.view);
  view.derive(
      Help::accentColorKey,
      [shownView] {
        const Color color = shownView().accentColor;
        return QColor::fromRgbF(static_cast<float>(color[0]), static_cast<float>(color[1]),
                                static_cast<float>(color[2]));
      },
      window.view);
  view.derive(
      Help::sectionsKey, [shownView] { return entriesOf(shownView()); }, window.view);
  view.follow(Help::isOpenKey, window.isOpen);
  view.follow(Help::raisesKey, window.raises);
}

}  // namespace vrel::window
