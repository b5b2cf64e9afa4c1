// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QPointer>

#include "console/window/mirror_source.h"

namespace vrel::window {

/// The window's copy of one object of the logic: a view-model, whose properties QML reads and never writes.
///
/// When the object is gone, the copy lives on for as long as a `MirrorRef` holds it. The window's thread.
class MirrorItem : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes these")

 public:
  using QObject::QObject;

  /// The object is gone from the logic. Deletes the copy as soon as nothing holds it.
  void release();

 private:
  friend class MirrorRef;

  void deleteWhenUnused() {
    if (isReleased_ && holds_ == 0) {
      deleteLater();
    }
  }

  int holds_ = 0;
  bool isReleased_ = false;
};

/// Keeps a copy alive for the item that shows it: a view takes an item away later than the row behind it, and until
/// then the item goes on reading. Declared in that item, and goes with it.
class MirrorRef : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(vrel::window::MirrorItem* entry READ entry WRITE setEntry NOTIFY entryChanged REQUIRED FINAL)

 public:
  using QObject::QObject;
  ~MirrorRef() override { drop(); }

  [[nodiscard]] MirrorItem* entry() const { return entry_; }
  void setEntry(MirrorItem* entry);

 Q_SIGNALS:
  void entryChanged();

 private:
  void drop();

  QPointer<MirrorItem> entry_;  // null when the store has ended
};

/// Names one property of a view-model: `StripViewModel::nameKey` is what the logic publishes the property `name` under.
template <typename Model, typename T>
struct MirrorKey : AnyMirrorKey {
  using Value = T;

  T Model::*const value;
  void (Model::*const changed)();

  constexpr MirrorKey(T Model::*member, void (Model::*signal)())
      : AnyMirrorKey(&assign), value(member), changed(signal) {}

 private:
  static void assign(const AnyMirrorKey& key, MirrorItem& item, const QVariant& sent) {
    const auto& self = static_cast<const MirrorKey&>(key);
    auto& model = static_cast<Model&>(item);
    auto now = sent.value<T>();
    if (model.*self.value != now) {
      model.*self.value = std::move(now);
      Q_EMIT(model.*self.changed)();
    }
  }
};

}  // namespace vrel::window

/// One property of a view-model, which names itself `Self`: read-only, with a signal and a key of its own.
// NOLINTNEXTLINE(bugprone-macro-parentheses) a type and a name
#define VREL_SHOWN(Type, name)                               \
 public:                                                     \
  Q_PROPERTY(Type name READ name NOTIFY name##Changed FINAL) \
  [[nodiscard]] const Type& name() const {                   \
    return name##_;                                          \
  }                                                          \
  Q_SIGNAL void name##Changed();                             \
                                                             \
 private:                                                    \
  Type name##_{};                                            \
                                                             \
 public:                                                     \
  static constexpr ::vrel::window::MirrorKey<Self, Type> name##Key{&Self::name##_, &Self::name##Changed};
