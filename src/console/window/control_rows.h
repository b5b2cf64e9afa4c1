// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <cstddef>
#include <memory>

#include "console/parameter_laws.h"
#include "platform/message_parameters.h"

namespace vrel::window {

/// One control in the generic view of a plug-in. A value; all of one plug-in share its tree.
class ControlEntry {
  Q_GADGET
  QML_VALUE_TYPE(controlEntry)

 public:
  std::shared_ptr<const AUParameterTree> tree;
  std::size_t index = 0;  // in the tree
  QString section;        // the heading it is under

  bool operator==(const ControlEntry&) const = default;
};

/// The controls of a view-model as a model for a list, which makes items for what is in sight alone, and the laws of
/// each by its row. The window's thread.
class ControlRows : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QList<vrel::window::ControlEntry> entries READ entries WRITE setEntries NOTIFY entriesChanged FINAL)
  Q_PROPERTY(int count READ count NOTIFY entriesChanged FINAL)

 public:
  // NOLINTBEGIN(readability-identifier-naming) QML wants capitals
  enum Look {
    Slider = static_cast<int>(ControlLook::slider),
    Toggle = static_cast<int>(ControlLook::toggle),
    Choice = static_cast<int>(ControlLook::choice),
    Trigger = static_cast<int>(ControlLook::trigger),
    Meter = static_cast<int>(ControlLook::meter),
    File = static_cast<int>(ControlLook::file),
    Words = static_cast<int>(ControlLook::text),
    Number = static_cast<int>(ControlLook::number),
    Reading = static_cast<int>(ControlLook::reading),
  };
  // NOLINTEND(readability-identifier-naming)
  Q_ENUM(Look)
  enum Role { sectionRole = Qt::UserRole, nameRole, lookRole, controlRole };

  using QAbstractListModel::QAbstractListModel;

  [[nodiscard]] const QList<ControlEntry>& entries() const { return entries_; }
  void setEntries(const QList<ControlEntry>& entries) {
    if (entries_ != entries) {
      beginResetModel();
      entries_ = entries;
      endResetModel();
      Q_EMIT entriesChanged();
    }
  }

  [[nodiscard]] int count() const { return static_cast<int>(entries_.size()); }
  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : count(); }
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override {
    return {{sectionRole, "section"}, {nameRole, "name"}, {lookRole, "look"}, {controlRole, "control"}};
  }
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
    const AUParameter* const parameter = at(index.row());
    if (parameter == nullptr) {
      return {};
    }
    const ControlEntry& entry = entries_[index.row()];
    switch (role) {
      case sectionRole:
        return entry.section;
      case nameRole:
        return QString::fromStdString(parameter->displayName);
      case lookRole:
        return static_cast<int>(controlLook(*parameter));
      case controlRole:
        return static_cast<int>(entry.index);
      default:
        return {};
    }
  }

  // The laws of the control in a row; see parameter_laws.h. Of a row that is gone nothing.
  Q_INVOKABLE [[nodiscard]] QString text(int row, double value) const {
    const AUParameter* const parameter = at(row);
    return parameter == nullptr ? QString()
                                : QString::fromStdString(controlText(*parameter, static_cast<float>(value)));
  }
  Q_INVOKABLE [[nodiscard]] double position(int row, double value) const {
    const AUParameter* const parameter = at(row);
    return parameter == nullptr ? 0 : controlPosition(*parameter, static_cast<float>(value));
  }
  Q_INVOKABLE [[nodiscard]] double valueAt(int row, double position) const {
    const AUParameter* const parameter = at(row);
    return parameter == nullptr ? 0 : static_cast<double>(controlValue(*parameter, position));
  }
  Q_INVOKABLE [[nodiscard]] double stepped(int row, double value, int steps, bool isFine) const {
    const AUParameter* const parameter = at(row);
    return parameter == nullptr
               ? value
               : static_cast<double>(steppedControl(*parameter, static_cast<float>(value), steps, isFine));
  }
  Q_INVOKABLE [[nodiscard]] bool isLearnable(int row) const {
    const AUParameter* const parameter = at(row);
    return parameter != nullptr && vrel::isLearnable(*parameter);
  }
  Q_INVOKABLE [[nodiscard]] bool isText(int row) const {
    const AUParameter* const parameter = at(row);
    return parameter != nullptr && vrel::isText(*parameter);
  }
  Q_INVOKABLE [[nodiscard]] bool changesAtEndOfDrag(int row) const {
    const AUParameter* const parameter = at(row);
    return parameter != nullptr && parameter->changesAtEndOfDrag;
  }
  Q_INVOKABLE [[nodiscard]] QList<QString> choices(int row) const {
    QList<QString> words;
    if (const AUParameter* const parameter = at(row)) {
      for (const auto& [value, name] : parameter->valueNames) {
        words.append(QString::fromStdString(name));
      }
    }
    return words;
  }
  Q_INVOKABLE [[nodiscard]] int choice(int row, double value) const {
    const AUParameter* const parameter = at(row);
    return parameter == nullptr ? -1 : static_cast<int>(nearestChoice(*parameter, static_cast<float>(value)));
  }
  Q_INVOKABLE [[nodiscard]] double choiceValue(int row, int choice) const {
    const AUParameter* const parameter = at(row);
    const auto place = static_cast<std::size_t>(choice);
    return parameter == nullptr || place >= parameter->valueNames.size() ? 0 : parameter->valueNames[place].first;
  }

 Q_SIGNALS:
  void entriesChanged();

 private:
  [[nodiscard]] const AUParameter* at(int row) const {
    return row < 0 || row >= count() ? nullptr : &entries_[row].tree->allParameters[entries_[row].index];
  }

  QList<ControlEntry> entries_;
};

}  // namespace vrel::window
