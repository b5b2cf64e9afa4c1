// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "foundation/mutex.h"
#include "system/plugins/lv2/lv2_instance.h"
#include "system/plugins/plugin_counters.h"
#include "system/plugins/sandbox/guest/audio_loop.h"
#include "system/plugins/sandbox/guest/guest_editor.h"
#include "system/plugins/sandbox/messages.h"
#include "system/plugins/sandbox/shared_memory.h"
#include "system/processes/file_descriptor.h"

namespace vrel::sandbox {

/// The whole of a guest: one plug-in, made and served as the host asks, and made once more when it asks again.
///
/// Threads: messages are served on the main thread, one after the other; the plug-in's library work runs
/// on the world thread, blocks in the audio loop, an editor that requires the plug-in's memory on its own. Lines of the
/// plug-in's log come from any of them. Failure: a plug-in that cannot be made is reported to the host, and the guest
/// ends. A host that is gone ends the guest at once.
class GuestProgram {
 public:
  explicit GuestProgram(FileDescriptor socket) : socket_(std::move(socket)) {}

  /// Serves until the host says quit. Returns the exit code.
  [[nodiscard]] int serve();

 private:
  [[nodiscard]] bool receiveMemory();
  [[nodiscard]] bool become(const Message& message);
  [[nodiscard]] Message nextMessage();
  [[nodiscard]] Outcome instantiate(const InstantiateRequest& request);
  /// Makes room for an editor that requires the plug-in's memory, if the plug-in has one.
  void prepareForEditor(const AudioComponentDescription& codes);
  [[nodiscard]] Outcome prepare(double sampleRate);
  void handle(const Message& message);
  /// For the editor; both answer nothing.
  void watchAtoms();
  void watchValues(bool isWatched);
  void setValues(const Bytes& body);
  void reportAgain();
  void takeEditorAtom(const Message& message);
  void sendPluginAtoms();
  void send(const Message& message);
  void log(const std::string& line);

  const FileDescriptor socket_;
  Mutex sending_;
  MessageParser parser_;
  FileDescriptor arrived_;               // with the message that is read next
  std::unique_ptr<GuestEditor> editor_;  // for a plug-in with an editor that requires its memory
  std::unique_ptr<SharedMemory> memory_;
  std::shared_ptr<PluginCounters> counters_;
  std::shared_ptr<lv2::Lv2World> world_;
  std::unique_ptr<lv2::Lv2Instance> instance_;
  std::unique_ptr<AudioLoop> loop_;  // ends first
  double sampleRate_ = 0;            // that the host asked for last
  bool areAtomsWatched_ = false;     // by an editor
  bool areValuesWatched_ = false;    // those of the parameters without a port
};

}  // namespace vrel::sandbox
