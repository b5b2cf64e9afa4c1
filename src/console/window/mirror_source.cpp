// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/mirror_source.h"

#include "platform/dispatch.h"

namespace vrel::window {

MirrorId MirrorSource::add(MakeMirrorItem make) {
  pending_.added[++lastId_] = make;
  schedule();
  return lastId_;
}

void MirrorSource::setValue(MirrorId object, const AnyMirrorKey& key, QVariant value) {
  pending_.values[object][&key] = std::move(value);
  schedule();
}

void MirrorSource::setRows(MirrorId list, std::vector<MirrorId> objects) {
  pending_.lists[list] = std::move(objects);
  schedule();
}

void MirrorSource::remove(MirrorId object) {
  pending_.values.erase(object);
  const bool isUnknownToTheWindow = pending_.added.erase(object) != 0;
  if (!isUnknownToTheWindow) {
    pending_.gone.push_back(object);
    schedule();
  }
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
  if (pending_.isEmpty()) {
    return;
  }
  isUnderWay_ = true;
  deliver_(std::exchange(pending_, {}));
}

void MirrorSource::delivered() {
  isUnderWay_ = false;
  deliver();
}

}  // namespace vrel::window
