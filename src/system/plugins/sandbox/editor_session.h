// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "system/plugins/sandbox/editor_messages.h"
#include "system/plugins/sandbox/editor_service.h"
#include "system/plugins/sandbox/editor_supervisor.h"
#include "system/plugins/sandbox/movement.h"

namespace vrel::sandbox {

class EditorView;

/// What passes between one editor and its plug-in, on the thread of the editors: the values of the controls, both ways.
/// All else goes on to the view, on the main queue; floods are cut there, so that no editor fills that queue.
class EditorSession final : public EditorClient {
 public:
  /// `values` are those that the editor begins with.
  EditorSession(std::weak_ptr<EditorView> view, MainQueue& mainQueue, std::shared_ptr<GuestGate> guest,
                const EditorPlace& place, const std::vector<PortValue>& values);

  [[nodiscard]] bool accept(const Message& message) override;
  [[nodiscard]] std::optional<Message> news() override;
  void ended(const std::string& how) override;

 private:
  struct Known {
    bool isSetting = false;
    float value = 0;  // that the editor has
    Movement movement;
  };

  [[nodiscard]] bool takeWritten(const Bytes& body);
  [[nodiscard]] bool takeSize(const Message& message);
  [[nodiscard]] bool takeKey(const Bytes& body);
  [[nodiscard]] bool takeAtom(const Bytes& body);
  [[nodiscard]] bool takeFileRequest(const Bytes& body);
  /// `port` is of a control that begins to move.
  void reportEdit(std::optional<std::uint32_t> port = std::nullopt) const;

  /// Runs on the main queue, while the view is there.
  void onView(std::function<void(EditorView&)> action) const;

  const std::weak_ptr<EditorView> view_;
  MainQueue& mainQueue_;
  const std::shared_ptr<GuestGate> guest_;
  std::map<std::uint32_t, Known> ports_;
  std::string failure_;
  int keysSinceNews_ = 0;
  bool isClosed_ = false;
  std::chrono::steady_clock::time_point shownAt_ = std::chrono::steady_clock::time_point::max();

  // Shared with what is on its way to the view.
  struct Pending {
    std::atomic<bool> isEditPosted{false};
    std::atomic<bool> isRequestPosted{false};
    Mutex mutex;
    std::optional<std::uint32_t> port VREL_GUARDED_BY(mutex);  // that was turned last, as far as the view knows
    std::optional<EditorSize> size VREL_GUARDED_BY(mutex);     // newer than what the view has
  };
  const std::shared_ptr<Pending> pending_ = std::make_shared<Pending>();
};

}  // namespace vrel::sandbox
