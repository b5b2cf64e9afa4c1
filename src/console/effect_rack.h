// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/plugin_list.h"
#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class ConsoleOutput;
class MainQueue;
struct ConsoleSelection;

/// The effects of a strip or of the master, as a person puts them in, replaces, moves and removes them.
///
/// One rack is open at a time; it closes when its strip leaves the stage. Each has a search text of its own, as long as
/// its strip is on stage. In Live mode a rack is shown, and nothing can be changed. Slots without a plug-in are kept
/// and not shown. The song's learned controls follow an effect that moves, and go with one that is removed. Main
/// thread.
class EffectRack {
 public:
  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    MainQueue& mainQueue;
    ConsoleOutput& console;
    ConsoleSelection& selection;
  };

  /// All are borrowed.
  explicit EffectRack(const Collaborators& collaborators);

  Observable<std::optional<Uuid>> openChannelId;
  Observable<std::optional<Uuid>> replacedSlotId;  // the slot that the next pick goes to; none for a new one at the end
  Observable<std::set<Uuid>> revivedSlots;         // those that are being loaded again
  Observable<std::string> searchText;              // of the open rack

  /// Opens the rack of this channel in place of any other, or closes it when it is open.
  void toggle(const AudioChannel& channel);
  void close();

  /// Whose rack is open; null while none is.
  [[nodiscard]] std::shared_ptr<AudioChannel> channel() const;

  /// The slots that hold an effect, in chain order.
  [[nodiscard]] static std::vector<AudioPluginSlot> occupiedSlots(const AudioChannel& channel);

  /// What the scan found and the search text leaves, in order.
  [[nodiscard]] std::vector<PluginGroup> groups() const;

  /// The favourites and the last used, as far as the search text leaves them; see plugin_preferences.h.
  [[nodiscard]] std::vector<AVAudioUnitComponent> preferred() const;

  /// Lets the next pick replace this slot; the same slot again lets it fill a new one.
  void toggleReplaced(const Uuid& slotId);

  /// Loads the effect of this key behind the modal. Nothing while the modal is shown.
  void pick(const std::string& key);

  /// Loads an effect that has died or could not be loaded again, with its last state; in every mode, since it changes
  /// nothing of the song. Nothing while that is under way.
  void revive(const Uuid& slotId);
  [[nodiscard]] bool isInstalled(const AudioPluginSlot& slot) const;

  void remove(const Uuid& slotId);
  /// Past the occupied slot before it, or behind it; nothing at the end of the chain.
  void moveUp(const Uuid& slotId);
  void moveDown(const Uuid& slotId);

 private:
  [[nodiscard]] bool mayChange() const;
  [[nodiscard]] std::shared_ptr<AudioChannel> channelOf(const Uuid& id) const;
  [[nodiscard]] Uuid takeSlotToFill(const AudioChannel& channel);
  void move(const Uuid& slotId, bool isDown);
  void followSlots(const AudioChannel& channel, const std::vector<AudioPluginSlot>& before);
  void stripsChanged();

  AppState& state_;
  AudioEngine& engine_;
  MainQueue& mainQueue_;
  ConsoleOutput& console_;
  PluginList plugins_;
  std::map<Uuid, std::string> searchTexts_;  // of the racks that are closed
  std::vector<std::shared_ptr<void>> connections_;
  LifeToken life_;
};

}  // namespace vrel
