// SPDX-License-Identifier: GPL-3.0-or-later
#include "visuals/visual_engine.h"

#include <algorithm>
#include <utility>

#include "channel/audio_channel.h"
#include "document/plugin_path.h"
#include "platform/video_player.h"

namespace vrel {
namespace {

constexpr double deactivationDelay = 0.2;  // seconds; after the player has stopped

std::string keyPrefix(const Uuid& channelId) {
  return channelId.text() + ":";
}

const VisualClipMapping* findMapping(const AudioChannel& channel, std::uint8_t note) {
  const auto& mappings = channel.visualClipMappings.get();
  const auto found =
      std::find_if(mappings.begin(), mappings.end(), [&](const auto& each) { return each.note == note; });
  return found == mappings.end() ? nullptr : &*found;
}

bool isToggled(const VisualClipMapping* mapping) {
  return mapping != nullptr && mapping->triggerMode == VisualTriggerMode::toggle;
}

bool holds(const VrelVisualEngine::Players& players, const Uuid& id) {
  return std::any_of(players.begin(), players.end(), [&](const auto& each) { return each->id == id; });
}

}  // namespace

// A load takes its time; this is what it was asked for, and what has come of it.
struct VrelVisualEngine::Load {
  std::uint64_t number;
  Uuid channelId;
  std::weak_ptr<AudioChannel> channel;
  Players players;  // of the mappings, in their order; null where there is none to install
  std::size_t awaited;
  Completion completion;
  bool hasEnded = false;

  void complete() {
    if (const auto action = std::exchange(completion, nullptr)) {
      action();
    }
  }
};

VrelVisualEngine::VrelVisualEngine(VideoFactory* factory, MainQueue& mainQueue)
    : factory_(factory), mainQueue_(mainQueue) {}

std::string VrelVisualEngine::playerKey(const Uuid& channelId, std::uint8_t note) {
  return keyPrefix(channelId) + std::to_string(note);
}

void VrelVisualEngine::loadChannel(AudioChannel& channel, Completion completion) {
  unloadChannel(channel);
  if (channel.pluginKind() != PluginPathKind::visual) {
    if (completion) {
      completion();
    }
    return;
  }
  const auto& mappings = channel.visualClipMappings.get();
  ++pendingLoads_;
  awaitedLoads_[channel.id] = ++lastNumber_;
  const auto load =
      std::make_shared<Load>(Load{lastNumber_, channel.id, channel.weak_from_this(), Players(mappings.size()),
                                  factory_ != nullptr ? mappings.size() : 0, std::move(completion)});
  for (std::size_t index = 0; index < load->awaited; ++index) {
    // Those that are no longer needed are not made; the next song may wait.
    makeWhenFound(
        mappings[index], [watched = load->channel] { return !watched.expired(); },
        [this, life = life_.watch(), load, index](std::shared_ptr<VrelVisualClipPlayer> player) {
          if (life.isAlive()) {
            take(load, index, std::move(player));
          } else {
            load->complete();
          }
        });
  }
  auto end = [this, life = life_.watch(), load] {
    if (life.isAlive()) {
      endLoad(*load);
    } else {
      load->complete();
    }
  };
  if (load->awaited > 0) {
    mainQueue_.asyncAfter(longestSearch, std::move(end));
  } else {
    mainQueue_.async(std::move(end));
  }
}

// `isNeeded` and the player's making on the thread of the search, `made` on the main queue.
void VrelVisualEngine::makeWhenFound(const VisualClipMapping& mapping, std::function<bool()> isNeeded, Made made) {
  factory_->findFile(mapping.filePath, [factory = factory_, &mainQueue = mainQueue_, mapping,
                                        isNeeded = std::move(isNeeded), made = std::move(made)](bool isThere) {
    auto player = isThere && isNeeded() ? VrelVisualClipPlayer::make(mapping, *factory, mainQueue) : nullptr;
    mainQueue.async([made, player = std::move(player)] { made(player); });
  });
}

void VrelVisualEngine::take(const std::shared_ptr<Load>& load, std::size_t index,
                            std::shared_ptr<VrelVisualClipPlayer> player) {
  load->players[index] = std::move(player);
  --load->awaited;
  if (load->hasEnded) {
    install(*load);
  } else if (load->awaited == 0) {
    endLoad(*load);
  }
}

void VrelVisualEngine::endLoad(Load& load) {
  if (load.hasEnded) {
    return;
  }
  --pendingLoads_;
  install(load);
  load.hasEnded = true;
  load.complete();
}

void VrelVisualEngine::install(Load& load) {
  const auto players = std::exchange(load.players, Players(load.players.size()));
  const auto awaited = awaitedLoads_.find(load.channelId);
  if (awaited == awaitedLoads_.end() || awaited->second != load.number) {
    return;  // the channel was unloaded or loaded again meanwhile
  }
  if (load.awaited == 0) {
    awaitedLoads_.erase(awaited);
  }
  const auto channel = load.channel.lock();
  if (channel == nullptr || channel->id != load.channelId || channel->pluginKind() != PluginPathKind::visual) {
    return;
  }
  std::vector<std::string> wanted;  // by notes that came before their players
  for (const auto& player : players) {
    if (player == nullptr) {
      continue;
    }
    const auto key = playerKey(load.channelId, player->note);
    const auto earlier = find(key);
    if (earlier != nullptr && (load.hasEnded || isActive(*earlier))) {
      continue;  // a note came first and built it; without its key nothing could ever take it out of the picture
    }
    keep(key, player);
    const auto asked = awaitedClips_.extract(key);
    if (!asked.empty() && asked.mapped().isWanted) {
      wanted.push_back(key);
    }
  }
  for (const auto& key : wanted) {
    if (const auto player = find(key)) {  // unless whoever saw the one before has unloaded the channel
      show(player);
    }
  }
}

void VrelVisualEngine::keep(const std::string& key, const std::shared_ptr<VrelVisualClipPlayer>& player) {
  playersByChannelAndNote_[key] = player;
  player->prepare(nullptr);
}

std::shared_ptr<VrelVisualClipPlayer> VrelVisualEngine::find(const std::string& key) const {
  const auto found = playersByChannelAndNote_.find(key);
  return found == playersByChannelAndNote_.end() ? nullptr : found->second;
}

bool VrelVisualEngine::isActive(const VrelVisualClipPlayer& player) const {
  return holds(activePlayers.get(), player.id);
}

void VrelVisualEngine::noteOn(std::uint8_t note, AudioChannel& channel) {
  const auto* mapping = findMapping(channel, note);
  const auto key = playerKey(channel.id, note);
  auto player = find(key);
  if (player == nullptr) {
    if (mapping != nullptr && factory_ != nullptr) {
      await(key, *mapping);
    }
    return;
  }
  if (isActive(*player) && isToggled(mapping)) {
    fadeOutAndDeactivate(player);
  } else {
    show(player);
  }
}

void VrelVisualEngine::show(const std::shared_ptr<VrelVisualClipPlayer>& player) {
  if (!isActive(*player)) {
    auto players = activePlayers.get();
    players.push_back(player);
    activePlayers.set(std::move(players));
  }
  player->start();
}

// Shown as soon as it is found, unless its note has ended it by then.
void VrelVisualEngine::await(const std::string& key, const VisualClipMapping& mapping) {
  const auto [awaited, isNew] = awaitedClips_.try_emplace(key, AwaitedClip{lastNumber_ + 1, true});
  if (!isNew) {
    awaited->second.isWanted = !isToggled(&mapping) || !awaited->second.isWanted;
    return;
  }
  makeWhenFound(
      mapping, [] { return true; },
      [this, life = life_.watch(), key, search = ++lastNumber_](std::shared_ptr<VrelVisualClipPlayer> player) {
        if (life.isAlive()) {
          takeAwaited(key, search, std::move(player));
        }
      });
}

void VrelVisualEngine::takeAwaited(const std::string& key, std::uint64_t search,
                                   std::shared_ptr<VrelVisualClipPlayer> player) {
  const auto awaited = awaitedClips_.find(key);
  if (awaited == awaitedClips_.end() || awaited->second.search != search) {
    return;
  }
  const bool isWanted = awaited->second.isWanted;
  awaitedClips_.erase(awaited);
  if (const auto loaded = find(key)) {
    player = loaded;
  } else if (player != nullptr) {
    keep(key, player);
  }
  if (player != nullptr && isWanted) {
    show(player);
  }
}

void VrelVisualEngine::noteOff(std::uint8_t note, AudioChannel& channel) {
  if (isToggled(findMapping(channel, note))) {
    return;
  }
  const auto key = playerKey(channel.id, note);
  if (const auto awaited = awaitedClips_.find(key); awaited != awaitedClips_.end()) {
    awaited->second.isWanted = false;
  }
  if (const auto player = find(key)) {
    fadeOutAndDeactivate(player);
  }
}

void VrelVisualEngine::fadeOutAndDeactivate(const std::shared_ptr<VrelVisualClipPlayer>& player) {
  player->fadeOut();
  mainQueue_.asyncAfter(deactivationDelay, [this, life = life_.watch(), weak = std::weak_ptr(player)] {
    const auto faded = life.isAlive() ? weak.lock() : nullptr;
    if (faded != nullptr && !faded->isVisible.get()) {
      deactivate({faded});
    }
  });
}

void VrelVisualEngine::deactivate(const Players& players) {
  auto remaining = activePlayers.get();
  if (std::erase_if(remaining, [&](const auto& each) { return holds(players, each->id); }) > 0) {
    activePlayers.set(std::move(remaining));
  }
}

// Whoever hears of a fade may change the list of players, so they are collected first.
void VrelVisualEngine::unloadChannel(const AudioChannel& channel) {
  awaitedLoads_.erase(channel.id);
  const auto prefix = keyPrefix(channel.id);
  Players unloaded;
  for (auto each = playersByChannelAndNote_.lower_bound(prefix);
       each != playersByChannelAndNote_.end() && each->first.starts_with(prefix); ++each) {
    unloaded.push_back(each->second);
  }
  for (const auto& player : unloaded) {
    player->fadeOut();
  }
  std::erase_if(playersByChannelAndNote_, [&](const auto& each) { return each.first.starts_with(prefix); });
  std::erase_if(awaitedClips_, [&](const auto& each) { return each.first.starts_with(prefix); });
  deactivate(unloaded);
}

}  // namespace vrel
