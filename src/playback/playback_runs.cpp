// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/playback_runs.h"

#include <utility>

#include "channel/audio_channel.h"
#include "platform/clock.h"

namespace vrel {

/// One run as the player queue and the completions know it. Nothing in it changes.
struct PlaybackRuns::Run : std::enable_shared_from_this<PlaybackRuns::Run> {
  /// The node, while this run is the channel's; on the player queue.
  [[nodiscard]] std::shared_ptr<AVAudioPlayerNode> currentNode() const {
    const auto seen = view.lock();
    return seen != nullptr && seen->runNumber.load() == runNumber ? node.lock() : nullptr;
  }

  void begin() {
    const auto player = currentNode();
    const auto seen = view.lock();
    if (player == nullptr || seen == nullptr) {
      return;
    }
    player->stop();
    const bool loops = seen->loops.load();
    player->setRepeating(file != nullptr ? loops : stopAtRangeEnd);
    if (seen->stopRequested.load()) {  // behind that, since the request is made in the other order
      player->setRepeating(false);
    }
    if (file != nullptr) {
      scheduleSegment(*player, loops);
    } else if (buffer != nullptr && !stopAtRangeEnd) {
      using Options = AVAudioPlayerNodeBufferOptions;
      player->scheduleBuffer(buffer, loops ? Options::loops : Options::none, endOfRun());
    } else if (buffer != nullptr) {
      player->scheduleBuffer(buffer, AVAudioPlayerNodeBufferOptions::none, nextPass());
    }
    if (currentNode() != nullptr) {  // else a note has ended the run while its first frames were read
      player->play();
    }
  }

  void scheduleSegment(AVAudioPlayerNode& player, bool loops) {
    player.scheduleSegment(file, startFrame, frameCount, loops ? nextPass() : endOfRun());
  }

  [[nodiscard]] std::function<void()> endOfRun() {
    return [run = shared_from_this()] { run->postEnd(); };
  }
  [[nodiscard]] std::function<void()> nextPass() {
    return [run = shared_from_this()] {
      run->gate->pass([&run](DispatchQueue& queue) { queue.async([run] { run->passAgain(); }); });
    };
  }

  void passAgain() {
    const auto player = currentNode();
    const auto seen = view.lock();
    if (player == nullptr || seen == nullptr) {
      return;
    }
    if (seen->stopRequested.load() && !player->hasContinued()) {
      player->stop();
      postEnd();
    } else if (file != nullptr) {
      scheduleSegment(*player, true);
    } else {
      player->scheduleBuffer(buffer, AVAudioPlayerNodeBufferOptions::none, nextPass());
    }
  }

  /// After a panic the run is on, silent, and comes to no exit any more.
  void endIfSilent() const {
    if (const auto player = currentNode(); player != nullptr && !player->isPlaying()) {
      player->stop();
      postEnd();
    }
  }

  void postEnd() const {
    mainQueue.async([weakChannel = channel, ended = token] {
      const auto owner = weakChannel.lock();
      if (owner != nullptr && owner->playbackRunToken.get() == ended) {
        owner->endPlaybackRun();
      }
    });
  }

  Run(MainQueue& postTo, std::shared_ptr<Gate<DispatchQueue>> playerQueue)
      : mainQueue(postTo), gate(std::move(playerQueue)) {}

  MainQueue& mainQueue;
  std::shared_ptr<Gate<DispatchQueue>> gate;
  std::weak_ptr<AudioChannel> channel;  // for the main thread: its last holder must not be another one
  std::weak_ptr<PlaybackRunView> view;
  std::weak_ptr<AVAudioPlayerNode> node;
  Uuid token;
  std::uint64_t runNumber = 0;
  std::shared_ptr<AVAudioFile> file;
  std::int64_t startFrame = 0;
  std::uint32_t frameCount = 0;
  std::shared_ptr<AVAudioPCMBuffer> buffer;
  bool stopAtRangeEnd = false;
};

PlaybackRuns::PlaybackRuns(DispatchQueueFactory& queues, MainQueue& mainQueue, HostClock& clock)
    : clock_(clock), mainQueue_(mainQueue), playbackQueue_(queues.makeSerialQueue("vrel.playback.player")) {
  gate_->open(*playbackQueue_);
}

PlaybackRuns::~PlaybackRuns() {
  gate_->close();
}

void PlaybackRuns::triggerPlayback(AudioChannel& channel) {
  if (const auto playerNode = std::dynamic_pointer_cast<AVAudioPlayerNode>(channel.instrumentNode.get())) {
    triggerPlayback(channel, playerNode);
  }
}

void PlaybackRuns::triggerPlayback(AudioChannel& channel, const std::shared_ptr<AVAudioPlayerNode>& playerNode) {
  if (!channel.playbackIsPlaying.get()) {
    startRun(channel, playerNode);
  } else if (channel.playbackStopMode.get().mode() != StopMode::toggle && channel.playbackLoop.get()) {
    requestStop(channel, playerNode);
  } else {
    endRun(channel, playerNode);
  }
}

void PlaybackRuns::requestStop(AudioChannel& channel, const std::shared_ptr<AVAudioPlayerNode>& playerNode) {
  channel.playbackStopRequested.set(true);
  playerNode->setRepeating(false);
  const auto token = channel.playbackRunToken.get();
  if (token && !playerNode->isPlaying()) {
    const auto run = makeRun(channel, playerNode, *token);
    playbackQueue_->async([run] { run->endIfSilent(); });
  }
}

void PlaybackRuns::endRun(AudioChannel& channel, const std::shared_ptr<AVAudioPlayerNode>& playerNode) {
  channel.endPlaybackRun();
  playbackQueue_->async([node = std::weak_ptr(playerNode)] {
    if (const auto player = node.lock()) {
      player->stop();
    }
  });
}

std::shared_ptr<PlaybackRuns::Run> PlaybackRuns::makeRun(AudioChannel& channel,
                                                         const std::shared_ptr<AVAudioPlayerNode>& playerNode,
                                                         const Uuid& token) {
  auto run = std::make_shared<Run>(mainQueue_, gate_);
  run->token = token;
  run->channel = channel.weak_from_this();
  run->view = channel.playbackRunView;
  run->runNumber = channel.playbackRunView->runNumber.load();
  run->node = playerNode;
  return run;
}

void PlaybackRuns::startRun(AudioChannel& channel, const std::shared_ptr<AVAudioPlayerNode>& playerNode) {
  const auto buffer = channel.playbackBuffer.get();
  const auto file = channel.playbackFile.get();
  const auto frameCount = channel.playbackFrameCount.get();
  if (buffer == nullptr && (file == nullptr || frameCount == 0)) {
    return;
  }
  const auto token = Uuid::fresh();
  channel.playbackRunToken.set(token);
  channel.playbackIsPlaying.set(true);
  channel.playbackStopRequested.set(false);
  channel.playbackMeterStartedAt.set(clock_.CACurrentMediaTime());
  const auto run = makeRun(channel, playerNode, token);
  run->buffer = buffer;
  run->file = file;
  run->startFrame = channel.playbackStartFrame.get();
  run->frameCount = frameCount;
  run->stopAtRangeEnd = channel.playbackLoop.get() && channel.playbackStopMode.get().mode() == StopMode::rangeEnd;
  playbackQueue_->async([run] { run->begin(); });
}

}  // namespace vrel
