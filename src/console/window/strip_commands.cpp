// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/strip_commands.h"

#include <array>
#include <string>
#include <utility>

#include "console/content_view.h"
#include "console/control_laws.h"
#include "console/window/console_commands.h"
#include "engine/audio_engine.h"

namespace vrel::window {
namespace {

std::array<float, 3> componentsOf(const QColor& color) {
  const QColor sRgb = color.toRgb();
  return {static_cast<float>(sRgb.redF()), static_cast<float>(sRgb.greenF()), static_cast<float>(sRgb.blueF())};
}

}  // namespace

void StripCommands::withChannel(const QString& channelId,
                                std::function<void(ContentView&, const std::shared_ptr<AudioChannel>&)> action) const {
  commands_.post([id = channelId.toStdString(), action = std::move(action)](ConsoleActions& actions) {
    if (const auto channel = actions.strip(id)) {
      action(actions.content, channel);
    }
  });
}

void StripCommands::withControls(const QString& channelId,
                                 std::function<void(StripControls&, AudioChannel&)> action) const {
  withChannel(channelId,
              [action = std::move(action)](ContentView& content, const std::shared_ptr<AudioChannel>& channel) {
                action(content.stripControls(), *channel);
              });
}

void StripCommands::setGain(const QString& channelId, double position) {
  withControls(channelId, [position](StripControls& to, AudioChannel& channel) { to.setGain(channel, position); });
}

void StripCommands::setReverb(const QString& channelId, double position) {
  withControls(channelId, [position](StripControls& to, AudioChannel& channel) { to.setReverb(channel, position); });
}

void StripCommands::resetGain(const QString& channelId) {
  setGain(channelId, gainKnobDefault);
}

void StripCommands::resetReverb(const QString& channelId) {
  setReverb(channelId, reverbKnobDefault);
}

void StripCommands::setColor(const QString& channelId, const QColor& color) {
  withControls(channelId, [components = componentsOf(color)](StripControls& to, AudioChannel& channel) {
    to.setColor(channel, components);
  });
}

void StripCommands::setMasterColor(const QColor& color) {
  commands_.post([components = componentsOf(color)](ConsoleActions& actions) {
    actions.content.stripControls().setMasterColor(components);
  });
}

void StripCommands::setTranspose(const QString& channelId, int semitones) {
  withControls(channelId,
               [semitones](StripControls& to, AudioChannel& channel) { to.setTranspose(channel, semitones); });
}

void StripCommands::setMinNote(const QString& channelId, int note) {
  withControls(channelId, [note](StripControls& to, AudioChannel& channel) { to.setMinNote(channel, note); });
}

void StripCommands::setMaxNote(const QString& channelId, int note) {
  withControls(channelId, [note](StripControls& to, AudioChannel& channel) { to.setMaxNote(channel, note); });
}

void StripCommands::enterTranspose(const QString& channelId, const QString& draft) {
  withControls(channelId, [draft = draft.toStdString()](StripControls& to, AudioChannel& channel) {
    to.enterTranspose(channel, draft);
  });
}

void StripCommands::enterMinNote(const QString& channelId, const QString& draft) {
  withControls(channelId, [draft = draft.toStdString()](StripControls& to, AudioChannel& channel) {
    to.enterMinNote(channel, draft);
  });
}

void StripCommands::enterMaxNote(const QString& channelId, const QString& draft) {
  withControls(channelId, [draft = draft.toStdString()](StripControls& to, AudioChannel& channel) {
    to.enterMaxNote(channel, draft);
  });
}

void StripCommands::toggleSendSustain(const QString& channelId) {
  withControls(channelId, [](StripControls& to, AudioChannel& channel) { to.toggleSendSustain(channel); });
}

void StripCommands::toggleSendExpression(const QString& channelId) {
  withControls(channelId, [](StripControls& to, AudioChannel& channel) { to.toggleSendExpression(channel); });
}

void StripCommands::toggleSustainControlsRotor(const QString& channelId) {
  withControls(channelId, [](StripControls& to, AudioChannel& channel) { to.toggleSustainControlsRotor(channel); });
}

void StripCommands::simulateCrash(const QString& channelId) {
  withChannel(channelId, [](ContentView& content, const std::shared_ptr<AudioChannel>& channel) {
    content.instrumentReload().simulateCrash(*channel);
  });
}

void StripCommands::revive(const QString& channelId) {
  withChannel(channelId, [](ContentView& content, const std::shared_ptr<AudioChannel>& channel) {
    if (InstrumentReload::canRevive(*channel)) {
      content.instrumentReload().reload(channel);
    }
  });
}

}  // namespace vrel::window
