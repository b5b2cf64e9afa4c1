// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The slow path between host and guest: messages on a stream socket, each a head and a body.
//
//   message        from   body                                     answer
//   instantiate    host   InstantiateRequest                       ready, or failed
//   prepare        host   sample rate, 8 bytes of double           done
//   captureState   host   none                                     state
//   restoreState   host   a dictionary                             done
//   usePreset      host   where its data is: its URI and its file  presetUsed
//   reset          host   none                                     done
//   watchAtoms     host   1 byte: whether what the plug-in puts out is to be sent
//   editorAtom     host   a port's number, 4 bytes, and a packed atom for it (AtomPacking)
//   attachEditor   host   none, but a descriptor beside it: the socket of an editor, which opens in the guest
//   watchValues    host   1 byte: whether the parameters without a port are to be reported
//   setValues      host   MessageValues, for such parameters
//   quit           host   none                                     the guest ends
//   ready          guest  channels that leave the plug-in, and the number of its process, 4 bytes each
//   failed         guest  words; the guest then ends
//   done           guest  none
//   state          guest  a dictionary; nothing for one that is too large
//   presetUsed     guest  nothing, or in words why it was not
//   pluginAtom     guest  as editorAtom, from a port; while it is watched
//   valuesReported guest  MessageValues; while they are watched
//   log            guest  one line, at any time
//
// Between the host and an editor, in a process of its own or in the guest, with bodies from editor_messages.h:
//
//   message         from    body
//   openEditor      host    EditorRequest; first, and once
//   fitEditor       host    EditorSize: the window's content from now on
//   moveEditor      host    EditorMove, 4 bytes
//   portValues      host    PortValues: what has changed
//   portAtom        host    as pluginAtom
//   takeStageKeys   host    1 byte: whether the keys of panic never reach the editor
//   quit            host    none
//   editorShown     editor  EditorSize: it is on the screen
//   editorSized     editor  EditorSize: it has resized itself
//   portsWritten    editor  PortValues: moved in the editor
//   atomWritten     editor  as editorAtom
//   editorKey       editor  KeyEvent: a key that the editor has not used, or that is taken
//   fileRequested   editor  the URI of a parameter that is a file: a person is to choose one
//   editorClosed    editor  none: by its own button; the process then ends
//   failed, log     editor  as of a guest
//
// A guest that is ready may be asked to instantiate once more: it removes its plug-in first.
// An answer carries the number of its request. A request that the plug-in refuses is done all the
// same, and logged. What comes from the guest is checked; a guest that sends anything else is killed.
// Beside the first message the guest gets the descriptor of the shared memory.

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "system/plugins/message_value.h"
#include "system/plugins/preset_library.h"
#include "system/plugins/sandbox/byte_coding.h"

namespace vrel::sandbox {

enum class MessageKind : std::uint32_t {
  instantiate = 1,
  prepare,
  captureState,
  restoreState,
  reset,
  quit,
  usePreset,
  openEditor,
  fitEditor,
  moveEditor,
  portValues,
  takeStageKeys,
  watchAtoms,
  editorAtom,
  portAtom,
  attachEditor,
  watchValues,
  setValues,
  ready = 101,
  failed,
  done,
  state,
  log,
  presetUsed,
  editorShown,
  editorSized,
  portsWritten,
  editorKey,
  editorClosed,
  pluginAtom,
  atomWritten,
  valuesReported,
  fileRequested,
};

struct MessageHead {
  MessageKind kind;
  std::uint32_t request;  // number of the request
  std::uint32_t size;     // of the body, bytes
};
static_assert(std::is_trivially_copyable_v<MessageHead> && sizeof(MessageHead) == 12);

/// The largest body of each kind, bytes; none for a kind that does not exist.
[[nodiscard]] std::optional<std::uint32_t> largestBody(MessageKind kind);

/// Whether a guest sends messages of this kind.
[[nodiscard]] constexpr bool isFromGuest(MessageKind kind) {
  return static_cast<std::uint32_t>(kind) > 100;
}

struct Message {
  MessageKind kind;
  std::uint32_t request = 0;
  Bytes body{};

  bool operator==(const Message&) const = default;
};

/// What the guest is to become.
struct InstantiateRequest {
  std::string bundlePath;  // with a separator at its end
  std::string pluginUri;
  std::uint32_t componentType = 0;
  std::uint32_t componentSubType = 0;
  std::uint32_t componentManufacturer = 0;
  double sampleRate = 0;  // frames per second
  std::uint32_t nominalBlockFrames = 0;
  bool worksWithinBlock = false;  // the plug-in's slow work is done by the block, so that a render repeats exactly
  bool isRealTime = false;        // ask for real-time scheduling and memory that stays

  bool operator==(const InstantiateRequest&) const = default;
};
[[nodiscard]] Bytes toBytes(const InstantiateRequest& request);
[[nodiscard]] std::optional<InstantiateRequest> instantiateRequestFromBytes(std::span<const std::uint8_t> bytes);

[[nodiscard]] Bytes toBytes(const PresetPlace& place);
[[nodiscard]] std::optional<PresetPlace> presetPlaceFromBytes(std::span<const std::uint8_t> bytes);

[[nodiscard]] Bytes toBytes(const std::vector<MessageValue>& values);
[[nodiscard]] std::optional<std::vector<MessageValue>> messageValuesFromBytes(std::span<const std::uint8_t> bytes);

/// Head and body in one piece, ready to be sent.
[[nodiscard]] Bytes toBytes(const Message& message);
/// Waits until all of it is on its way. False when nobody reads at the other end any more.
[[nodiscard]] bool sendMessage(int socket, const Message& message);

/// Cuts a stream into messages.
class MessageParser {
 public:
  /// Takes what came in.
  void add(std::span<const std::uint8_t> bytes);

  /// The next whole message. None when more must come first, and after damage.
  [[nodiscard]] std::optional<Message> next();

  /// A head of no known kind, or with a body too large for it, came in. Nothing helps then.
  [[nodiscard]] bool isDamaged() const { return isDamaged_; }

 private:
  Bytes pending_;
  std::size_t taken_ = 0;  // bytes at the beginning of pending_ that are done with
  bool isDamaged_ = false;
};

}  // namespace vrel::sandbox
