// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/performance_board.h"

#include <QStringList>
#include <cstddef>
#include <cstdint>

#include "document/note_name.h"

namespace vrel::window {

void PerformanceBoard::pull() {
  constexpr std::size_t wordBits = 64;
  Notes notes;
  for (std::size_t word = played_->notes.size(); word-- > 0;) {
    notes <<= wordBits;
    notes |= Notes(played_->notes[word].load(std::memory_order_relaxed));
  }
  if (notes != notes_) {
    notes_ = notes;
    Q_EMIT notesChanged();
  }
  bool isChanged = false;
  const auto take = [&isChanged](float& value, const std::atomic<float>& now) {
    const float taken = now.load(std::memory_order_relaxed);
    isChanged = isChanged || taken != value;
    value = taken;
  };
  take(pitchBend_, played_->pitchBend);
  take(modulation_, played_->modulation);
  take(sustain_, played_->sustain);
  take(expression_, played_->expression);
  if (isChanged) {
    Q_EMIT valuesChanged();
  }
  pullMessages();
}

void PerformanceBoard::pullMessages() {
  const bool wasArriving = isMidiArriving();
  const std::uint32_t messages = played_->messages.load(std::memory_order_relaxed);
  if (messages != messages_) {
    messages_ = messages;
    litFrames_ = framesOfAMessage;
  } else if (litFrames_ > 0) {
    --litFrames_;
  }
  if (wasArriving != isMidiArriving()) {
    Q_EMIT midiChanged();
  }
}

QString PerformanceBoard::heldNotes() const {
  QStringList names;
  for (std::size_t note = 0; note < notes_.size(); ++note) {
    if (notes_[note]) {
      names.append(QString::fromStdString(noteName(static_cast<std::uint8_t>(note))));
    }
  }
  return names.join(QLatin1Char(' '));
}

}  // namespace vrel::window
