// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFileDialog>

namespace vrel::app {

/// Dark and large enough for a stage, also where Qt draws: file panels and their parts. Once, with the application
/// made.
void darkenApplication();

/// Asks for a file, in a window that looks the same on every desktop.
///
/// A file that is saved gets the default suffix, however many dots its name has: one without it would be missing among
/// the setlists the next time. An existing file of the whole name is replaced after a question only.
class FilePanel final : public QFileDialog {
 public:
  FilePanel() { setOption(QFileDialog::DontUseNativeDialog); }

 protected:
  void accept() override;
};

}  // namespace vrel::app
