// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/editor_view.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "system/plugins/sandbox/editor_session.h"
#include "system/plugins/sandbox/supervisor.h"

namespace vrel::sandbox {
namespace {

// An editor that does not read misses what its plug-in shows from then on.
constexpr std::size_t mostWaitingBytes = std::size_t{1} << 20U;

}  // namespace

bool EditorService::hasDisplay() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
  const char* const display = std::getenv("DISPLAY");
  return display != nullptr && *display != '\0';
}

std::shared_ptr<NSViewController> EditorService::makeView(const std::shared_ptr<EditorService>& service,
                                                          EditorPlace place, std::shared_ptr<GuestGate> guest,
                                                          double sampleRate) {
  return std::make_shared<EditorView>(service, std::move(place), std::move(guest), sampleRate);
}

void EditorService::takeStageKeys(bool areTaken) {
  takesStageKeys_ = areTaken;
  std::erase_if(shown_, [](const auto& each) { return each.expired(); });
  for (const auto& weak : shown_) {
    if (const auto view = weak.lock()) {
      view->takeStageKeys(areTaken);
    }
  }
}

EditorView::EditorView(std::shared_ptr<EditorService> service, EditorPlace place, std::shared_ptr<GuestGate> guest,
                       double sampleRate)
    : service_(std::move(service)), place_(std::move(place)), guest_(std::move(guest)), sampleRate_(sampleRate) {}

EditorView::~EditorView() {
  close();
}

void EditorView::makeKeyAndOrderFront() {
  if (editor_) {
    return;
  }
  EditorRequest request{.place = place_,
                        .title = title_,
                        .content = content_,
                        .mainWindow = service_->mainWindow_,
                        .sampleRate = sampleRate_,
                        .takesStageKeys = service_->takesStageKeys_,
                        .values = {}};
  guest_->pass([&](Guest& guest) {
    ControlTable& table = guest.block().controls;
    for (const EditorPort& port : place_.ports) {
      if (port.isControl && port.index < ControlTable::capacity) {
        request.values.push_back({port.index, control_table::valueOf(table, port.index)});
      }
    }
  });
  auto session =
      std::make_shared<EditorSession>(weak_from_this(), service_->settings_.mainQueue, guest_, place_, request.values);
  Message first{MessageKind::openEditor, 0, toBytes(request)};
  editor_ = place_.needsInstance
                ? attach(std::move(first), std::move(session))
                : service_->settings_.supervisor->open(place_.pluginName, std::move(first), std::move(session));
  isVisible_ = true;
  watchAtoms();
  std::erase_if(service_->shown_, [](const auto& each) { return each.expired(); });
  service_->shown_.push_back(weak_from_this());
}

EditorSupervisor::Key EditorView::attach(Message first, std::shared_ptr<EditorSession> session) {
  // Without the other end it has ended before it begins, which is reported like any other end.
  std::array<int, 2> ends{-1, -1};
  (void)socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data());
  FileDescriptor own(ends[0]);
  FileDescriptor others(ends[1]);
  guest_->pass([&](Guest& guest) { guest.attachEditor(std::move(others)); });
  return service_->settings_.supervisor->attach(place_.pluginName, std::move(own), std::move(first),
                                                std::move(session));
}

void EditorView::setContentSize(const NSSize& size) {
  const EditorSize wanted{static_cast<std::uint32_t>(std::max(1.0, size.width)),
                          static_cast<std::uint32_t>(std::max(1.0, size.height))};
  if (std::exchange(content_, wanted) != wanted && isVisible_) {
    service_->settings_.supervisor->send(*editor_, {MessageKind::fitEditor, 0, toBytes(wanted)});
  }
}

void EditorView::move(EditorMove move) {
  if (isVisible_) {
    ByteWriter writer;
    writer.number(static_cast<std::uint32_t>(move));
    service_->settings_.supervisor->send(*editor_, {MessageKind::moveEditor, 0, writer.take()},
                                         move == EditorMove::keepAbove ? 0 : mostWaitingBytes);
  }
}

void EditorView::takeStageKeys(bool areTaken) {
  if (isVisible_) {
    ByteWriter writer;
    writer.number<std::uint8_t>(areTaken ? 1 : 0);
    service_->settings_.supervisor->send(*editor_, {MessageKind::takeStageKeys, 0, writer.take()});
  }
}

void EditorView::watchAtoms() {
  const bool hasAtoms =
      std::any_of(place_.ports.begin(), place_.ports.end(), [](const auto& port) { return port.isAtom; });
  if (!hasAtoms) {
    return;
  }
  guest_->pass([&](Guest& guest) {
    guest.link().setAtomListener(
        [weak = std::weak_ptr(service_->settings_.supervisor), editor = *editor_](const Bytes& atom) {
          if (const auto supervisor = weak.lock()) {
            supervisor->send(editor, {MessageKind::portAtom, 0, atom}, mostWaitingBytes);
          }
        });
    guest.send(MessageKind::watchAtoms, {1});
  });
}

void EditorView::end() {
  if (std::exchange(isVisible_, false)) {
    service_->settings_.supervisor->close(*editor_);
    guest_->pass([](Guest& guest) {
      guest.link().setAtomListener(nullptr);
      guest.send(MessageKind::watchAtoms, {0});
    });
  }
}

void EditorView::close() {
  end();
}

void EditorView::takeSize(const std::optional<EditorSize>& size, bool isShown) {
  if (!isVisible_) {
    return;
  }
  if (size) {
    measured_ = {static_cast<double>(size->width), static_cast<double>(size->height)};
  }
  hasArrived_ = hasArrived_ || isShown;
  if (const auto handler = isShown ? events_.arrived : events_.resized; handler && hasArrived_) {
    handler();
  }
}

void EditorView::closedByPerson() {
  end();  // the process ends by itself, or is killed
}

void EditorView::processEnded(const std::string& how) {
  if (!isVisible_) {
    return;
  }
  if (service_->settings_.log) {
    service_->settings_.log("the editor of plug-in " + place_.pluginName + " " + how +
                            (hasArrived_ ? "" : "; the generic one is shown"));
  }
  if (const auto handler = events_.failed; handler && !hasArrived_) {
    handler();
  } else {
    end();
  }
}

void EditorView::edited(std::optional<std::uint32_t> port) const {
  if (service_->handlers_.edited) {
    service_->handlers_.edited();
  }
  if (port && isVisible_ && events_.controlTurned) {
    events_.controlTurned(*port);
  }
}

void EditorView::fileRequested(const std::string& identifier) const {
  if (const auto handler = events_.fileRequested; handler && isVisible_) {
    handler(identifier);
  }
}

void EditorView::keyPressed(const KeyEvent& key) const {
  if (isVisible_ && service_->handlers_.keyPressed) {
    service_->handlers_.keyPressed(key);
  }
}

}  // namespace vrel::sandbox
