// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/guest/guest_editor.h"

#include <string_view>
#include <utility>

#include "system/plugins/sandbox/messages.h"

namespace vrel::sandbox {
namespace {

// For the editor before it, and for a plug-in that is made once more.
constexpr auto longestWait = std::chrono::seconds(3);

// For an editor to clean up.
constexpr auto editorEndGrace = std::chrono::milliseconds(500);

void refuse(const FileDescriptor& socket, std::string_view why) {
  (void)sendMessage(socket.get(), {MessageKind::failed, 0, Bytes(why.begin(), why.end())});
}

}  // namespace

void GuestEditor::request(FileDescriptor socket) {
  if (socket) {
    waiting_ = {std::move(socket), std::chrono::steady_clock::now() + longestWait};
  }
}

bool GuestEditor::isBusy() const {
  return ended_.valid() && ended_.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
}

bool GuestEditor::openWaiting(lv2::Lv2Processor& processor) {
  if (!waiting_) {
    return false;
  }
  if (isBusy() || processor.isRecreating()) {
    if (std::chrono::steady_clock::now() < waiting_->until) {
      return true;
    }
    refuse(waiting_->socket, "cannot open: the one before it hangs");
    waiting_.reset();
    return false;
  }
  FileDescriptor socket = std::move(waiting_->socket);
  waiting_.reset();
  std::shared_ptr<editor::EditorProgram> program;
  processor.besideBlocks([&](lv2::HostedPlugin& plugin) {
    program = std::make_shared<editor::EditorProgram>(
        std::move(socket), editor::PluginAccess{plugin.handle(), plugin.extensionData(), plugin.urids()});
  });
  auto ended = std::make_shared<std::promise<void>>();
  ended_ = ended->get_future();
  program_ = program;
  thread_->post([program = std::move(program), ended]() mutable {
    (void)program->serve();
    program.reset();  // with its end of the socket
    ended->set_value();
  });
  return false;
}

bool GuestEditor::hasStopped() const {
  const auto program = program_.lock();
  return program != nullptr && program->hasLostDisplay();
}

void GuestEditor::leaveThread() {
  waiting_.reset();
  program_.reset();
  ended_ = {};
  (void)thread_.release();  // its end would wait for the thread's
  thread_ = std::make_unique<SerialThread>(SerialThread::AtEnd::dropWork);
  hasLeftThread_ = true;
}

bool GuestEditor::end() {
  waiting_.reset();
  if (!isBusy()) {
    return true;
  }
  if (const auto program = program_.lock()) {
    program->askToEnd();
  }
  return ended_.wait_for(editorEndGrace) == std::future_status::ready;
}

}  // namespace vrel::sandbox
