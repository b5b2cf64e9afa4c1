// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "channel/note_targets.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "platform/dispatch.h"
#include "visuals/visual_clip_player.h"

namespace vrel {

class AudioChannel;
class VideoFactory;

/// Shows clips on notes: owns the clip players of all visual channels on stage; `activePlayers` is what is shown. It
/// knows no windows.
///
/// Threads: main thread, which touches no file. Players are made where their files are looked for, when these are
/// found; a note that comes before its player has one made for itself, and shows it as soon as it is there.
class VrelVisualEngine : public VisualNoteTarget {
 public:
  using Players = std::vector<std::shared_ptr<VrelVisualClipPlayer>>;
  using Completion = std::function<void()>;

  /// A load waits no longer for its files: what is found later is added then.
  static constexpr double longestSearch = 1;  // seconds

  /// All are borrowed and outlive the engine. Without a factory there are no clips.
  VrelVisualEngine(VideoFactory* factory, MainQueue& mainQueue);
  VrelVisualEngine(const VrelVisualEngine&) = delete;
  VrelVisualEngine& operator=(const VrelVisualEngine&) = delete;

  /// The clips now shown, in the order in which they were started: the last lies on top. Each once.
  Observable<Players> activePlayers;

  /// All prepared players, by `playerKey`.
  [[nodiscard]] const std::map<std::string, std::shared_ptr<VrelVisualClipPlayer>>& playersByChannelAndNote() const {
    return playersByChannelAndNote_;
  }
  /// The channel's id, a colon and the note.
  [[nodiscard]] static std::string playerKey(const Uuid& channelId, std::uint8_t note);

  /// Forgets the channel's players and rebuilds them in the background. The completion comes on the main queue once
  /// they are ready or have failed, or after `longestSearch`; at once for a channel that shows no clips. Players that a
  /// later load or unload of the channel has overtaken are dropped.
  void loadChannel(AudioChannel& channel, Completion completion);

  /// Forgets all players of the channel. What shows of them vanishes at once.
  void unloadChannel(const AudioChannel& channel);

  void noteOn(std::uint8_t note, AudioChannel& channel) override;
  void noteOff(std::uint8_t note, AudioChannel& channel) override;

  /// Loads in progress.
  [[nodiscard]] std::size_t pendingLoads() const { return pendingLoads_; }

 private:
  struct Load;
  struct AwaitedClip {
    std::uint64_t search;
    bool isWanted;  // the note is held, or has toggled its clip on
  };
  using Made = std::function<void(std::shared_ptr<VrelVisualClipPlayer> player)>;
  void makeWhenFound(const VisualClipMapping& mapping, std::function<bool()> isNeeded, Made made);
  void take(const std::shared_ptr<Load>& load, std::size_t index, std::shared_ptr<VrelVisualClipPlayer> player);
  void endLoad(Load& load);
  void install(Load& load);
  void await(const std::string& key, const VisualClipMapping& mapping);
  void takeAwaited(const std::string& key, std::uint64_t search, std::shared_ptr<VrelVisualClipPlayer> player);
  void show(const std::shared_ptr<VrelVisualClipPlayer>& player);
  void keep(const std::string& key, const std::shared_ptr<VrelVisualClipPlayer>& player);
  [[nodiscard]] std::shared_ptr<VrelVisualClipPlayer> find(const std::string& key) const;
  [[nodiscard]] bool isActive(const VrelVisualClipPlayer& player) const;
  void fadeOutAndDeactivate(const std::shared_ptr<VrelVisualClipPlayer>& player);
  void deactivate(const Players& players);

  VideoFactory* const factory_;
  MainQueue& mainQueue_;
  std::map<std::string, std::shared_ptr<VrelVisualClipPlayer>> playersByChannelAndNote_;
  std::map<Uuid, std::uint64_t> awaitedLoads_;       // by channel: the load whose players may come in
  std::map<std::string, AwaitedClip> awaitedClips_;  // by key: those that notes have asked for
  std::uint64_t lastNumber_ = 0;                     // of loads and searches
  std::size_t pendingLoads_ = 0;
  LifeToken life_;
};

}  // namespace vrel
