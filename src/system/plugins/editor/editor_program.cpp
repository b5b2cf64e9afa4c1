// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/editor/editor_program.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <span>
#include <string_view>
#include <utility>

namespace vrel::editor {
namespace {

using sandbox::Bytes;
using sandbox::Message;
using sandbox::MessageKind;
using Clock = std::chrono::steady_clock;

constexpr auto idleInterval = std::chrono::milliseconds(33);
constexpr std::size_t longestEditorLine = 4096;
constexpr std::size_t mostValuesInMessage = 4096;

Bytes bytesOf(const std::string& text) {
  return {text.begin(), text.begin() + static_cast<std::ptrdiff_t>(std::min(text.size(), longestEditorLine))};
}

}  // namespace

int EditorProgram::serve() {
  if (access_) {
    EditorWindow::outliveDisplay(&displayLost_);
  }
  const bool isOpen = openAsAsked();
  if (isOpen) {
    run();
  }
  if (isOpen && access_) {
    send({MessageKind::editorClosed});  // where it was not closed by the console
  }
  finish();
  return isOpen ? EXIT_SUCCESS : EXIT_FAILURE;
}

bool EditorProgram::openAsAsked() {
  std::optional<Message> first;
  while (!isOver_ && !(first = parser_.next())) {
    readMessages();
  }
  const auto request =
      first && first->kind == MessageKind::openEditor ? sandbox::editorRequestFromBytes(first->body) : std::nullopt;
  if (!request) {
    return false;
  }
  if (const Outcome failure = open(*request)) {
    send({MessageKind::failed, 0, bytesOf(failure->description)});
    return false;
  }
  return true;
}

/// The editor ends before its window does.
void EditorProgram::finish() {
  editor_.reset();
  if (gtk_ != nullptr) {
    gtk_->removeWindow();
  }
  guard_.reset();
  window_.reset();
  if (access_) {
    EditorWindow::outliveDisplay(nullptr);
  }
}

/// The last that is heard of it: its thread stops.
void EditorProgram::loseDisplay() {
  hasLostDisplay_ = true;
  constexpr std::string_view why = "lost its X display";
  send({MessageKind::failed, 0, Bytes(why.begin(), why.end())});
  (void)shutdown(socket_.get(), SHUT_RDWR);
}

void EditorProgram::askToEnd() {
  // Then nothing can be read, as when the console has gone; but it still hears that the editor has closed.
  (void)shutdown(socket_.get(), SHUT_RD);
}

Outcome EditorProgram::open(const sandbox::EditorRequest& request) {
  editor_ = std::make_unique<HostedEditor>(
      request,
      HostedEditor::Handlers{.written = [this](const sandbox::PortValue& value) { written_.push_back(value); },
                             .atomWritten =
                                 [this](std::uint32_t port, const std::vector<std::uint8_t>& packed) {
                                   sandbox::ByteWriter writer;
                                   writer.number(port);
                                   Bytes body = writer.take();
                                   body.insert(body.end(), packed.begin(), packed.end());
                                   if (body.size() <= sandbox::largestBody(MessageKind::atomWritten)) {
                                     sendWritten();  // in the order of the editor
                                     send({MessageKind::atomWritten, 0, std::move(body)});
                                   }
                                 },
                             .resized =
                                 [this](const sandbox::EditorSize& size) {
                                   if (window_ != nullptr) {
                                     window_->resizeView(size);
                                   }
                                 },
                             .fileRequested =
                                 [this](const std::string& uri) {
                                   send({MessageKind::fileRequested, 0, bytesOf(uri)});
                                 },
                             .log =
                                 [this](const std::string& line) {
                                   send({MessageKind::log, 0, bytesOf(line)});
                                 }},
      access_ ? &*access_ : nullptr);
  EditorWindow::prepare();
  if (request.place.kind == EditorKind::gtk2) {
    auto toolkit = GtkToolkit::load();
    if (!toolkit) {
      return toolkit.error();
    }
    gtk_ = std::move(toolkit).value();
  }
  if (Outcome failure = editor_->load()) {
    return failure;
  }
  if (!isEmbedded(request.place.kind)) {
    if (!EditorWindow::hasDisplay()) {
      return Error{"found no X display"};
    }
    outside_ = std::make_unique<OutsideWindows>(request.mainWindow);
  } else if (Outcome failure = openWindow(request)) {
    return failure;
  }
  if (Outcome failure = editor_->open(window_ != nullptr ? window_->id() : 0)) {
    return failure;
  }
  if (access_) {
    EditorWindow::outliveExit();
  }
  embed();
  sentSize_ = sandbox::EditorSize{};
  if (window_ != nullptr) {
    sentSize_ = window_->viewSize().value_or(*sentSize_);
  }
  send({MessageKind::editorShown, 0, toBytes(*sentSize_)});
  return std::nullopt;
}

Outcome EditorProgram::openWindow(const sandbox::EditorRequest& request) {
  auto window = EditorWindow::open({request.title, request.content, request.mainWindow});
  if (!window) {
    return window.error();
  }
  window_ = std::move(window).value();
  window_->show();
  guard_ = std::make_unique<WindowGuard>(window_->id(), socket_.get(), [this](const KeyEvent& key) {
    send({MessageKind::editorKey, 0, sandbox::toBytes(key)});
  });
  guard_->takePanicKeys(request.takesStageKeys);
  return std::nullopt;
}

void EditorProgram::embed() {
  if (window_ == nullptr) {
    return;
  }
  if (gtk_ == nullptr) {
    window_->adopt(reinterpret_cast<std::uintptr_t>(editor_->widget()));
  } else if (editor_->widget() != nullptr) {
    window_->adopt(gtk_->embed(editor_->widget(), window_->id()));
    window_->resizeView(gtk_->wantedSize());
  }
}

void EditorProgram::run() {
  auto idleAt = Clock::now();
  while (!isOver_) {
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(idleAt - Clock::now()).count();
    waitForWork(static_cast<int>(std::max<std::int64_t>(0, wait)));
    while (const auto message = parser_.next()) {
      handle(*message);
    }
    if (window_ != nullptr) {
      window_->handleEvents();
    }
    if (gtk_ != nullptr) {
      gtk_->handleEvents();
    }
    if (!isOver_ && window_ != nullptr && window_->isClosed()) {
      send({MessageKind::editorClosed});
      isOver_ = true;
    }
    if (!isOver_ && Clock::now() >= idleAt) {
      const bool isIdle = window_ == nullptr || window_->isMapped();
      if (isIdle && !editor_->idle()) {
        send({MessageKind::editorClosed});
        isOver_ = true;
      }
      // Not in a row when it takes longer than that.
      idleAt = Clock::now() + idleInterval;
      passOn();
    }
  }
}

void EditorProgram::waitForWork(int milliseconds) {
  const int events = window_ != nullptr ? window_->descriptor() : -1;
  std::array<pollfd, 2> ready{{{socket_.get(), POLLIN, 0}, {events, POLLIN, 0}}};
  if (poll(ready.data(), ready.size(), milliseconds) > 0 && ready[0].revents != 0) {
    readMessages();
  }
}

void EditorProgram::readMessages() {
  std::array<std::uint8_t, 65536> buffer{};
  const ssize_t count = recv(socket_.get(), buffer.data(), buffer.size(), 0);
  if (count > 0) {
    parser_.add(std::span(buffer).first(static_cast<std::size_t>(count)));
  }
  if (count == 0 || (count < 0 && errno != EINTR) || parser_.isDamaged()) {
    consoleIsGone();
  }
}

void EditorProgram::handle(const Message& message) {
  sandbox::ByteReader reader(message.body);
  switch (message.kind) {
    case MessageKind::fitEditor:
      if (const auto size = sandbox::editorSizeFromBytes(message.body); size && window_ != nullptr) {
        window_->setContentSize(*size);
      }
      break;
    case MessageKind::moveEditor:
      moveWindows(static_cast<sandbox::EditorMove>(reader.number<std::uint32_t>()));
      break;
    case MessageKind::portValues:
      if (const auto values = sandbox::portValuesFromBytes(message.body)) {
        editor_->show(*values);
      }
      break;
    case MessageKind::portAtom: {
      const auto port = reader.number<std::uint32_t>();
      editor_->showAtom(port, std::span(message.body).last(reader.remaining()));
      break;
    }
    case MessageKind::takeStageKeys:
      if (guard_ != nullptr) {
        guard_->takePanicKeys(reader.number<std::uint8_t>() != 0);
      }
      break;
    default:
      isOver_ = true;
      break;
  }
}

void EditorProgram::moveWindows(sandbox::EditorMove move) {
  if (window_ != nullptr) {
    window_->move(move);
  } else if (move != sandbox::EditorMove::center) {
    outside_->keepAbove(move == sandbox::EditorMove::raise);
  }
}

void EditorProgram::sendWritten() {
  for (std::size_t first = 0; first < written_.size(); first += mostValuesInMessage) {
    const std::size_t count = std::min(mostValuesInMessage, written_.size() - first);
    send({MessageKind::portsWritten, 0, toBytes(std::span<const sandbox::PortValue>(written_).subspan(first, count))});
  }
  written_.clear();
}

/// What the editor has done since the last time.
void EditorProgram::passOn() {
  sendWritten();
  if (window_ == nullptr) {
    return;
  }
  if (const auto size = window_->viewSize(); size && sentSize_ != size) {
    sentSize_ = size;
    send({MessageKind::editorSized, 0, toBytes(*size)});
  }
  for (const KeyEvent& key : window_->takeKeys()) {
    send({MessageKind::editorKey, 0, sandbox::toBytes(key)});
  }
}

void EditorProgram::send(const Message& message) {
  const MutexLock lock(sending_);
  if (!sendMessage(socket_.get(), message)) {
    consoleIsGone();
  }
}

/// Nobody is left to open anything for.
void EditorProgram::consoleIsGone() {
  if (!access_) {
    std::_Exit(EXIT_FAILURE);
  }
  isOver_ = true;
}

}  // namespace vrel::editor
