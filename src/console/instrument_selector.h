// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "console/plugin_list.h"
#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "platform/audio_component.h"

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class ConsoleOutput;
class MainQueue;
struct ConsoleSelection;

/// The choice of what a strip plays: an instrument, an audio file or clips.
///
/// It is open for one strip at a time, `AppState::pluginSelectorChannelId`, and closes when that strip leaves the
/// stage. In Live mode nothing can be chosen: it is cancelled when the mode begins. The search text stays in the
/// session. A pick while it is closed does nothing, so that a press that comes twice loads once.
///
/// While it is open, instruments can be tried out: each plays on the strip until the next one does. Until one is
/// picked, the strip's own instrument is what a capture stores, and what comes back with its state when the selector is
/// cancelled or opened for another strip. Main thread.
class InstrumentSelector {
 public:
  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    MainQueue& mainQueue;
    ConsoleOutput& console;
    ConsoleSelection& selection;
  };

  /// All are borrowed.
  explicit InstrumentSelector(const Collaborators& collaborators);

  /// Opens for this strip, in place of any other; the strip is selected.
  void open(const AudioChannel& channel);

  /// Closes without a choice; the strip gets its instrument back.
  void cancel();

  /// The strip that it is open for; null while it is closed.
  [[nodiscard]] std::shared_ptr<AudioChannel> channel() const;

  void setSearchText(const std::string& text);

  /// What the scan found and the search text leaves, in order.
  [[nodiscard]] std::vector<PluginGroup> groups() const;

  /// The favourites and the last used, as far as the search text leaves them; see plugin_preferences.h.
  [[nodiscard]] std::vector<AVAudioUnitComponent> preferred() const;

  /// For a strip whose plug-in is not installed those that may take its place, while nothing is searched for.
  [[nodiscard]] std::vector<AVAudioUnitComponent> nearest() const;

  /// Loads the instrument of this key on the strip, without a modal. One loads at a time; of those that are asked for
  /// meanwhile the last is next.
  void tryOut(const std::string& key);

  /// What is tried out; empty for nothing.
  Observable<std::string> triedKey;

  /// Puts the strip's own instrument in the record of a strip on which another one is tried out.
  void amendRecord(const AudioChannel& channel, ChannelConfig& record) const;

  /// Closes, and loads the instrument of this key behind the modal. The old one stays until the new one plays. When
  /// that fails or is no longer installed, the strip plays its own, and its status is `loadFailed`.
  void pick(const std::string& key);

  /// Both close as `cancel` does, and open the editor of tracks or of clips for the strip.
  void pickPlayback();
  void pickVisual();

  /// The plug-in that a strip was built for and lacks. Set once; may be empty.
  std::function<std::optional<ChannelConfig>(const AudioChannel&)> missingSource;

  /// Open these editors. Set once.
  std::function<void(const AudioChannel&)> editTrack;
  std::function<void(const AudioChannel&)> editClips;

  /// Empties the strip; nothing for one that is empty.
  void removeInstrument(AudioChannel& channel);

  /// Gives a strip the source of a record, with its state; nothing else of the strip changes. A choice for this strip
  /// is over then, and so is a trial.
  void put(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& source);

 private:
  /// A strip that plays something else for now.
  struct Trial {
    Uuid id = Uuid::fresh();
    std::weak_ptr<AudioChannel> channel;
    ChannelConfig own;  // what it plays otherwise, and nothing more of the strip
    bool isLoading = false;
    std::optional<std::string> next;
  };

  void close();
  [[nodiscard]] std::string pathOf(const AudioChannel& channel) const;
  [[nodiscard]] ChannelConfig sourceOf(const AudioChannel& channel) const;
  void loadTried(const std::string& key);
  void triedLoadEnded(const Uuid& trialId);
  void endTrial();
  void dropTrial();
  void dropChoiceFor(const AudioChannel& channel);
  void install(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& source,
               const std::function<void()>& installed);
  void installInternal(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& source);
  void bringOwnBack(const std::shared_ptr<AudioChannel>& channel, const std::optional<ChannelConfig>& own);
  void load(const std::shared_ptr<AudioChannel>& channel, const AVAudioUnitComponent& component,
            const std::optional<ChannelConfig>& own);
  void turnToPlayback(AudioChannel& channel);
  void pickInternalSource(const std::function<void(const AudioChannel&)>& edit);
  void closeForStripThatIsGone();

  AppState& state_;
  AudioEngine& engine_;
  MainQueue& mainQueue_;
  ConsoleOutput& console_;
  ConsoleSelection& selection_;
  PluginList plugins_;
  std::optional<Trial> trial_;
  std::vector<std::shared_ptr<void>> connections_;
  LifeToken life_;
};

}  // namespace vrel
