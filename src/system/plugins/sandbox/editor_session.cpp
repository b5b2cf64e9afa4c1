// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/editor_session.h"

#include <bit>
#include <cmath>
#include <string_view>
#include <utility>

#include "platform/dispatch.h"
#include "system/plugins/sandbox/editor_view.h"
#include "system/plugins/sandbox/supervisor.h"

namespace vrel::sandbox {
namespace {

// More than a person presses in the time between two.
constexpr int mostKeysBetweenNews = 8;

// What fits into one message.
constexpr std::size_t mostValuesAtOnce = 4096;

// Messages that change nothing: notes played on an editor's keyboard, and questions. What an editor says when it opens
// is taken for a greeting.
constexpr std::string_view noteUri = "http://lv2plug.in/ns/ext/midi#MidiEvent";
constexpr std::string_view questionUri = "http://lv2plug.in/ns/ext/patch#Get";
constexpr auto greetingTime = std::chrono::seconds(1);

bool isSame(float one, float other) {
  return std::bit_cast<std::uint32_t>(one) == std::bit_cast<std::uint32_t>(other);
}

}  // namespace

EditorSession::EditorSession(std::weak_ptr<EditorView> view, MainQueue& mainQueue, std::shared_ptr<GuestGate> guest,
                             const EditorPlace& place, const std::vector<PortValue>& values)
    : view_(std::move(view)), mainQueue_(mainQueue), guest_(std::move(guest)) {
  for (const PortValue& each : values) {
    ports_[each.port].value = each.value;
  }
  for (const EditorPort& port : place.ports) {
    if (const auto found = ports_.find(port.index); found != ports_.end()) {
      found->second.isSetting = port.isSetting;
    }
  }
}

void EditorSession::onView(std::function<void(EditorView&)> action) const {
  mainQueue_.async([weak = view_, action = std::move(action)] {
    if (const auto view = weak.lock()) {
      action(*view);
    }
  });
}

bool EditorSession::accept(const Message& message) {
  switch (message.kind) {
    case MessageKind::portsWritten:
      return takeWritten(message.body);
    case MessageKind::editorShown:
    case MessageKind::editorSized:
      return takeSize(message);
    case MessageKind::atomWritten:
      return takeAtom(message.body);
    case MessageKind::editorKey:
      return takeKey(message.body);
    case MessageKind::fileRequested:
      return takeFileRequest(message.body);
    case MessageKind::editorClosed:
      if (!std::exchange(isClosed_, true)) {
        onView([](EditorView& view) { view.closedByPerson(); });
      }
      return true;
    case MessageKind::failed:
      failure_.assign(message.body.begin(), message.body.end());
      return true;
    default:
      return false;
  }
}

bool EditorSession::takeWritten(const Bytes& body) {
  const auto written = portValuesFromBytes(body);
  if (!written) {
    return false;
  }
  bool isEdit = false;
  std::optional<std::uint32_t> turned;
  guest_->pass([&, now = std::chrono::steady_clock::now()](Guest& guest) {
    ControlTable& table = guest.block().controls;
    for (const PortValue& each : *written) {
      const auto found = ports_.find(each.port);
      if (found == ports_.end() || !found->second.isSetting || !std::isfinite(each.value)) {
        continue;
      }
      if (!isSame(control_table::valueOf(table, each.port), each.value)) {
        isEdit = true;
        turned = found->second.movement.begins(now) ? std::optional(each.port) : turned;
      }
      found->second.value = each.value;  // not to be sent back to a knob that is being turned
      control_table::want(table, each.port, each.value);
    }
  });
  if (isEdit) {
    reportEdit(turned);
  }
  return true;
}

void EditorSession::reportEdit(std::optional<std::uint32_t> port) const {
  if (port) {
    const MutexLock lock(pending_->mutex);
    pending_->port = port;
  }
  if (!pending_->isEditPosted.exchange(true)) {
    onView([pending = pending_](EditorView& view) {
      pending->isEditPosted = false;
      std::optional<std::uint32_t> turned;
      {
        const MutexLock lock(pending->mutex);
        turned = std::exchange(pending->port, std::nullopt);
      }
      view.edited(turned);
    });
  }
}

bool EditorSession::takeFileRequest(const Bytes& body) {
  if (!pending_->isRequestPosted.exchange(true)) {
    onView([pending = pending_, identifier = std::string(body.begin(), body.end())](EditorView& view) {
      pending->isRequestPosted = false;
      view.fileRequested(identifier);
    });
  }
  return true;
}

bool EditorSession::takeAtom(const Bytes& body) {
  ByteReader reader(body);
  (void)reader.number<std::uint32_t>();  // the port, which the plug-in's process checks, as it does the atom
  bool isEdit = std::chrono::steady_clock::now() - greetingTime >= shownAt_;
  for (auto count = reader.number<std::uint32_t>(); count > 0 && reader.ok(); --count) {
    (void)reader.number<std::uint32_t>();
    const std::string uri = reader.text();
    isEdit = isEdit && uri != noteUri && uri != questionUri;
  }
  if (!reader.ok()) {
    return false;
  }
  guest_->pass([&](Guest& guest) { guest.send(MessageKind::editorAtom, body); });
  if (isEdit) {
    reportEdit();
  }
  return true;
}

bool EditorSession::takeSize(const Message& message) {
  const auto size = editorSizeFromBytes(message.body);
  if (!size) {
    return false;
  }
  const bool isShown = message.kind == MessageKind::editorShown;
  if (isShown) {
    if (shownAt_ != std::chrono::steady_clock::time_point::max()) {
      return false;
    }
    shownAt_ = std::chrono::steady_clock::now();
  }
  bool isPosted = false;
  {
    const MutexLock lock(pending_->mutex);
    isPosted = std::exchange(pending_->size, size).has_value();
  }
  if (isShown || !isPosted) {
    onView([pending = pending_, isShown](EditorView& view) {
      std::optional<EditorSize> latest;
      {
        const MutexLock lock(pending->mutex);
        latest = std::exchange(pending->size, std::nullopt);
      }
      if (latest || isShown) {
        view.takeSize(latest, isShown);
      }
    });
  }
  return true;
}

bool EditorSession::takeKey(const Bytes& body) {
  const auto key = keyEventFromBytes(body);
  if (key && ++keysSinceNews_ <= mostKeysBetweenNews) {
    onView([key = *key](EditorView& view) { view.keyPressed(key); });
  }
  return key.has_value();
}

std::optional<Message> EditorSession::news() {
  keysSinceNews_ = 0;
  std::vector<PortValue> changed;
  guest_->pass([&](Guest& guest) {
    ControlTable& table = guest.block().controls;
    for (auto& [port, known] : ports_) {
      const float value = control_table::valueOf(table, port);
      if (!isSame(value, known.value) && changed.size() < mostValuesAtOnce) {
        known.value = value;
        changed.push_back({port, value});
      }
    }
  });
  return changed.empty() ? std::nullopt : std::optional(Message{MessageKind::portValues, 0, toBytes(changed)});
}

void EditorSession::ended(const std::string& how) {
  onView([words = failure_.empty() ? how : failure_](EditorView& view) { view.processEnded(words); });
}

}  // namespace vrel::sandbox
