// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include "console/window/clip_frame.h"

namespace vrel::window {

/// One row of the editor of clips, as QML takes it. A value.
class ClipRow {
  Q_GADGET
  QML_VALUE_TYPE(clipRow)
  Q_PROPERTY(QString mappingId MEMBER mappingId FINAL)
  Q_PROPERTY(int note MEMBER note FINAL)
  Q_PROPERTY(QString noteName MEMBER noteName FINAL)
  Q_PROPERTY(QString fileName MEMBER fileName FINAL)
  Q_PROPERTY(QString filePath MEMBER filePath FINAL)
  Q_PROPERTY(bool toggles MEMBER toggles FINAL)
  Q_PROPERTY(bool holdsLastPicture MEMBER holdsLastPicture FINAL)
  Q_PROPERTY(bool isShown MEMBER isShown FINAL)
  Q_PROPERTY(bool isLearning MEMBER isLearning FINAL)
  Q_PROPERTY(bool isUnplayable MEMBER isUnplayable FINAL)
  Q_PROPERTY(bool isStill MEMBER isStill FINAL)
  Q_PROPERTY(bool isTooLarge MEMBER isTooLarge FINAL)
  Q_PROPERTY(QString lengthText MEMBER lengthText FINAL)
  Q_PROPERTY(vrel::window::ClipFrame poster MEMBER poster FINAL)

 public:
  QString mappingId;
  int note = 0;
  QString noteName;
  QString fileName;  // empty for none
  QString filePath;
  bool toggles = false;
  bool holdsLastPicture = false;
  bool isShown = false;       // in the preview
  bool isLearning = false;    // takes the next note that is played
  bool isUnplayable = false;  // its file was looked into
  bool isStill = false;       // a picture that does not move
  bool isTooLarge = false;    // such a one, beyond what is shown
  QString lengthText;         // empty where it is unknown
  ClipFrame poster;

  bool operator==(const ClipRow&) const = default;
};

/// The rows of the editor as a model for a list, which makes items for what is in sight alone, and keeps them while
/// rows only change. The window's thread.
class ClipRows : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QList<vrel::window::ClipRow> rows READ rows WRITE setRows NOTIFY rowsChanged FINAL)

 public:
  using QAbstractListModel::QAbstractListModel;

  [[nodiscard]] const QList<ClipRow>& rows() const { return rows_; }
  void setRows(const QList<ClipRow>& rows);

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
  }
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override { return {{Qt::UserRole, "entry"}}; }
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

 Q_SIGNALS:
  void rowsChanged();

 private:
  [[nodiscard]] bool areSameRows(const QList<ClipRow>& rows) const;

  QList<ClipRow> rows_;
};

}  // namespace vrel::window
