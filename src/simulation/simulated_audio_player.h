// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/audio_player.h"

namespace vrel::simulation {

/// Players that play nothing. All record their calls in one list, as lines like "seek 1500 ms"; the end of a player
/// is "gone".
class SimulatedAudioPlayers : public AudioPlayerFactory {
 public:
  Result<std::unique_ptr<AVAudioPlayer>> makePlayer(const std::string& path) override {
    if (unplayable.contains(path)) {
      return Error{"no such file: " + path};
    }
    calls.push_back("open " + path);
    return std::unique_ptr<AVAudioPlayer>(std::make_unique<Player>(calls));
  }

  std::set<std::string> unplayable;
  std::vector<std::string> calls;

 private:
  class Player : public AVAudioPlayer {
   public:
    explicit Player(std::vector<std::string>& calls) : calls_(calls) {}
    ~Player() override { calls_.emplace_back("gone"); }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;
    void setCurrentTime(double seconds) override {
      calls_.push_back("seek " + std::to_string(std::llround(seconds * 1000)) + " ms");
    }
    void prepareToPlay() override { calls_.emplace_back("prepare"); }
    void play() override { calls_.emplace_back("play"); }
    void stop() override { calls_.emplace_back("stop"); }

   private:
    std::vector<std::string>& calls_;
  };
};

}  // namespace vrel::simulation
