// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/menu_builder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

#include "document/app_state.h"
#include "document/setlist.h"
#include "shell/menu_actions.h"
#include "text/text.h"

namespace vrel {
namespace {

using Items = std::vector<MenuItem>;

/// In the order of Language.
using Title = std::array<const char*, allLanguages.size()>;

// The titles of the bar stand here together, so that who changes one sees its neighbours; all other words of the menus
// are those of the console.
namespace titles {
constexpr Title file{"File", "Archivo", "Fichier", "File", "Datei"};
constexpr Title edit{"Edit", "Edición", "Edition", "Modifica", "Bearbeiten"};
constexpr Title mode{"Mode", "Modo", "Mode", "Modo", "Modus"};
constexpr Title visual{"Visual", "Visual", "Visuel", "Visual", "Visual"};
constexpr Title settings{"Settings", "Configuración", "Configuration", "Impostazioni", "Einstellungen"};
constexpr Title help{"Help", "Ayuda", "Aide", "Aiuto", "Hilfe"};
constexpr Title newSetlist{"New Setlist", "Nuevo Setlist", "Nouveau Setlist", "Nuova Scaletta", "Neue Setliste"};
constexpr Title openSetlist{"Open Setlist...", "Abrir Setlist...", "Ouvrir Setlist...", "Apri Scaletta...",
                            "Setliste öffnen..."};
constexpr Title clearRecent{"Clear Recent Files", "Borrar Recientes", "Effacer l'historique", "Cancella Recenti",
                            "Verlauf löschen"};
constexpr Title noRecent{"No recent files", "No hay archivos recientes", "Aucun fichier recent", "Nessun file recente",
                         "Keine letzten Dateien"};
constexpr Title saveAs{"Save As...", "Guardar como...", "Enregistrer sous...", "Salva con nome...",
                       "Speichern unter..."};
constexpr Title clearLearn{"Clear All MIDI Learn", "Borrar todos los Learn MIDI", "Effacer tous les Learn MIDI",
                           "Cancella tutti i Learn MIDI", "Alle MIDI Learn loeschen"};
constexpr Title noDisplays{"No external displays", "No hay pantallas externas", "Aucun ecran externe",
                           "Nessuno schermo esterno", "Keine externen Bildschirme"};
constexpr Title chooseVideo{"Choose Background Video...", "Elegir video de fondo...", "Choisir video de fond...",
                            "Scegli video di sfondo...", "Hintergrundvideo waehlen..."};
constexpr Title clearVideo{"Clear Background Video", "Quitar video de fondo", "Supprimer video de fond",
                           "Rimuovi video di sfondo", "Hintergrundvideo entfernen"};
constexpr Title closeProjection{"Close Projection", "Cerrar proyeccion", "Fermer la projection", "Chiudi proiezione",
                                "Projektion schliessen"};
}  // namespace titles

constexpr std::array<std::pair<VisualBlendMode, const char*>, 4> blendModeTitles{
    {{VisualBlendMode::multiply, "Multiply"},
     {VisualBlendMode::screen, "Screen"},
     {VisualBlendMode::plusLighter, "Add"},
     {VisualBlendMode::normal, "Normal"}}};

constexpr std::array blockedInLiveMode{menu_actions::newSetlist,        menu_actions::openSetlist,
                                       menu_actions::openRecentSetlist, menu_actions::clearRecentSetlists,
                                       menu_actions::saveSetlistAs,     menu_actions::copyChannel,
                                       menu_actions::cutChannel,        menu_actions::pasteChannel,
                                       menu_actions::duplicateChannel,  menu_actions::clearMidiLearn};

/// Makes items in the language of the session, enabled as it wants.
class Builder {
 public:
  explicit Builder(const MenuContents& contents)
      : contents_(contents), state_(contents.state), language_(state_.language.get()) {}

  [[nodiscard]] MenuItem application(const MenuBar& former) const;
  [[nodiscard]] MenuItem file() const;
  [[nodiscard]] MenuItem edit() const;
  [[nodiscard]] MenuItem mode() const;
  [[nodiscard]] MenuItem visual() const;
  [[nodiscard]] MenuItem settings() const;
  [[nodiscard]] MenuItem help() const;

 private:
  [[nodiscard]] std::string words(const Title& title) const { return title.at(static_cast<std::size_t>(language_)); }
  [[nodiscard]] std::string words(TextKey key) const { return std::string(text(key, language_)); }

  [[nodiscard]] MenuItem command(std::string title, const char* action, std::string object = {}) const;
  [[nodiscard]] MenuItem withKey(MenuItem item, const char* key, ModifierFlags further = ModifierFlags::none) const;
  [[nodiscard]] MenuItem checked(MenuItem item, bool isChecked) const;
  [[nodiscard]] static MenuItem menu(std::string title, Items children);
  [[nodiscard]] static MenuItem unavailable(std::string title);

  [[nodiscard]] MenuItem recentFiles() const;
  [[nodiscard]] MenuItem screens() const;
  [[nodiscard]] MenuItem blendModes() const;
  [[nodiscard]] MenuItem backgroundVideo() const;
  [[nodiscard]] MenuItem bufferSizes() const;
  [[nodiscard]] MenuItem outputs() const;

  const MenuContents& contents_;
  const AppState& state_;
  Language language_;
};

MenuItem Builder::command(std::string title, const char* action, std::string object) const {
  MenuItem item;
  item.title = std::move(title);
  item.action = action;
  item.representedObject = std::move(object);
  item.isEnabled = isMenuActionEnabled(item.action, state_);
  return item;
}

MenuItem Builder::withKey(MenuItem item, const char* key, ModifierFlags further) const {
  item.key = key;
  item.modifiers = ModifierFlags::command | further;
  return item;
}

MenuItem Builder::checked(MenuItem item, bool isChecked) const {
  item.isChecked = isChecked;
  return item;
}

MenuItem Builder::menu(std::string title, Items children) {
  MenuItem item;
  item.title = std::move(title);
  item.children = std::move(children);
  return item;
}

MenuItem Builder::unavailable(std::string title) {
  MenuItem item;
  item.title = std::move(title);
  item.isEnabled = false;
  return item;
}

MenuItem separator() {
  MenuItem item;
  item.isSeparator = true;
  item.isEnabled = false;
  return item;
}

bool isTitleOfTheBar(const std::string& title) {
  constexpr std::array own{titles::file, titles::edit, titles::mode, titles::visual, titles::settings, titles::help};
  return std::any_of(own.begin(), own.end(),
                     [&](const Title& forms) { return std::find(forms.begin(), forms.end(), title) != forms.end(); });
}

bool isApplicationMenu(const MenuItem& menu) {
  const bool canQuit = std::any_of(menu.children.begin(), menu.children.end(),
                                   [](const MenuItem& item) { return item.action == menu_actions::terminate; });
  return canQuit && !isTitleOfTheBar(menu.title);
}

bool isOurQuit(const MenuItem& item) {
  return item.action == menu_actions::terminate &&
         std::any_of(allLanguages.begin(), allLanguages.end(),
                     [&](Language language) { return item.title == text(TextKey::quitApp, language); });
}

MenuItem Builder::application(const MenuBar& former) const {
  const auto found = std::find_if(former.begin(), former.end(), isApplicationMenu);
  if (found == former.end()) {
    return menu(words(TextKey::appTitle), {withKey(command(words(TextKey::quitApp), menu_actions::terminate), "q")});
  }
  MenuItem kept = *found;
  for (MenuItem& item : kept.children) {
    if (isOurQuit(item)) {
      item.title = words(TextKey::quitApp);
    }
  }
  return kept;
}

MenuItem Builder::recentFiles() const {
  Items items;
  for (const auto& path : state_.recentFiles.get()) {
    items.push_back(command(path.filename().string(), menu_actions::openRecentSetlist, path.string()));
  }
  if (items.empty()) {
    items.push_back(unavailable(words(titles::noRecent)));
  } else {
    items.push_back(command(words(titles::clearRecent), menu_actions::clearRecentSetlists));
  }
  return menu(words(TextKey::openRecent), std::move(items));
}

MenuItem Builder::file() const {
  return menu(words(titles::file),
              {withKey(command(words(titles::newSetlist), menu_actions::newSetlist), "n"),
               withKey(command(words(titles::openSetlist), menu_actions::openSetlist), "o"), recentFiles(),
               withKey(command(words(TextKey::saveSetlist), menu_actions::saveSetlist), "s"),
               withKey(command(words(titles::saveAs), menu_actions::saveSetlistAs), "S", ModifierFlags::shift)});
}

MenuItem Builder::edit() const {
  return menu(words(titles::edit),
              {withKey(command(words(TextKey::copyChannel), menu_actions::copyChannel), "c"),
               withKey(command(words(TextKey::cutChannel), menu_actions::cutChannel), "x"),
               withKey(command(words(TextKey::pasteChannel), menu_actions::pasteChannel), "v"),
               withKey(command(words(TextKey::duplicateChannel), menu_actions::duplicateChannel), "d")});
}

MenuItem Builder::mode() const {
  const bool isLive = state_.isLiveModeEnabled.get();
  const auto shifted = [this](TextKey key, const char* action, const char* letter, bool isChecked) {
    return checked(withKey(command(words(key), action), letter, ModifierFlags::shift), isChecked);
  };
  return menu(words(titles::mode),
              {shifted(TextKey::modeEdit, menu_actions::modeEdit, "E", !isLive),
               shifted(TextKey::modeLive, menu_actions::modeLive, "L", isLive),
               shifted(TextKey::midiLearn, menu_actions::toggleLearn, "M", state_.isMidiLearnMode.get()),
               command(words(titles::clearLearn), menu_actions::clearMidiLearn)});
}

MenuItem Builder::screens() const {
  Items items;
  for (std::size_t index = 0; index < contents_.screenCount; ++index) {
    items.push_back(
        command("Display " + std::to_string(index + 1), menu_actions::openVisualProjection, std::to_string(index)));
  }
  if (items.empty()) {
    items.push_back(unavailable(words(titles::noDisplays)));
  }
  return menu(words(TextKey::visualOpenProjection), std::move(items));
}

MenuItem Builder::blendModes() const {
  Items items;
  for (const auto& [blendMode, title] : blendModeTitles) {
    items.push_back(checked(command(title, menu_actions::selectVisualBlendMode, storedText(blendMode)),
                            blendMode == state_.visualBlendMode.get()));
  }
  return menu(words(TextKey::visualBlendMode), std::move(items));
}

MenuItem Builder::backgroundVideo() const {
  Items items{command(words(titles::chooseVideo), menu_actions::chooseVisualBackgroundVideo)};
  if (const auto& path = state_.visualBackgroundVideoPath.get()) {
    items.push_back(command(std::filesystem::path(*path).filename().string(), menu_actions::noop));
    items.push_back(separator());
    items.push_back(command(words(titles::clearVideo), menu_actions::clearVisualBackgroundVideo));
  }
  return menu(words(TextKey::visualBackgroundVideo), std::move(items));
}

MenuItem Builder::visual() const {
  return menu(words(titles::visual),
              {screens(), blendModes(), backgroundVideo(), separator(),
               withKey(command(words(TextKey::visualToggleFullscreen), menu_actions::toggleVisualProjectionFullscreen),
                       "f", ModifierFlags::option),
               withKey(command(words(titles::closeProjection), menu_actions::closeVisualProjection), "w",
                       ModifierFlags::option)});
}

MenuItem Builder::bufferSizes() const {
  Items items;
  for (const std::uint32_t frames : AppState::allowedFrameSizes) {
    const std::string number = std::to_string(frames);
    items.push_back(
        checked(command(number + " " + words(TextKey::audioSamples), menu_actions::selectAudioBufferSize, number),
                frames == state_.audioIOBufferFrameSize.get()));
  }
  return menu(words(TextKey::audioBufferSize), std::move(items));
}

MenuItem Builder::outputs() const {
  const auto current = state_.audioOutputDeviceUID.get().value_or("");
  Items items{
      checked(command(words(TextKey::audioSystemDefault), menu_actions::selectSystemAudioOutput), current.empty())};
  for (const auto& device : contents_.outputDevices) {
    items.push_back(checked(command(device.name, menu_actions::selectAudioOutput, device.uid), device.uid == current));
  }
  if (contents_.outputDevices.empty()) {
    items.push_back(unavailable(words(TextKey::audioNoOutputs)));
  }
  return menu(words(TextKey::audioOutput), std::move(items));
}

MenuItem Builder::settings() const {
  return menu(words(titles::settings), {bufferSizes(), outputs()});
}

MenuItem Builder::help() const {
  return menu(words(titles::help), {withKey(command(words(TextKey::helpCommand), menu_actions::showHelp), "/")});
}

}  // namespace

MenuBar buildMenuBar(const MenuContents& contents, const MenuBar& former) {
  const Builder builder(contents);
  return {builder.application(former), builder.file(), builder.edit(), builder.mode(), builder.visual(),
          builder.settings(),          builder.help()};
}

bool isMenuActionEnabled(const std::string& action, const AppState& state) {
  if (action == menu_actions::noop) {
    return false;
  }
  const bool isBlocked = state.isLiveModeEnabled.get() && std::find(blockedInLiveMode.begin(), blockedInLiveMode.end(),
                                                                    action) != blockedInLiveMode.end();
  return !isBlocked && (action != menu_actions::clearMidiLearn || hasMidiAssignments(state));
}

bool hasMidiAssignments(const AppState& state) {
  const auto& songs = state.songs.get();
  return !state.globalMidiControlAssignments.get().empty() ||
         std::any_of(songs.begin(), songs.end(),
                     [](const SongConfig& song) { return !song.midiControlAssignments.empty(); });
}

}  // namespace vrel
