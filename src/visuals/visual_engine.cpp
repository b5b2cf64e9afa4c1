// SPDX-License-Identifier: GPL-3.0-or-later
#include "visuals/visual_engine.h"

#include <algorithm>
#include <utility>

#include "channel/audio_channel.h"
#include "document/plugin_path.h"

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

// A load takes its time; this is what it was asked for.
struct VrelVisualEngine::Load {
  std::uint64_t number;
  Uuid channelId;
  std::weak_ptr<AudioChannel> channel;
  std::vector<VisualClipMapping> mappings;
};

VrelVisualEngine::VrelVisualEngine(VideoFactory* factory, MainQueue& mainQueue, DispatchQueueFactory& queues)
    : factory_(factory), mainQueue_(mainQueue), builderQueue_(queues.makeSerialQueue("vrel.visual.builder")) {}

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
  ++pendingLoads_;
  awaitedLoads_[channel.id] = ++lastLoad_;
  auto load = std::make_shared<const Load>(
      Load{lastLoad_, channel.id, channel.weak_from_this(), channel.visualClipMappings.get()});
  builderQueue_->async([this, life = life_.watch(), factory = factory_, &mainQueue = mainQueue_, load = std::move(load),
                        completion = std::move(completion)]() mutable {
    // The engine is only used on the main queue, where it is destroyed.
    auto players = build(*load, factory, mainQueue);
    mainQueue.async(
        [this, life, load = std::move(load), players = std::move(players), completion = std::move(completion)] {
          if (life.isAlive()) {
            --pendingLoads_;
            install(*load, players);
          }
          if (completion) {
            completion();
          }
        });
  });
}

VrelVisualEngine::Players VrelVisualEngine::build(const Load& load, VideoFactory* factory, MainQueue& mainQueue) {
  Players players;
  for (const auto& mapping : load.mappings) {
    if (factory == nullptr || load.channel.expired()) {
      break;  // they are no longer needed, and the next song may wait
    }
    if (auto player = VrelVisualClipPlayer::make(mapping, *factory, mainQueue)) {
      players.push_back(std::move(player));
    }
  }
  return players;
}

void VrelVisualEngine::install(const Load& load, const Players& players) {
  const auto awaited = awaitedLoads_.find(load.channelId);
  if (awaited == awaitedLoads_.end() || awaited->second != load.number) {
    return;  // the channel was unloaded or loaded again meanwhile
  }
  awaitedLoads_.erase(awaited);
  const auto channel = load.channel.lock();
  if (players.empty() || channel == nullptr || channel->id != load.channelId ||
      channel->pluginKind() != PluginPathKind::visual) {
    return;
  }
  for (const auto& player : players) {
    const auto key = playerKey(load.channelId, player->note);
    const auto earlier = find(key);
    if (earlier != nullptr && isActive(*earlier)) {
      continue;  // a note came first and built it; without its key nothing could ever take it out of the picture
    }
    keep(key, player);
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
  if (player == nullptr && mapping != nullptr && factory_ != nullptr) {
    player = VrelVisualClipPlayer::make(*mapping, *factory_, mainQueue_);
    if (player != nullptr) {
      keep(key, player);
    }
  }
  if (player == nullptr) {
    return;
  }
  if (isActive(*player)) {
    if (isToggled(mapping)) {
      fadeOutAndDeactivate(player);
      return;
    }
  } else {
    auto players = activePlayers.get();
    players.push_back(player);
    activePlayers.set(std::move(players));
  }
  player->start();
}

void VrelVisualEngine::noteOff(std::uint8_t note, AudioChannel& channel) {
  if (isToggled(findMapping(channel, note))) {
    return;
  }
  if (const auto player = find(playerKey(channel.id, note))) {
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
  deactivate(unloaded);
}

}  // namespace vrel
