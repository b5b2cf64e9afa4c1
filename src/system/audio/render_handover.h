// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "system/audio/output_device.h"
#include "system/audio/soft_edges.h"

namespace vrel::audio {

/// Hands one renderer from device to device while all of them run: the one whose port is selected plays it, the others
/// play silence.
///
/// The sound moves without a click: a port that gets it fades in, one that loses it fades out. The renderer is never
/// called twice at a time: a port that is selected while another is still within its block plays that block silent.
///
/// Threads: the ports on the audio threads of their devices, the rest on one control thread.
class RenderHandover {
 public:
  /// What a device asks for its blocks, silent until it is selected. It ends when its device does not call it any more,
  /// and before the handover, unless it is retired.
  class Port final : public BlockRenderer {
   public:
    explicit Port(RenderHandover& handover) : handover_(handover) {}

    void render(float* left, float* right, std::uint32_t frameCount) noexcept override {
      Port::renderWithEvents(left, right, frameCount, {});
    }
    void renderWithEvents(float* left, float* right, std::uint32_t frameCount,
                          std::span<DeviceEvent> events) noexcept override;
    void pump() override {}

    /// From now on it plays silence, and the handover may end before it. Waits for the block under way.
    void retire();

    /// The device has been silent by itself: what it plays next begins from silence. Any thread.
    void noteGap() { hasGap_ = true; }

    /// Blocks asked for so far, and whether the last one was silent. Any thread.
    [[nodiscard]] std::uint64_t blocks() const { return blocks_.load(std::memory_order_relaxed); }
    [[nodiscard]] bool isSilent() const { return isSilent_.load(); }

   private:
    RenderHandover& handover_;
    std::atomic<std::uint64_t> blocks_{0};
    std::atomic<bool> isSilent_{true};
    std::atomic<bool> hasGap_{false};
    std::atomic<bool> isRetired_{false};
    std::atomic<bool> isInside_{false};  // of the handover
    SoftEdges edges_{true};
  };

  RenderHandover() = default;
  RenderHandover(const RenderHandover&) = delete;
  RenderHandover& operator=(const RenderHandover&) = delete;

  /// What the selected port plays from now on.
  void give(BlockRenderer& renderer) { renderer_ = &renderer; }

  /// Once it has returned, the renderer is not called any more, and no port is selected.
  void withdraw();

  /// The port that plays from its next block on. Wait-free.
  void select(const Port& port) { selected_ = &port; }
  [[nodiscard]] bool isSelected(const Port& port) const { return selected_ == &port; }

 private:
  [[nodiscard]] bool renderFor(const Port& port, float* left, float* right, std::uint32_t frameCount,
                               std::span<DeviceEvent> events) noexcept;

  BlockRenderer* renderer_ = nullptr;  // written while no port is selected
  std::atomic<const Port*> selected_{nullptr};
  std::atomic<bool> isRendering_{false};
};

}  // namespace vrel::audio
