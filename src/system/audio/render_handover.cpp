// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/render_handover.h"

#include <algorithm>
#include <thread>

namespace vrel::audio {

void RenderHandover::Port::renderWithEvents(float* left, float* right, std::uint32_t frameCount,
                                            std::span<DeviceEvent> events) noexcept {
  isInside_ = true;
  const bool isSounding = !isRetired_ && handover_.renderFor(*this, left, right, frameCount, events);
  isInside_ = false;
  if (!isSounding) {
    std::fill_n(left, frameCount, 0.0F);
    std::fill_n(right, frameCount, 0.0F);
  }
  {
    const AudioThreadScope audioThread;
    if (hasGap_.exchange(false)) {
      edges_.forget();
    }
    edges_.shape({left, right}, frameCount, isSounding);
  }
  isSilent_ = !isSounding;
  blocks_.fetch_add(1, std::memory_order_relaxed);
}

void RenderHandover::Port::retire() {
  isRetired_ = true;
  while (isInside_) {
    std::this_thread::yield();
  }
}

bool RenderHandover::renderFor(const Port& port, float* left, float* right, std::uint32_t frameCount,
                               std::span<DeviceEvent> events) noexcept {
  if (selected_ != &port || isRendering_.exchange(true)) {
    return false;
  }
  // In one order with `withdraw`: either it sees that a block is under way, or this sees that nothing is selected.
  const bool isSelected = selected_ == &port;
  if (isSelected) {
    renderer_->renderWithEvents(left, right, frameCount, events);
  }
  isRendering_ = false;
  return isSelected;
}

void RenderHandover::withdraw() {
  selected_ = nullptr;
  while (isRendering_) {
    std::this_thread::yield();
  }
}

}  // namespace vrel::audio
