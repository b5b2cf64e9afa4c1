// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/view_model.h"

#include <string_view>

#include "console/window/texts_view_model.h"
#include "document/app_state.h"

namespace vrel::window {
namespace {

QString fromUtf8(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

void MirrorItem::release() {
  isReleased_ = true;
  deleteWhenUnused();
}

void MirrorRef::setEntry(MirrorItem* entry) {
  if (entry == entry_) {
    return;
  }
  drop();
  entry_ = entry;
  if (entry != nullptr) {
    ++entry->holds_;
  }
  Q_EMIT entryChanged();
}

void MirrorRef::drop() {
  if (entry_ != nullptr) {
    --entry_->holds_;
    entry_->deleteWhenUnused();
  }
}

QList<QString> TextsViewModel::languageCodes() {
  QList<QString> codes;
  for (const Language language : allLanguages) {
    codes.append(fromUtf8(code(language)));
  }
  return codes;
}

QString TextsViewModel::textOf(TextKey key) const {
  return fromUtf8(text(key, static_cast<Language>(language())));
}

}  // namespace vrel::window
