// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/widgets.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QColor>
#include <QDir>
#include <QFileInfo>
#include <QFont>
#include <QLineEdit>
#include <QList>
#include <QMessageBox>
#include <QPalette>
#include <QPointer>
#include <QPushButton>
#include <QSize>
#include <QStringList>
#include <QStyleFactory>
#include <QToolButton>
#include <QUrl>
#include <array>
#include <cstddef>
#include <utility>

#include "text/text.h"

namespace vrel::app {
namespace {

constexpr QSize roomyPanel(960, 640);

struct PanelWords {
  const char* openTitle;
  const char* saveTitle;
  const char* folder;
  const char* name;
  const char* type;
  const char* open;
  const char* save;
  const char* cancel;
  const char* back;
  const char* forward;
  const char* up;
  const char* newFolder;
  const char* replaceQuestion;
  const char* replace;
  const char* computer;
  const char* notFound;
};

// In the order of the languages.
constexpr std::array<PanelWords, allLanguages.size()> panelWords{{
    {"Open", "Save", "Folder:", "Name:", "Type:", "Open", "Save", "Cancel", "Back", "Forward", "Folder above",
     "New folder", "%1 is already there. Replace it?", "Replace", "Computer", "%1 is not there. Check the name."},
    {"Abrir", "Guardar", "Carpeta:", "Nombre:", "Tipo:", "Abrir", "Guardar", "Cancelar", "Atrás", "Adelante",
     "Carpeta superior", "Nueva carpeta", "%1 ya existe. ¿Reemplazarlo?", "Reemplazar", "Equipo",
     "%1 no existe. Comprueba el nombre."},
    {"Ouvrir", "Enregistrer", "Dossier :", "Nom :", "Type :", "Ouvrir", "Enregistrer", "Annuler", "Précédent",
     "Suivant", "Dossier parent", "Nouveau dossier", "%1 existe déjà. Le remplacer ?", "Remplacer", "Ordinateur",
     "%1 n'existe pas. Vérifiez le nom."},
    {"Apri", "Salva", "Cartella:", "Nome:", "Tipo:", "Apri", "Salva", "Annulla", "Indietro", "Avanti",
     "Cartella superiore", "Nuova cartella", "%1 esiste già. Sostituirlo?", "Sostituisci", "Computer",
     "%1 non esiste. Controlla il nome."},
    {"Öffnen", "Speichern", "Ordner:", "Name:", "Typ:", "Öffnen", "Speichern", "Abbrechen", "Zurück", "Vor",
     "Übergeordneter Ordner", "Neuer Ordner", "%1 gibt es schon. Ersetzen?", "Ersetzen", "Computer",
     "%1 gibt es nicht. Bitte den Namen prüfen."},
}};

const PanelWords& wordsOf(int language) {
  const bool isKnown = language >= 0 && static_cast<std::size_t>(language) < panelWords.size();
  return panelWords.at(isKnown ? static_cast<std::size_t>(language) : 0);
}

QString wordOf(const char* utf8) {
  return QString::fromUtf8(utf8);
}

QStringList filtersFor(FileType type) {
  if (type == FileType::movie) {
    return {QStringLiteral("*.mp4 *.mov *.m4v *.webm *.mkv"), QStringLiteral("*")};
  }
  if (type == FileType::clip) {
    return {QStringLiteral("*.mp4 *.mov *.m4v *.webm *.mkv *.png *.jpg *.jpeg *.webp"), QStringLiteral("*")};
  }
  if (type == FileType::audio) {
    return {QStringLiteral("*.wav *.flac *.ogg *.oga *.opus *.mp3 *.aif *.aiff *.m4a *.aac *.caf *.w64"),
            QStringLiteral("*")};
  }
  if (type == FileType::folder) {
    return {QStringLiteral("*")};
  }
  return {QStringLiteral("Vrel (*.vrel)"), QStringLiteral("* (*)")};
}

}  // namespace

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

QString PanelTranslator::translate(const char* context, const char* sourceText, const char* /*disambiguation*/,
                                   int /*count*/) const {
  const QLatin1String place(context);
  const QLatin1String source(sourceText);
  const auto& words = wordsOf(language_());
  if (place == QLatin1String("QFileSystemModel") && source == QLatin1String("Computer")) {
    return wordOf(words.computer);
  }
  if (place == QLatin1String("QFileDialog") && source.contains(QLatin1String("not found."))) {
    return wordOf(words.notFound);
  }
  return {};
}

FilePanel::FilePanel(const Request& request, int language, const QString& folder) : language_(language) {
  setOption(QFileDialog::DontUseNativeDialog);
  setOption(QFileDialog::DontConfirmOverwrite);  // asked here, in the language of the session
  setAttribute(Qt::WA_DeleteOnClose);
  setObjectName(QStringLiteral("filePanel"));
  setAcceptMode(request.mode);
  setDirectory(folder);
  setNameFilters(filtersFor(request.type));
  setViewMode(QFileDialog::List);
  if (request.mode == AcceptSave) {
    setFileMode(QFileDialog::AnyFile);
    if (request.type != FileType::folder) {
      setDefaultSuffix(QStringLiteral("vrel"));
    }
    selectFile(QString::fromStdString(request.suggestedName));
  } else {
    setFileMode(QFileDialog::ExistingFile);
  }
  QList<QUrl> places{QUrl::fromLocalFile(QDir::homePath())};
  if (folder != QDir::homePath()) {
    places.prepend(QUrl::fromLocalFile(folder));
  }
  setSidebarUrls(places);
  useWords(request);
  makeRoomForFingers();
  resize(roomyPanel);
}

void FilePanel::useWords(const Request& request) {
  const auto& words = wordsOf(language_);
  const bool isSave = request.mode == AcceptSave;
  setWindowTitle(wordOf(isSave ? words.saveTitle : words.openTitle));
  setLabelText(QFileDialog::LookIn, wordOf(words.folder));
  setLabelText(QFileDialog::FileName, wordOf(words.name));
  setLabelText(QFileDialog::FileType, wordOf(words.type));
  setLabelText(QFileDialog::Accept, wordOf(isSave ? words.save : words.open));
  setLabelText(QFileDialog::Reject, wordOf(words.cancel));
  const std::array<std::pair<const char*, const char*>, 4> hints{{{"backButton", words.back},
                                                                  {"forwardButton", words.forward},
                                                                  {"toParentButton", words.up},
                                                                  {"newFolderButton", words.newFolder}}};
  for (const auto& [name, hint] : hints) {
    if (auto* const button = findChild<QToolButton*>(QLatin1String(name))) {
      button->setToolTip(wordOf(hint));
      button->setAccessibleName(wordOf(hint));
    }
  }
}

void FilePanel::makeRoomForFingers() {
  setStyleSheet(
      QStringLiteral("QPushButton { min-height: 44px; min-width: 140px; }"
                     "QLineEdit, QComboBox, QToolButton { min-height: 44px; }"
                     "QToolButton { min-width: 44px; }"
                     "QListView::item { min-height: 44px; }"));
  // Two ways to show the same files are one too many, and the menus of the lists have no words in most languages.
  for (const auto* name : {"listModeButton", "detailModeButton"}) {
    if (auto* const button = findChild<QToolButton*>(QLatin1String(name))) {
      button->hide();
    }
  }
  for (auto* const view : findChildren<QAbstractItemView*>()) {
    view->setContextMenuPolicy(Qt::NoContextMenu);
  }
}

bool FilePanel::mayReplace(const QString& name) {
  if (acceptMode() != AcceptSave || !QFileInfo(directory().absoluteFilePath(name)).isFile()) {
    return true;
  }
  const auto& words = wordsOf(language_);
  QMessageBox question(QMessageBox::Warning, windowTitle(), wordOf(words.replaceQuestion).arg(name),
                       QMessageBox::Yes | QMessageBox::No, this);
  question.setObjectName(QStringLiteral("replaceQuestion"));
  question.setStyleSheet(QStringLiteral("QPushButton { min-height: 44px; min-width: 140px; }"));
  question.button(QMessageBox::Yes)->setText(wordOf(words.replace));
  question.button(QMessageBox::No)->setText(wordOf(words.cancel));
  question.setDefaultButton(QMessageBox::No);
  return question.exec() == QMessageBox::Yes;
}

void FilePanel::accept() {
  // The name as it is in the panel, before any question about it.
  auto* const name = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
  const bool hasSuffix = !defaultSuffix().isEmpty();  // a folder has none, and what has its name stays
  if (acceptMode() == AcceptSave && hasSuffix && name != nullptr && !name->text().isEmpty()) {
    const QString suffix = QLatin1Char('.') + defaultSuffix();
    const bool isFolder = QFileInfo(directory().absoluteFilePath(name->text())).isDir();
    if (!isFolder && !name->text().endsWith(suffix, Qt::CaseInsensitive)) {
      name->setText(name->text() + suffix);
    }
    const QPointer<FilePanel> self = this;
    if (!mayReplace(name->text()) || self == nullptr) {
      return;
    }
  }
  QFileDialog::accept();
}

}  // namespace vrel::app
