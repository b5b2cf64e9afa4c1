// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/guest/guest_program.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "system/plugins/editor/editor_window.h"
#include "system/plugins/lv2/atom_packing.h"
#include "system/plugins/lv2/hosted_plugin.h"
#include "system/plugins/lv2/lv2_world.h"
#include "system/plugins/sandbox/descriptor_passing.h"
#include "system/plugins/sandbox/property_list_bytes.h"
#include "system/plugins/sandbox/word_wait.h"

namespace vrel::sandbox {
namespace {

constexpr std::size_t longestLine = 4096;

// How often an editor is sent what its plug-in puts out.
constexpr int atomMilliseconds = 15;

/// There is nobody left to serve, and a plug-in in the midst of something must not hold this up.
[[noreturn]] void leave() {
  std::_Exit(EXIT_FAILURE);
}

}  // namespace

bool GuestProgram::receiveMemory() {
  std::uint8_t byte = 0;
  FileDescriptor descriptor;
  if (receiveBytes(socket_.get(), {&byte, 1}, descriptor) != 1 || !descriptor) {
    return false;
  }
  Result<SharedMemory> memory = SharedMemory::map(descriptor);
  if (!memory) {
    return false;
  }
  memory_ = std::make_unique<SharedMemory>(std::move(memory).value());
  return true;
}

int GuestProgram::serve() {
  if (!receiveMemory() || !become(nextMessage())) {
    return EXIT_FAILURE;
  }
  for (;;) {
    const Message message = nextMessage();
    if (message.kind == MessageKind::quit) {
      break;
    }
    if (message.kind != MessageKind::instantiate) {
      handle(message);
    } else if (!become(message)) {
      return EXIT_FAILURE;
    }
  }
  if (editor_ != nullptr && (editor_->hasLeftThread() || !editor_->end())) {
    return EXIT_SUCCESS;  // what it uses stays until the process has gone
  }
  loop_.reset();
  instance_.reset();
  if (editor_ != nullptr) {
    editor_->thread().runAndWait([] {});  // the plug-in ends there
  }
  world_.reset();
  return EXIT_SUCCESS;
}

bool GuestProgram::become(const Message& message) {
  const auto request =
      message.kind == MessageKind::instantiate ? instantiateRequestFromBytes(message.body) : std::nullopt;
  if (!request) {
    return false;
  }
  if (const Outcome failure = instantiate(*request)) {
    const std::string& words = failure->description;
    send({MessageKind::failed, message.request, Bytes(words.begin(), words.end())});
    return false;
  }
  return true;
}

Message GuestProgram::nextMessage() {
  for (;;) {
    if (auto message = parser_.next()) {
      return *std::move(message);
    }
    const bool isWaited = editor_ != nullptr && instance_ != nullptr && editor_->openWaiting(*instance_->processor());
    pollfd ready{socket_.get(), POLLIN, 0};
    const bool isWatched = areAtomsWatched_ || areValuesWatched_;
    if ((isWatched || isWaited) && poll(&ready, 1, atomMilliseconds) == 0) {
      if (isWatched) {
        sendPluginAtoms();
      }
      continue;
    }
    std::array<std::uint8_t, 65536> buffer{};
    const ssize_t count = receiveBytes(socket_.get(), buffer, arrived_);
    if (count > 0) {
      parser_.add(std::span(buffer).first(static_cast<std::size_t>(count)));
    }
    if (count == 0 || (count < 0 && errno != EINTR) || parser_.isDamaged()) {
      leave();
    }
  }
}

Outcome GuestProgram::instantiate(const InstantiateRequest& request) {
  const AudioComponentDescription codes{request.componentType, request.componentSubType, request.componentManufacturer};
  if (editor_ != nullptr && (editor_->hasLeftThread() || !editor_->end())) {
    return Error{"its editor hangs"};
  }
  loop_.reset();
  instance_.reset();
  areAtomsWatched_ = false;
  areValuesWatched_ = false;
  sampleRate_ = request.sampleRate;
  // The host counts blocks and losses from the beginning, too. A control that waited for a block was the earlier one's.
  SharedBlock& shared = memory_->block();
  post(shared.request, 0);
  post(shared.answer, 0);
  control_table::forgetChanges(shared.controls);
  counters_ = std::make_shared<PluginCounters>();
  if (world_ == nullptr) {
    world_ = lv2::Lv2World::openOne({request.bundlePath, request.pluginUri, codes});
  }
  const auto description = world_->find(codes);
  if (description == nullptr) {
    return Error{request.bundlePath + " has no plug-in " + request.pluginUri};
  }
  prepareForEditor(codes);
  lv2::HostSettings settings;
  settings.sampleRate = request.sampleRate;
  settings.nominalBlockFrames = request.nominalBlockFrames;
  settings.workerMode = request.worksWithinBlock ? lv2::WorkerMode::withinBlock : lv2::WorkerMode::thread;
  settings.guardsBuffers = true;
  settings.pluginThread = editor_ != nullptr ? &editor_->thread() : nullptr;
  settings.log = [this](const std::string& line) { log(line); };
  settings.counters = counters_;
  std::optional<Result<lv2::HostedPluginPointer>> plugin;
  world_->thread().runAndWait(
      [&] { plugin.emplace(lv2::HostedPlugin::make(world_, description, settings, request.sampleRate)); });
  if (!plugin->ok()) {
    return plugin->error();
  }
  auto processor = std::make_shared<lv2::Lv2Processor>(world_, settings, std::move(*plugin).value());
  ByteWriter ready;
  ready.number<std::uint32_t>(processor->outputChannelCount(0));
  ready.number<std::int32_t>(getpid());
  instance_ = std::make_unique<lv2::Lv2Instance>(processor);
  loop_ = std::make_unique<AudioLoop>(memory_->block(), std::move(processor), counters_,
                                      AudioLoop::Settings{.isRealTime = request.isRealTime});
  send({MessageKind::ready, 0, ready.take()});
  return std::nullopt;
}

void GuestProgram::prepareForEditor(const AudioComponentDescription& codes) {
  if (editor_ != nullptr) {
    return;
  }
  std::optional<EditorPlace> place;
  world_->requestEditor(codes, [&](std::optional<EditorPlace> found) { place = std::move(found); });
  world_->thread().runAndWait([] {});
  if (place && place->needsInstance && editor::EditorWindow::hasDisplay()) {
    // What sound half and editor share of Qt is made with the sound half.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no plug-in runs yet
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    editor_ = std::make_unique<GuestEditor>();
  }
}

Outcome GuestProgram::prepare(double sampleRate) {
  // An editor that has the memory of a plug-in cannot get that of another.
  if (editor_ != nullptr && sampleRate != sampleRate_) {
    if (editor_->hasStopped()) {
      editor_->leaveThread();
      instance_->processor()->setPluginThread(editor_->thread());
    } else if (!editor_->end()) {
      return Error{"stays at its old sample rate: its editor hangs"};
    }
  }
  sampleRate_ = sampleRate;
  instance_->processor()->prepare(sampleRate);
  return std::nullopt;
}

void GuestProgram::handle(const Message& message) {
  loop_->catchUp();
  switch (message.kind) {
    case MessageKind::prepare:
      if (const Outcome failure = prepare(ByteReader(message.body).number<double>())) {
        log(instance_->processor()->description().name + " " + failure->description);
      }
      break;
    case MessageKind::restoreState:
      if (const auto state = dictionaryFromBytes(message.body)) {
        instance_->setFullStateForDocument(*state);
        reportAgain();
      }
      break;
    case MessageKind::reset:
      instance_->reset();
      break;
    case MessageKind::captureState: {
      const auto state = instance_->fullStateForDocument().value_or(PropertyListDictionary{});
      const bool isSendable = byteCount(state) <= largestBody(MessageKind::state);
      send({MessageKind::state, message.request, isSendable ? toBytes(state) : Bytes{}});
      return;
    }
    case MessageKind::usePreset: {
      const auto place = presetPlaceFromBytes(message.body);
      const Outcome failure = place ? instance_->usePresetNow(*place) : Outcome(Error{"it has no name"});
      reportAgain();
      const std::string words = failure ? failure->description.substr(0, longestLine) : std::string();
      send({MessageKind::presetUsed, message.request, Bytes(words.begin(), words.end())});
      return;
    }
    case MessageKind::watchAtoms:
      areAtomsWatched_ = ByteReader(message.body).number<std::uint8_t>() != 0;
      watchAtoms();
      return;
    case MessageKind::watchValues:
      watchValues(ByteReader(message.body).number<std::uint8_t>() != 0);
      return;
    case MessageKind::setValues:
      setValues(message.body);
      return;
    case MessageKind::editorAtom:
      takeEditorAtom(message);
      return;
    case MessageKind::attachEditor:
      if (editor_ != nullptr) {
        editor_->request(std::move(arrived_));
      }
      arrived_.close();
      return;
    default:
      leave();
  }
  send({MessageKind::done, message.request});
}

void GuestProgram::watchAtoms() {
  instance_->processor()->atoms().watch(areAtomsWatched_ || areValuesWatched_);
}

void GuestProgram::watchValues(bool isWatched) {
  areValuesWatched_ = isWatched;
  instance_->watchMessageParameters(isWatched);
  watchAtoms();
}

/// Reported behind what the plug-in said before, which must not stay as the last word.
void GuestProgram::setValues(const Bytes& body) {
  sendPluginAtoms();
  auto wanted = messageValuesFromBytes(body).value_or(std::vector<MessageValue>());
  std::erase_if(wanted, [this](const MessageValue& each) { return !instance_->setMessageValue(each); });
  if (areValuesWatched_ && !wanted.empty()) {
    send({MessageKind::valuesReported, 0, toBytes(wanted)});
  }
}

void GuestProgram::reportAgain() {
  if (areValuesWatched_) {
    instance_->askForMessageValues();
  }
}

void GuestProgram::takeEditorAtom(const Message& message) {
  ByteReader reader(message.body);
  const auto port = reader.number<std::uint32_t>();
  const auto packed = std::span(message.body).last(reader.remaining());
  if (const auto atom = lv2::AtomPacking(world_->urids()).unpack(packed)) {
    (void)instance_->processor()->atoms().send(port, *atom);
  }
  sendPluginAtoms();
}

void GuestProgram::sendPluginAtoms() {
  const lv2::AtomPacking packing(world_->urids());
  const auto said = instance_->takeAtoms([&](std::uint32_t port, std::span<const std::uint8_t> atom) {
    if (const auto packed = areAtomsWatched_ ? packing.pack(atom) : std::nullopt) {
      ByteWriter writer;
      writer.number(port);
      Bytes body = writer.take();
      body.insert(body.end(), packed->begin(), packed->end());
      send({MessageKind::pluginAtom, 0, std::move(body)});
    }
  });
  if (areValuesWatched_ && !said.empty()) {
    send({MessageKind::valuesReported, 0, toBytes(said)});
  }
}

void GuestProgram::send(const Message& message) {
  const MutexLock lock(sending_);
  if (!sendMessage(socket_.get(), message)) {
    leave();
  }
}

void GuestProgram::log(const std::string& line) {
  const std::size_t length = std::min(line.size(), longestLine);
  send({MessageKind::log, 0, Bytes(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(length))});
}

}  // namespace vrel::sandbox
