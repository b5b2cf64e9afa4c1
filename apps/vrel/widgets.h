// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFileDialog>
#include <QString>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/desktop.h"

namespace vrel::app {

/// Dark and large enough for a stage, also where Qt draws: file panels and their parts. Once, with the application
/// made.
void darkenApplication();

/// Asks for a file, in a window that looks the same on every desktop: in the language of the session, and large enough
/// for a finger.
///
/// A file that is saved gets the default suffix, however many dots its name has: one without it would be missing among
/// the setlists the next time. An existing file of the whole name is replaced after a question only.
class FilePanel final : public QFileDialog {
 public:
  struct Request {
    AcceptMode mode = AcceptOpen;
    vrel::FileType type = vrel::FileType::setlist;
    std::string suggestedName;
    std::optional<std::filesystem::path> directory;
  };

  /// The language is the number of a `Language`.
  FilePanel(const Request& request, int language, const QString& folder);

 protected:
  void accept() override;

 private:
  void useWords(const Request& request);
  void makeRoomForFingers();
  [[nodiscard]] bool mayReplace(const QString& name);

  int language_;
};

}  // namespace vrel::app
