// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/editor_commands.h"

#include <cstddef>
#include <string>
#include <utility>

#include "console/content_view.h"
#include "console/editor_panels.h"
#include "console/window/console_commands.h"
#include "engine/audio_engine.h"
#include "engine/plugin_editors.h"

namespace vrel::window {

void EditorCommands::toggleInstrument(const QString& channelId) {
  openInstrument(channelId, PluginView::best);
}

void EditorCommands::toggleInstrumentControls(const QString& channelId) {
  openInstrument(channelId, PluginView::generic);
}

void EditorCommands::openInstrument(const QString& channelId, PluginView view) const {
  commands_.post([id = channelId.toStdString(), view](ConsoleActions& actions) {
    if (const auto channel = actions.strip(id)) {
      actions.content.pluginEditors().openInstrumentEditor(channel, view);
    }
  });
}

void EditorCommands::toggleEffect(const QString& slotId) {
  openEffect(slotId, PluginView::best);
}

void EditorCommands::toggleEffectControls(const QString& slotId) {
  openEffect(slotId, PluginView::generic);
}

void EditorCommands::openEffect(const QString& slotId, PluginView view) const {
  commands_.post([id = slotId.toStdString(), view](ConsoleActions& actions) {
    const auto channel = actions.content.effectRack().channel();
    if (channel == nullptr) {
      return;
    }
    for (const auto& slot : EffectRack::occupiedSlots(*channel)) {
      if (slot.id.text() == id) {
        actions.content.pluginEditors().openEffectEditor(channel, slot.id, view);
      }
    }
  });
}

void EditorCommands::close(const QString& editorId) {
  commands_.post([id = editorId.toStdString()](ConsoleActions& actions) {
    if (const auto panel = actions.content.editorPanels().find(id)) {
      panel->close();
    }
  });
}

void EditorCommands::withEditor(const QString& editorId, std::function<void(ControlsEditor&)> action) const {
  commands_.post([id = editorId.toStdString(), action = std::move(action)](ConsoleActions& actions) {
    if (const auto panel = actions.content.editorPanels().find(id)) {
      action(*panel->controls);
    }
  });
}

void EditorCommands::setSearch(const QString& editorId, const QString& text) {
  withEditor(editorId, [text = text.toStdString()](ControlsEditor& editor) { editor.searchText.set(text); });
}

void EditorCommands::set(const QString& editorId, int control, double value) {
  withEditor(editorId, [control, value](ControlsEditor& editor) {
    editor.set(static_cast<std::size_t>(control), static_cast<float>(value));
  });
}

void EditorCommands::reset(const QString& editorId, int control) {
  withEditor(editorId, [control](ControlsEditor& editor) { editor.reset(static_cast<std::size_t>(control)); });
}

void EditorCommands::enter(const QString& editorId, int control, const QString& text) {
  withEditor(editorId, [control, text = text.toStdString()](ControlsEditor& editor) {
    editor.enter(static_cast<std::size_t>(control), text);
  });
}

void EditorCommands::trigger(const QString& editorId, int control) {
  withEditor(editorId, [control](ControlsEditor& editor) { editor.trigger(static_cast<std::size_t>(control)); });
}

void EditorCommands::chooseFile(const QString& editorId, int control) {
  withEditor(editorId, [control](ControlsEditor& editor) { editor.chooseFile(static_cast<std::size_t>(control)); });
}

void EditorCommands::learn(const QString& editorId, int control) {
  commands_.post([id = editorId.toStdString(), index = static_cast<std::size_t>(control)](ConsoleActions& actions) {
    const auto panel = actions.content.editorPanels().find(id);
    const auto unit = panel != nullptr ? panel->controls->unit() : nullptr;
    const auto tree = panel != nullptr ? panel->controls->tree.get() : nullptr;
    if (unit != nullptr && tree != nullptr && index < tree->allParameters.size()) {
      actions.content.learnedPluginControls().select(unit, tree->allParameters[index]);
    }
  });
}

void EditorCommands::setPresetSearch(const QString& editorId, const QString& text) {
  withEditor(editorId, [text = text.toStdString()](ControlsEditor& editor) { editor.presets->searchText.set(text); });
}

void EditorCommands::choosePreset(const QString& editorId, const QString& key) {
  withEditor(editorId, [key = key.toStdString()](ControlsEditor& editor) { editor.presets->choose(key); });
}

void EditorCommands::stepPreset(const QString& editorId, int rowCount) {
  withEditor(editorId, [rowCount](ControlsEditor& editor) { editor.presets->step(rowCount); });
}

void EditorCommands::savePreset(const QString& editorId, const QString& name, bool mayReplace) {
  withEditor(editorId, [name = name.toStdString(), mayReplace](ControlsEditor& editor) {
    editor.presets->save(name, mayReplace);
  });
}

void EditorCommands::deletePreset(const QString& editorId) {
  withEditor(editorId, [](ControlsEditor& editor) { editor.presets->removeLoaded(); });
}

}  // namespace vrel::window
