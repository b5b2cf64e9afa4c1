// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/editor_supervisor.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <span>
#include <system_error>
#include <utility>

namespace vrel::sandbox {
namespace {

// Of one event: the wake descriptor has tag 0, an editor's socket twice its key, its end one more.
constexpr std::uint64_t commandTag = 0;

// As much as is read of one editor before the others have their turn.
constexpr int editorReadsPerTurn = 4;
constexpr int editorReadsAtTheEnd = 256;

constexpr auto newsInterval = std::chrono::milliseconds(33);

// How long a keeper has to end with all that it keeps.
constexpr auto editorKillGrace = std::chrono::seconds(3);

}  // namespace

Result<std::shared_ptr<EditorSupervisor>> EditorSupervisor::start(Settings settings) {
  std::shared_ptr<EditorSupervisor> supervisor(new EditorSupervisor(std::move(settings)));
  if (Outcome failure = supervisor->begin()) {
    return *failure;
  }
  return supervisor;
}

Outcome EditorSupervisor::begin() {
  events_ = FileDescriptor(epoll_create1(EPOLL_CLOEXEC));
  wakeDescriptor_ = FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!events_ || !wakeDescriptor_) {
    return Error{"cannot open editors: " + std::generic_category().message(errno)};
  }
  watch(wakeDescriptor_.get(), commandTag);
  try {
    thread_ = std::thread([this] { run(); });
  } catch (const std::system_error& thrown) {
    return Error{std::string("cannot open editors: ") + thrown.what()};
  }
  return std::nullopt;
}

EditorSupervisor::~EditorSupervisor() {
  if (thread_.joinable()) {
    post([this] {
      isEnding_ = true;
      for (auto& [key, editor] : editors_) {
        beginClosing(editor);
      }
    });
    thread_.join();
  }
}

void EditorSupervisor::post(Command command) {
  const MutexLock lock(mutex_);
  commands_.push_back(std::move(command));
  eventfd_write(wakeDescriptor_.get(), 1);
}

EditorSupervisor::Key EditorSupervisor::open(std::string name, Message first, std::shared_ptr<EditorClient> client) {
  const Key key = ++lastKey_;
  post([this, key, name = std::move(name), first = std::move(first), client = std::move(client)] {
    startProcess(key, name, first, client);
  });
  return key;
}

EditorSupervisor::Key EditorSupervisor::attach(std::string name, FileDescriptor socket, Message first,
                                               std::shared_ptr<EditorClient> client) {
  const Key key = ++lastKey_;
  // Commands are copied.
  auto shared = std::make_shared<FileDescriptor>(std::move(socket));
  post([this, key, shared, name = std::move(name), first = std::move(first), client = std::move(client)] {
    if (!isEnding_) {
      const bool isConnected = static_cast<bool>(*shared);
      add(key,
          Editor{.name = name,
                 .client = client,
                 .process = std::nullopt,
                 .socket = std::move(*shared),
                 .killAt = isConnected ? Clock::time_point::max() : Clock::now()},
          first);
    }
  });
  return key;
}

void EditorSupervisor::send(Key editor, Message message, std::size_t mostWaiting) {
  post([this, editor, message = std::move(message), mostWaiting] {
    const auto found = editors_.find(editor);
    if (found == editors_.end() || found->second.outgoing.waitingBytes() > mostWaiting) {
      return;
    }
    say(found->second, message);
  });
}

void EditorSupervisor::close(Key editor) {
  post([this, editor] {
    if (const auto found = editors_.find(editor); found != editors_.end()) {
      beginClosing(found->second);
    }
  });
}

void EditorSupervisor::watch(int descriptor, std::uint64_t tag) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u64 = tag;
  epoll_ctl(events_.get(), EPOLL_CTL_ADD, descriptor, &event);
}

void EditorSupervisor::run() {
  while (!isEnding_ || !editors_.empty()) {
    std::array<epoll_event, 32> ready{};
    const int count = epoll_wait(events_.get(), ready.data(), static_cast<int>(ready.size()), waitMilliseconds());
    for (int index = 0; index < count; ++index) {
      handleEvent(ready[static_cast<std::size_t>(index)].data.u64);
    }
    killOverdue();
    sendNews();
  }
}

int EditorSupervisor::waitMilliseconds() const {
  if (editors_.empty()) {
    return -1;
  }
  auto next = newsAt_;
  for (const auto& [key, editor] : editors_) {
    next = std::min(next, editor.killAt);
  }
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(wait, 0, INT_MAX));
}

void EditorSupervisor::runCommands() {
  eventfd_t rings = 0;
  eventfd_read(wakeDescriptor_.get(), &rings);
  std::vector<Command> commands;
  {
    const MutexLock lock(mutex_);
    commands.swap(commands_);
  }
  for (const Command& command : commands) {
    command();
  }
}

void EditorSupervisor::handleEvent(std::uint64_t tag) {
  if (tag == commandTag) {
    runCommands();
    return;
  }
  const auto found = editors_.find(tag / 2);
  if (found == editors_.end()) {
    return;  // it went while an earlier event was handled
  }
  if (tag % 2 == 1) {
    end(found->first);
  } else {
    receive(found->second, false);
  }
}

void EditorSupervisor::startProcess(Key key, std::string name, const Message& first,
                                    std::shared_ptr<EditorClient> client) {
  if (isEnding_) {
    return;
  }
  FileDescriptor socket;
  Result<GuestProcess> process = GuestProcess::start(settings_.helperPath, ProcessRole::editor, nullptr, socket);
  if (!process) {
    client->ended("did not start: " + process.error().description);
    return;
  }
  add(key,
      Editor{.name = std::move(name),
             .client = std::move(client),
             .process = std::move(process).value(),
             .socket = std::move(socket)},
      first);
}

void EditorSupervisor::add(Key key, Editor editor, const Message& first) {
  Editor& added = editors_.emplace(key, std::move(editor)).first->second;
  editorCount_ = editors_.size();
  watch(added.socket.get(), 2 * key);
  if (added.process) {
    watch(added.process->endDescriptor(), 2 * key + 1);
  }
  say(added, first);
}

void EditorSupervisor::say(Editor& editor, const Message& message) {
  editor.outgoing.add(toBytes(message));
  editor.outgoing.flush(editor.socket.get());
}

void EditorSupervisor::receive(Editor& editor, bool isLast) {
  std::array<std::uint8_t, 65536> buffer{};
  const int turns = isLast ? editorReadsAtTheEnd : editorReadsPerTurn;
  for (int turn = 0; editor.socket && turn < turns; ++turn) {
    const ssize_t count = ::recv(editor.socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
      return;
    }
    bool isSound = count > 0;
    if (isSound) {
      editor.parser.add(std::span(buffer).first(static_cast<std::size_t>(count)));
      while (const std::optional<Message> message = editor.parser.next()) {
        isSound = isSound && accept(editor, *message);
      }
      isSound = isSound && !editor.parser.isDamaged();
    }
    if (!isSound) {
      if (count > 0) {
        log(editor.name, "sent an invalid message and is killed");
      }
      editor.socket.close();
      // What is not a process of its own has ended with that.
      editor.killAt = Clock::now() + (editor.process ? settings_.closingGrace : std::chrono::milliseconds(0));
    }
  }
}

bool EditorSupervisor::accept(Editor& editor, const Message& message) {
  if (message.kind == MessageKind::log) {
    editor.logged += message.body.size();
    if (editor.logged <= guestLogBytes && settings_.log) {
      std::string line(message.body.begin(), message.body.end());
      std::replace_if(
          line.begin(), line.end(), [](char each) { return each >= 0 && each < ' '; }, ' ');
      settings_.log(line);
    }
    return true;
  }
  return isFromGuest(message.kind) && (editor.client == nullptr || editor.client->accept(message));
}

void EditorSupervisor::beginClosing(Editor& editor) {
  if (editor.client == nullptr) {
    return;
  }
  editor.client.reset();
  editor.killAt = std::min(editor.killAt, Clock::now() + settings_.closingGrace);
  say(editor, {MessageKind::quit});
}

void EditorSupervisor::end(Key key) {
  const auto found = editors_.find(key);
  Editor& editor = found->second;
  receive(editor, true);  // what it said last
  const auto how = editor.process->reap();
  if (!how) {
    return;
  }
  if (editor.client != nullptr) {
    editor.client->ended(how->words);
  } else if (how->isCrash && !editor.isKilled) {
    log(editor.name, how->words + " as it closed");
  }
  editors_.erase(found);
  editorCount_ = editors_.size();  // last, when nothing is held any more
}

void EditorSupervisor::killOverdue() {
  const auto now = Clock::now();
  for (auto next = editors_.begin(); next != editors_.end();) {
    const auto each = next++;
    Editor& editor = each->second;
    if (editor.killAt > now) {
      continue;
    }
    if (!editor.process) {
      dropAttached(each->first);
    } else if (editor.isKilled) {
      editor.process->killKeeper();
      editor.killAt = Clock::time_point::max();
    } else {
      editor.process->kill();
      editor.isKilled = true;
      editor.killAt = now + editorKillGrace;
    }
  }
}

void EditorSupervisor::dropAttached(Key key) {
  const auto found = editors_.find(key);
  const Editor& editor = found->second;
  if (editor.client != nullptr) {
    editor.client->ended("ended with its plug-in, in whose process it ran");
  } else if (editor.socket) {
    log(editor.name, "hangs; what is left of it ends with its plug-in, in whose process it runs");
  }
  editors_.erase(found);
  editorCount_ = editors_.size();
}

void EditorSupervisor::sendNews() {
  const auto now = Clock::now();
  if (now < newsAt_) {
    return;
  }
  newsAt_ = now + newsInterval;
  for (auto& [key, editor] : editors_) {
    editor.outgoing.flush(editor.socket.get());
    if (editor.client == nullptr || !editor.outgoing.isEmpty()) {
      continue;
    }
    if (const auto news = editor.client->news()) {
      say(editor, *news);
    }
  }
}

void EditorSupervisor::log(const std::string& name, const std::string& text) const {
  if (settings_.log) {
    settings_.log("the editor of plug-in " + name + " " + text);
  }
}

}  // namespace vrel::sandbox
