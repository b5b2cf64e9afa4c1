// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/note_latency_stage.h"

#include <QPointF>
#include <QQuickItem>
#include <QQuickWindow>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <utility>

#include "document/plugin_path.h"
#include "system/plugins/observable_instrument.h"
#include "system/plugins/sandboxed_node.h"

namespace vrel::app::bench {
namespace {

constexpr const char* instrumentName = "Zoo Sine";

SongConfig songOf(const AVAudioUnitComponent& instrument, std::size_t stripCount) {
  SongConfig song;
  song.name = "Full";
  for (std::size_t strip = 0; strip < stripCount; ++strip) {
    auto& record = song.channels.emplace_back();
    record.name = "Strip " + std::to_string(strip + 1);
    record.pluginPath = pluginKey(instrument);
  }
  return song;
}

const QQuickItem* findIn(const QQuickItem& item, const QString& name) {
  if (item.objectName() == name && item.isVisible()) {
    return &item;
  }
  const auto children = item.childItems();
  for (const QQuickItem* child : children) {
    if (const auto* const found = findIn(*child, name)) {
      return found;
    }
  }
  return nullptr;
}

}  // namespace

NoteLatencyStage::NoteLatencyStage(std::size_t strips, WaitUntil waitUntil) : waitUntil_(std::move(waitUntil)) {
  program_.start();
  waitUntil_(
      [this] { return onLogic<bool>([](Session& session) { return !session.state().isLookingForPlugins.get(); }); });
  putOnStage(strips);
}

void NoteLatencyStage::putOnStage(std::size_t strips) {
  const bool isFound = onLogic<bool>([strips](Session& session) {
    const auto& found = session.state().scannedPlugins.get();
    const auto instrument =
        std::find_if(found.begin(), found.end(), [](const auto& each) { return each.name == instrumentName; });
    if (instrument == found.end()) {
      return false;
    }
    const auto last = static_cast<std::ptrdiff_t>(session.state().songs.get().size());
    session.state().songs.modify([&](auto& songs) { songs.push_back(songOf(*instrument, strips)); });
    session.content().songSwitch().applySong(last);
    return true;
  });
  if (!isFound) {
    throw std::runtime_error(std::string("not installed: ") + instrumentName);
  }
  const auto isComplete = [this, strips] {
    return onLogic<bool>([strips](Session& session) {
      const auto& channels = session.engine().channels();
      return !session.state().songSwitchInProgress.get() && session.engine().engine().isRunning() &&
             channels.size() == strips && std::all_of(channels.begin(), channels.end(), [](const auto& channel) {
               return channel->midiInstrument() != nullptr;
             });
    });
  };
  if (!waitUntil_(isComplete)) {
    throw std::runtime_error("the song switch timed out; is a JACK server running?");
  }
  engine_ = onLogic<AudioEngine*>([](Session& session) { return &session.engine(); });
  using Ids = std::vector<std::string>;
  const auto ids = onLogic<Ids>([](Session& session) {
    Ids all;
    for (const auto& channel : session.engine().channels()) {
      all.push_back(channel->id.text());
    }
    return all;
  });
  for (const auto& id : ids) {
    meters_.push_back({program_.window.model().meters()->cell(QString::fromStdString(id))});
  }
}

void NoteLatencyStage::watchLastStrip(std::function<void()> onEvent) {
  const bool isWatched = onLogic<bool>([&](Session& session) {
    auto* const instrument = dynamic_cast<ObservableInstrument*>(session.engine().channels().back()->midiInstrument());
    if (instrument != nullptr) {
      instrument->setEventObserver([onEvent](std::uint8_t, std::uint8_t, std::uint8_t) { onEvent(); });
    }
    return instrument != nullptr;
  });
  if (!isWatched) {
    throw std::runtime_error("the instrument has no event observer");
  }
}

void NoteLatencyStage::post(std::uint8_t status, std::uint8_t data1, std::uint8_t data2, std::function<void()> before) {
  program_.logic.post([engine = engine_, status, data1, data2, before = std::move(before)] {
    before();
    engine->routeMIDI(status, data1, data2);
  });
}

void NoteLatencyStage::hang(std::size_t strips) {
  const auto first = [strips](Session& session, const std::function<bool(AVAudioUnit&)>& holds) {
    const auto& channels = session.engine().channels();
    return std::all_of(channels.begin(), channels.begin() + static_cast<std::ptrdiff_t>(strips),
                       [&](const auto& channel) { return holds(*channel->midiInstrument()); });
  };
  (void)onLogic<bool>([&](Session& session) {
    return first(session,
                 [](AVAudioUnit& unit) { return kill(dynamic_cast<SandboxedNode&>(unit).processId(), SIGSTOP) == 0; });
  });
  const auto areBehind = [&] {
    return onLogic<bool>(
        [&](Session& session) { return first(session, [](AVAudioUnit& unit) { return !unit.isReusable(); }); });
  };
  if (!waitUntil_(areBehind)) {
    throw std::runtime_error("the device asks for no blocks");
  }
}

double NoteLatencyStage::capture() {
  return onLogic<double>([](Session& session) {
    const auto begin = std::chrono::steady_clock::now();
    session.content().songSwitch().captureCurrentSong();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
  });
}

void NoteLatencyStage::reviveAll() {
  const auto areBack = [this] {
    return onLogic<bool>([](Session& session) {
      bool isComplete = true;
      for (const auto& channel : session.engine().channels()) {
        auto* const instrument = channel->midiInstrument();
        isComplete = isComplete && instrument != nullptr && instrument->isReusable();
        if (channel->status.get() == ChannelStatus::crashed) {
          session.engine().instruments().reviveChannel(channel);
        }
      }
      return isComplete;
    });
  };
  if (!waitUntil_(areBack)) {
    throw std::runtime_error("the crashed instruments do not come back");
  }
}

std::size_t NoteLatencyStage::movedMeters() {
  std::size_t moved = 0;
  for (auto& meter : meters_) {
    const float now = meter.cell->left.displayed.load(std::memory_order_relaxed);
    moved += now != meter.shown ? 1 : 0;
    meter.shown = now;
  }
  return moved;
}

Press NoteLatencyStage::pressMute(std::size_t strip) {
  auto& strips = *program_.window.model().strips();
  const auto row = strips.index(static_cast<int>(strip));
  auto* const item = strips.data(row, window::MirrorList::entryRole).value<window::MirrorItem*>();
  const auto& entry = dynamic_cast<window::StripViewModel&>(*item);
  const auto* const button = findIn(*window()->contentItem(), "mute" + QString::number(strip));
  if (button == nullptr) {
    throw std::runtime_error("the window shows no mute button");
  }
  return {button->mapToScene({button->width() / 2, button->height() / 2}),
          [&entry, wasMuted = entry.mute()] { return entry.mute() != wasMuted; }};
}

bool NoteLatencyStage::isEveryStripVisible() {
  const auto* const strip =
      window() == nullptr ? nullptr : findIn(*window()->contentItem(), "strip" + QString::number(meters_.size() - 1));
  return strip != nullptr && strip->mapToScene({strip->width(), 0}).x() <= window()->width();
}

}  // namespace vrel::app::bench
