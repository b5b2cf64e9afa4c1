// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/file_panel.h"

#include <QDir>
#include <QFileInfo>
#include <QLineEdit>

namespace vrel::app {

void FilePanel::accept() {
  // The name as it stands in the panel, before anything is asked about it.
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
