// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/mirror_source.h"

#include "platform/dispatch.h"

namespace vrel::window {

void MirrorSource::setValue(MirrorId object, const QString& name, QVariant value) {
  pending_.values[object][name] = std::move(value);
  schedule();
}

void MirrorSource::setRows(MirrorId list, std::vector<MirrorId> objects) {
  pending_.lists[list] = std::move(objects);
  schedule();
}

void MirrorSource::remove(MirrorId object) {
  pending_.values.erase(object);
  pending_.gone.push_back(object);
  schedule();
}

void MirrorSource::schedule() {
  if (isScheduled_) {
    return;
  }
  isScheduled_ = true;
  mainQueue_.async([this, life = life_.watch()] {
    if (life.isAlive()) {
      turn();
    }
  });
}

void MirrorSource::turn() {
  if (refresh) {
    refresh();
  }
  isScheduled_ = false;
  if (!isUnderWay_) {
    deliver();
  }
}

void MirrorSource::deliver() {
  if (pending_.values.empty() && pending_.lists.empty() && pending_.gone.empty()) {
    return;
  }
  isUnderWay_ = true;
  deliver_(std::exchange(pending_, {}));
}

void MirrorSource::delivered() {
  isUnderWay_ = false;
  deliver();
}

void MirrorPublisher::setVariant(const QString& name, QVariant value) {
  const auto [sent, isNew] = sent_.try_emplace(name, value);
  if (isNew || sent->second != value) {
    sent->second = value;
    source_.setValue(id, name, std::move(value));
  }
}

}  // namespace vrel::window
