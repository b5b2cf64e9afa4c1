// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/widgets.h"

#include <QApplication>
#include <QColor>
#include <QDir>
#include <QFileInfo>
#include <QFont>
#include <QLineEdit>
#include <QPalette>
#include <QStyleFactory>

namespace vrel::app {

void darkenApplication() {
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  const QColor ground(0x14, 0x15, 0x18);
  const QColor raised(0x24, 0x27, 0x2b);
  const QColor ink(0xf2, 0xf2, 0xf2);
  const QColor faint(0x8a, 0x8f, 0x96);
  const QColor accent(0xff, 0x55, 0x00);
  QPalette palette;
  palette.setColor(QPalette::Window, ground);
  palette.setColor(QPalette::WindowText, ink);
  palette.setColor(QPalette::Base, ground.darker(150));
  palette.setColor(QPalette::AlternateBase, raised);
  palette.setColor(QPalette::Text, ink);
  palette.setColor(QPalette::PlaceholderText, faint);
  palette.setColor(QPalette::Button, raised);
  palette.setColor(QPalette::ButtonText, ink);
  palette.setColor(QPalette::ToolTipBase, raised);
  palette.setColor(QPalette::ToolTipText, ink);
  palette.setColor(QPalette::Highlight, accent);
  palette.setColor(QPalette::HighlightedText, Qt::black);
  for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, faint);
  }
  QApplication::setPalette(palette);
  constexpr int readablePixels = 17;
  QFont font = QApplication::font();
  font.setPixelSize(readablePixels);
  QApplication::setFont(font);
}

void FilePanel::accept() {
  // The name as it is in the panel, before any question about it.
  auto* const name = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
  if (acceptMode() == AcceptSave && name != nullptr && !name->text().isEmpty()) {
    const QString suffix = QLatin1Char('.') + defaultSuffix();
    const bool isFolder = QFileInfo(directory().absoluteFilePath(name->text())).isDir();
    if (!isFolder && !name->text().endsWith(suffix, Qt::CaseInsensitive)) {
      name->setText(name->text() + suffix);
    }
  }
  QFileDialog::accept();
}

}  // namespace vrel::app
