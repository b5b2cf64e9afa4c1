// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <set>

#include "document/setlist.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class ChannelBuilder;
enum class LiveModeAction;
struct ConsoleSelection;

/// The strips of the song on stage as the performer arranges them.
///
/// LiveModePolicy refuses all of it in Live mode. Each operation is an edit but a copy and a drag
/// that moves nothing. The clipboard lives as long as this object, over changes of song.
/// Main thread.
class ChannelOperations {
 public:
  /// All are borrowed.
  ChannelOperations(AppState& state, AudioEngine& engine, ChannelBuilder& builder, ConsoleSelection& selection)
      : state_(state), engine_(engine), builder_(builder), selection_(selection) {}

  Observable<std::optional<ChannelConfig>> channelClipboard;

  /// Corrects the record of a strip that plays something else for now. May be empty.
  std::function<void(const AudioChannel& channel, ChannelConfig& record)> amendRecord;

  // A drag under way.
  Observable<std::optional<Uuid>> draggedChannelId;
  Observable<std::optional<Uuid>> dropTargetChannelId;

  /// Nothing in Live mode: the drag carries nothing then.
  void beginDrag(const AudioChannel& channel);

  /// Moves the strip at the first of `fromOffsets` before what is at `toOffset`.
  void moveChannels(const std::set<std::size_t>& fromOffsets, std::size_t toOffset);

  /// Moves a strip by so many places, to the right above 0; nothing beyond an end.
  void moveChannelBy(const AudioChannel& channel, int by);

  /// An empty strip at the end, over the notes of the keyboard on the screen.
  void addChannelFromButton();

  /// A strip from a record, loaded behind the modal; at `insertAt`, limited to the strips there are, or at the end.
  void addChannelFromConfig(const ChannelConfig& config, std::optional<std::size_t> insertAt);

  /// Takes the strip into the clipboard as it sounds now, with its own instrument while another is tried out.
  void copyChannel(const AudioChannel& channel);
  void cutChannel(const AudioChannel& channel);

  /// Puts the clipboard behind the given strip, or behind the selected one, or at the end.
  void pasteChannel(const std::optional<Uuid>& afterChannelId);

  void duplicateChannel(const AudioChannel& channel);
  void removeChannelFromConsole(const AudioChannel& channel);

 private:
  [[nodiscard]] bool isAllowed(LiveModeAction action) const;
  [[nodiscard]] ChannelConfig recordOf(const AudioChannel& channel) const;
  void channelListChanged();

  AppState& state_;
  AudioEngine& engine_;
  ChannelBuilder& builder_;
  ConsoleSelection& selection_;
};

}  // namespace vrel
