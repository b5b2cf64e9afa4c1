// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFileDialog>
#include <QString>
#include <QTranslator>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "platform/desktop.h"

namespace vrel::app {

/// Dark and large enough for a stage, also where Qt draws: file panels and their parts. Once, with the application
/// made.
void darkenApplication();

/// What Qt says itself in a file panel, in the language of the session: Debian's Qt brings its translations in packages
/// of their own, and in the language of the system.
class PanelTranslator final : public QTranslator {
 public:
  /// The number of a `Language`, now.
  explicit PanelTranslator(std::function<int()> language) : language_(std::move(language)) {}

  [[nodiscard]] QString translate(const char* context, const char* sourceText, const char* disambiguation,
                                  int count) const override;
  [[nodiscard]] bool isEmpty() const override { return false; }

 private:
  std::function<int()> language_;
};

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
