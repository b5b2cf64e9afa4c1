// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/supervisor_core.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <span>
#include <string>
#include <system_error>
#include <utility>

namespace vrel::sandbox {
namespace {

// Of one event: the wake descriptor has tag 0, a guest's socket twice its key, its end one more.
constexpr std::uint64_t wakeTag = 0;

// As much as is read of one guest before the others have their turn.
constexpr int readsPerTurn = 16;
constexpr int readsAtTheEnd = 8192;

// A guest that does not read misses what its editor says from then on; nothing else is dropped.
constexpr std::size_t mostWaitingForAtoms = std::size_t{1} << 20U;  // bytes

// How often the guests that serve are looked at.
constexpr auto watchInterval = std::chrono::milliseconds(250);

// How long a guest may take to answer before it is logged.
constexpr auto answerGrace = std::chrono::seconds(2);

// How long a keeper has to end with all that it keeps.
constexpr auto killGrace = std::chrono::seconds(3);

std::string printable(std::span<const std::uint8_t> bytes) {
  std::string text(bytes.begin(), bytes.end());
  std::replace_if(
      text.begin(), text.end(), [](char each) { return each >= 0 && each < ' '; }, ' ');
  return text;
}

}  // namespace

Outcome Supervisor::Core::begin(const std::shared_ptr<Core>& self) {
  events_ = FileDescriptor(epoll_create1(EPOLL_CLOEXEC));
  wakeDescriptor_ = FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!events_ || !wakeDescriptor_) {
    return Error{"cannot supervise plug-ins: " + std::generic_category().message(errno)};
  }
  watch(wakeDescriptor_.get(), wakeTag);
  try {
    thread_ = std::thread([self] { self->run(); });
  } catch (const std::system_error& thrown) {
    return Error{std::string("cannot supervise plug-ins: ") + thrown.what()};
  }
  return std::nullopt;
}

void Supervisor::Core::end() {
  post([](Core& core) {
    core.isEnding_ = true;
    for (auto& [key, record] : core.guests_) {
      core.close(key, record);
    }
  });
  if (std::this_thread::get_id() == thread_.get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void Supervisor::Core::post(Command command) {
  const MutexLock lock(mutex_);
  if (isEnded_) {
    return;
  }
  commands_.push_back(std::move(command));
  eventfd_write(wakeDescriptor_.get(), 1);
}

void Supervisor::Core::watch(int descriptor, std::uint64_t tag) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u64 = tag;
  epoll_ctl(events_.get(), EPOLL_CTL_ADD, descriptor, &event);
}

void Supervisor::Core::run() {
  while (!isEnding_ || !guests_.empty()) {
    std::array<epoll_event, 32> ready{};
    const int count = epoll_wait(events_.get(), ready.data(), static_cast<int>(ready.size()), waitMilliseconds());
    for (int index = 0; index < count; ++index) {
      const epoll_event& event = ready[static_cast<std::size_t>(index)];
      handleEvent(event.data.u64, event.events);
    }
    killOverdue();
    watchGuests();
    countParked();
  }
  // Commands hold launches, and those must be answered.
  runCommands();
  const MutexLock lock(mutex_);
  isEnded_ = true;
}

int Supervisor::Core::waitMilliseconds() const {
  auto next = Clock::time_point::max();
  for (const auto& [key, record] : guests_) {
    next = std::min(next, record.killAt);
    if (record.stage == Stage::serving) {
      next = std::min(next, Clock::now() + watchInterval);
    }
  }
  if (next == Clock::time_point::max()) {
    return -1;
  }
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(wait, 0, INT_MAX));
}

void Supervisor::Core::runCommands() {
  eventfd_t rings = 0;
  eventfd_read(wakeDescriptor_.get(), &rings);
  std::vector<Command> commands;
  {
    const MutexLock lock(mutex_);
    commands.swap(commands_);
  }
  for (const Command& command : commands) {
    command(*this);
  }
}

void Supervisor::Core::handleEvent(std::uint64_t tag, std::uint32_t events) {
  if (tag == wakeTag) {
    runCommands();
    return;
  }
  const std::uint64_t key = tag / 2;
  const auto found = guests_.find(key);
  if (found == guests_.end()) {
    return;  // it went while an earlier event was handled
  }
  if (tag % 2 == 1) {
    guestEnded(key);
    return;
  }
  if ((events & EPOLLOUT) != 0) {
    flush(key, found->second);
  }
  if ((events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0) {
    receive(key, found->second, false);
  }
}

void Supervisor::Core::start(const std::weak_ptr<Supervisor>& supervisor, const Launch& launch) {
  if (isEnding_) {
    launch.done(Error{"the plug-in host is closing"});
    return;
  }
  const double sampleRate = launch.request.sampleRate;
  if (std::exchange(sampleRate_, sampleRate) != sampleRate) {
    shrinkParked(0);
  }
  if (takeParked(launch)) {
    return;
  }
  FileDescriptor descriptor;
  Result<SharedMemory> memory = SharedMemory::create(descriptor);
  if (!memory) {
    launch.done(memory.error());
    return;
  }
  FileDescriptor socket;
  Result<GuestProcess> process = GuestProcess::start(settings_.helperPath, ProcessRole::plugin, &descriptor, socket);
  if (!process) {
    launch.done(process.error());
    return;
  }
  const std::uint64_t key = ++lastKey_;
  auto link = std::make_shared<GuestLink>(std::move(memory).value());
  Record& record = guests_
                       .emplace(key, Record{.supervisor = supervisor,
                                            .launch = launch,
                                            .process = std::move(process).value(),
                                            .socket = std::move(socket),
                                            .link = std::move(link)})
                       .first->second;
  processCount_ = guests_.size();
  watch(record.socket.get(), 2 * key);
  watch(record.process.endDescriptor(), 2 * key + 1);
  send(key, {MessageKind::instantiate, 0, toBytes(launch.request)});
}

void Supervisor::Core::send(std::uint64_t key, const Message& message, FileDescriptor descriptor) {
  const auto found = guests_.find(key);
  if (found == guests_.end()) {
    return;
  }
  SendQueue& outgoing = found->second.outgoing;
  if (message.kind == MessageKind::editorAtom && outgoing.waitingBytes() > mostWaitingForAtoms) {
    return;
  }
  outgoing.add(toBytes(message), std::move(descriptor));
  flush(key, found->second);
}

void Supervisor::Core::flush(std::uint64_t key, Record& record) {
  record.outgoing.flush(record.socket.get());
  const bool waits = !record.outgoing.isEmpty();
  if (waits != record.waitsForRoom) {
    record.waitsForRoom = waits;
    epoll_event event{};
    event.events = EPOLLIN | (waits ? EPOLLOUT : 0U);
    event.data.u64 = 2 * key;
    epoll_ctl(events_.get(), EPOLL_CTL_MOD, record.socket.get(), &event);
  }
}

void Supervisor::Core::receive(std::uint64_t key, Record& record, bool isLast) {
  std::array<std::uint8_t, 65536> buffer{};
  const int turns = isLast ? readsAtTheEnd : readsPerTurn;
  for (int turn = 0; record.socket && turn < turns; ++turn) {
    const ssize_t count = ::recv(record.socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
      return;
    }
    bool isSound = count > 0;
    if (isSound) {
      record.parser.add(std::span(buffer).first(static_cast<std::size_t>(count)));
      while (std::optional<Message> message = record.parser.next()) {
        isSound = isSound && accept(key, record, *std::move(message));
      }
      isSound = isSound && !record.parser.isDamaged();
    }
    if (!isSound) {
      // Closed by the other process, or garbage: nothing more is heard from this one.
      if (count > 0) {
        log(record, "sent an invalid message and is killed");
      }
      record.socket.close();
      record.process.kill();
      record.killAt = Clock::now() + killGrace;
    }
  }
}

bool Supervisor::Core::accept(std::uint64_t key, Record& record, Message message) {
  if (message.kind == MessageKind::valuesReported) {
    record.link->passValues(message.body);
    return true;
  }
  if (message.kind == MessageKind::log || message.kind == MessageKind::pluginAtom) {
    message.kind == MessageKind::log ? passOn(record, message.body) : record.link->passAtom(message.body);
    return true;
  }
  if (record.stage == Stage::closing) {
    return isFromGuest(message.kind);
  }
  if (record.stage == Stage::serving || record.stage == Stage::parked) {
    return record.link->deliver(std::move(message));
  }
  ByteReader reader(message.body);
  if (message.kind == MessageKind::failed) {
    answerLaunch(record, Error{printable(message.body)});
    close(key, record);
    return true;
  }
  const auto outputChannelCount = reader.number<std::uint32_t>();
  const auto processId = reader.number<std::int32_t>();
  if (message.kind != MessageKind::ready || outputChannelCount < 1 ||
      outputChannelCount > audio::maximumStreamChannels || processId <= 1) {
    return false;
  }
  record.outputChannelCount = outputChannelCount;
  record.processId = processId;
  if (record.stage == Stage::remaking) {
    park(key, record);
  } else {
    becomeReady(key, record);
  }
  return true;
}

void Supervisor::Core::passOn(Record& record, const Bytes& line) {
  record.logged += line.size();
  if (!settings_.log || record.isMuted) {
    return;
  }
  record.isMuted = record.logged > guestLogBytes;
  if (record.isMuted) {
    log(record, "logs more than 64 KiB; the rest is dropped");
  } else {
    settings_.log(printable(line));
  }
}

void Supervisor::Core::becomeReady(std::uint64_t key, Record& record) {
  std::shared_ptr<Supervisor> supervisor = record.supervisor.lock();
  if (supervisor == nullptr) {
    answerLaunch(record, Error{"the plug-in host is closing"});
    close(key, record);
    return;
  }
  record.stage = Stage::serving;
  // The handler gets this thread's only share of the supervisor, so that whoever releases it last
  // is most likely another thread, which can wait for its end. A guest that is released in the handler closes by a
  // command.
  answerLaunch(record, Ready{std::make_shared<Guest>(std::move(supervisor), record.link, key, record.processId),
                             record.outputChannelCount});
}

void Supervisor::Core::answerLaunch(Record& record, Result<Ready> result) {
  if (const auto done = std::exchange(record.launch.done, nullptr)) {
    done(std::move(result));
  }
}

void Supervisor::Core::release(std::uint64_t key) {
  if (const auto found = guests_.find(key); found != guests_.end()) {
    mayRemake(found->second) ? remake(key, found->second) : close(key, found->second);
  }
}

void Supervisor::Core::close(std::uint64_t key, Record& record) {
  if (record.stage == Stage::closing) {
    return;
  }
  if (record.stage == Stage::instantiating && record.launch.done) {
    // Nobody waits for it any more, and it cannot learn that before it has been made.
    answerLaunch(record, Error{"the plug-in host is closing"});
    kill(record);
  }
  record.stage = Stage::closing;
  record.launch.done = nullptr;
  record.launch.died = nullptr;
  if (!record.isKilled) {
    record.killAt = std::min(record.killAt, Clock::now() + settings_.closingGrace);
  }
  send(key, {MessageKind::quit});
}

void Supervisor::Core::kill(Record& record) {
  record.process.kill();
  record.isKilled = true;
  record.killAt = Clock::now() + killGrace;
}

void Supervisor::Core::killOverdue() {
  const auto now = Clock::now();
  for (auto& [key, record] : guests_) {
    if (record.killAt <= now && record.isKilled) {
      record.process.killKeeper();
      record.killAt = Clock::time_point::max();
    } else if (record.killAt <= now) {
      kill(record);
    }
  }
}

void Supervisor::Core::watchGuests() {
  const auto longAgo = Clock::now() - answerGrace;
  for (auto& [key, record] : guests_) {
    if (record.stage != Stage::serving) {
      continue;
    }
    const bool isLate = record.link->owesAnswerSince(longAgo);
    if (isLate && !std::exchange(record.isReported, isLate)) {
      log(record, "has not done what was asked for 2 s; until it has, it may be silent");
    }
    record.isReported = isLate;
    const bool isStuck = record.link->owesPresetSince(Clock::now() - settings_.presetGrace);
    if (isStuck || record.link->isHung()) {
      // What follows does not wait for the process: one that hangs in the kernel may stay.
      record.stage = Stage::closing;
      kill(record);
      record.link->markDead();
      if (const auto died = std::exchange(record.launch.died, nullptr)) {
        died(isStuck ? "did not finish loading a preset and was ended" : "missed every block for 2 s and was ended");
      }
    }
  }
}

void Supervisor::Core::guestEnded(std::uint64_t key) {
  const auto found = guests_.find(key);
  Record& record = found->second;
  receive(key, record, true);  // its last words
  const std::optional<GuestProcess::Ended> ended = record.process.reap();
  if (!ended) {
    return;
  }
  record.link->markDead();
  reportEnd(record, *ended);
  guests_.erase(found);
  processCount_ = guests_.size();  // last, when nothing is held any more
}

void Supervisor::Core::reportEnd(const Record& record, const GuestProcess::Ended& ended) const {
  if (record.stage == Stage::closing) {
    if (ended.isCrash && !record.isKilled) {
      log(record, ended.words + " as it closed");
    }
  } else if ((record.stage == Stage::remaking || record.stage == Stage::parked) && !record.isKilled) {
    log(record, ended.words + " while it was parked");
  } else if (record.launch.done) {
    record.launch.done(Error{record.launch.request.pluginUri + ": its process " + ended.words});
  } else if (record.launch.died) {
    record.launch.died(ended.words);
  }
}

void Supervisor::Core::log(const Record& record, const std::string& text) const {
  if (settings_.log) {
    settings_.log("plug-in " + record.launch.request.pluginUri + " " + text);
  }
}

}  // namespace vrel::sandbox
