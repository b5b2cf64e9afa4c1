// SPDX-License-Identifier: GPL-3.0-or-later
// The guests that are kept for a later request.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "system/plugins/sandbox/supervisor_core.h"

namespace vrel::sandbox {
namespace {

// A plug-in that loses memory each time it is made is not to fill the machine.
constexpr int mostRemakes = 100;

}  // namespace

bool Supervisor::Core::mayRemake(const Record& record) const {
  const bool isHealthy = !record.link->isDead() && !record.link->isBehind() && !record.link->owesAnswer() &&
                         record.killAt == Clock::time_point::max();
  return settings_.mostParked > 0 && !isEnding_ && record.stage == Stage::serving && isHealthy &&
         record.remakes < mostRemakes;
}

void Supervisor::Core::remake(std::uint64_t key, Record& record) {
  const auto now = Clock::now();
  record.stage = Stage::remaking;
  record.launch.died = nullptr;
  record.launch.request.sampleRate = sampleRate_;
  record.releasedAt = now;
  record.killAt = now + settings_.remakingGrace;  // a block that never ends holds it up
  ++record.remakes;
  record.link->forgetState();
  record.link->blockAnswered();
  send(key, {MessageKind::instantiate, 0, toBytes(record.launch.request)});
}

void Supervisor::Core::park(std::uint64_t key, Record& record) {
  if (record.isKilled) {
    return;
  }
  if (record.launch.request.sampleRate != sampleRate_) {
    close(key, record);
    return;
  }
  record.stage = Stage::parked;
  record.killAt = Clock::time_point::max();
  // Only now: a song that goes is released before the next one asks for what is parked.
  shrinkParked(settings_.mostParked);
}

bool Supervisor::Core::takeParked(const Launch& launch) {
  const auto found = std::find_if(guests_.begin(), guests_.end(), [&](const auto& entry) {
    return entry.second.stage == Stage::parked && entry.second.launch.request == launch.request;
  });
  if (found == guests_.end()) {
    return false;
  }
  Record& record = found->second;
  record.launch = launch;
  record.stage = Stage::serving;
  countParked();
  becomeReady(found->first, record);
  return true;
}

void Supervisor::Core::countParked() {
  parkedCount_ = static_cast<std::size_t>(std::count_if(
      guests_.begin(), guests_.end(), [](const auto& entry) { return entry.second.stage == Stage::parked; }));
}

void Supervisor::Core::shrinkParked(std::size_t most) {
  std::vector<std::pair<Clock::time_point, std::uint64_t>> parked;
  for (const auto& [key, record] : guests_) {
    if (record.stage == Stage::parked) {
      parked.emplace_back(record.releasedAt, key);
    }
  }
  std::sort(parked.begin(), parked.end());
  for (std::size_t index = 0; index + most < parked.size(); ++index) {
    const std::uint64_t key = parked[index].second;
    close(key, guests_.at(key));
  }
}

}  // namespace vrel::sandbox
