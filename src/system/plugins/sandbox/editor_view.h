// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/plugin_editor.h"
#include "system/plugins/sandbox/editor_messages.h"
#include "system/plugins/sandbox/editor_service.h"

namespace vrel::sandbox {

class EditorSession;

/// The view and the panel of a plug-in's own editor: a window of another process, which is started when it is shown and
/// ends when it is closed. Main thread.
class EditorView final : public NSViewController, public NSPanel, public std::enable_shared_from_this<EditorView> {
 public:
  EditorView(std::shared_ptr<EditorService> service, EditorPlace place, std::shared_ptr<GuestGate> guest,
             double sampleRate);
  ~EditorView() override;
  EditorView(const EditorView&) = delete;
  EditorView& operator=(const EditorView&) = delete;

  [[nodiscard]] NSSize measuredSize() override { return measured_; }
  void setViewSize(const NSSize& /*size*/) override {}  // the editor's own to choose
  [[nodiscard]] std::shared_ptr<NSPanel> ownPanel() override { return shared_from_this(); }
  void setEvents(NSViewEvents events) override { events_ = std::move(events); }

  void setTitle(const std::string& title) override { title_ = title; }
  void setContentSize(const NSSize& size) override;
  void center() override { move(EditorMove::center); }
  void makeKeyAndOrderFront() override;
  void orderFrontRegardless() override { move(EditorMove::raise); }
  void orderAboveMainWindow() override { move(EditorMove::keepAbove); }
  [[nodiscard]] bool isVisible() const override { return isVisible_; }
  void close() override;

  void takeStageKeys(bool areTaken);

 private:
  friend class EditorSession;

  [[nodiscard]] EditorSupervisor::Key attach(Message first, std::shared_ptr<EditorSession> session);
  void move(EditorMove move);
  void watchAtoms();
  void end();
  void takeSize(const std::optional<EditorSize>& size, bool isShown);
  void closedByPerson();
  void processEnded(const std::string& how);
  void edited(std::optional<std::uint32_t> port) const;
  void fileRequested(const std::string& identifier) const;
  void keyPressed(const KeyEvent& key) const;

  const std::shared_ptr<EditorService> service_;
  const EditorPlace place_;
  const std::shared_ptr<GuestGate> guest_;
  const double sampleRate_;
  NSViewEvents events_;
  std::string title_;
  NSSize measured_;
  EditorSize content_;
  std::optional<EditorSupervisor::Key> editor_;  // none before it is shown
  bool isVisible_ = false;
  bool hasArrived_ = false;
};

}  // namespace vrel::sandbox
