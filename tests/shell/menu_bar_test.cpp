// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "shell/menu_builder.h"
#include "shell/menu_commands.h"
#include "shell/shell_stage.h"
#include "text/text.h"

namespace vrel {
namespace {

using Indices = std::vector<std::size_t>;

std::string keysOf(const MenuItem& item) {
  std::string keys;
  for (const auto& [flag, word] : {std::pair(ModifierFlags::control, "Control+"),
                                   {ModifierFlags::option, "Option+"},
                                   {ModifierFlags::shift, "Shift+"},
                                   {ModifierFlags::command, "Command+"}}) {
    if (contains(item.modifiers, flag)) {
      keys += word;
    }
  }
  return keys + item.key;
}

/// One line an item, those of a menu further in: title, action, object, keys and marks.
void describe(const std::vector<MenuItem>& items, const std::string& indent, Lines& lines) {
  for (const auto& item : items) {
    if (item.isSeparator) {
      lines.push_back(indent + "---");
      continue;
    }
    std::string line = indent + item.title;
    for (const auto& word : {item.action, item.representedObject, keysOf(item)}) {
      line += word.empty() ? "" : " | " + word;
    }
    line += item.isChecked ? " (on)" : "";
    line += item.isEnabled ? "" : " (off)";
    lines.push_back(line);
    describe(item.children, indent + "  ", lines);
  }
}

Lines described(const std::vector<MenuItem>& items) {
  Lines lines;
  describe(items, "", lines);
  return lines;
}

const MenuItem& itemAt(const MenuBar& bar, const Indices& place) {
  const MenuItem* item = &bar.at(place.front());
  std::for_each(place.begin() + 1, place.end(), [&](std::size_t index) { item = &item->children.at(index); });
  return *item;
}

void collect(const std::vector<MenuItem>& items, bool isEnabled, std::set<std::string>& actions) {
  for (const auto& item : items) {
    if (item.isEnabled == isEnabled && !item.action.empty()) {
      actions.insert(item.action);
    }
    collect(item.children, isEnabled, actions);
  }
}

class MenuBarTest : public ShellStage {
 protected:
  MenuBarTest() { raiseMenus(); }

  const MenuBar& rebuilt() {
    menus.rebuildMenus(state, engine);
    return menus.mainMenu();
  }

  void setLanguage(Language language) {
    state.language.set(language);
    rebuilt();
  }

  /// With something in it for each item that may be left out.
  void fillTheBar() {
    state.recentFiles.set({"/home/me/gig.vrel"});
    state.visualBackgroundVideoPath.set("/home/me/sea.mp4");
  }

  static constexpr std::size_t application = 0;
  static constexpr std::size_t file = 1;
  static constexpr std::size_t edit = 2;
  static constexpr std::size_t mode = 3;
  static constexpr std::size_t visual = 4;
  static constexpr std::size_t settings = 5;
  static constexpr std::size_t help = 6;
};

TEST_F(MenuBarTest, HoldsEveryCommandWithItsKeysObjectsAndMarks) {
  state.recentFiles.set({"/home/me/gig.vrel", "/home/me/old/rehearsal.vrel"});
  state.visualBackgroundVideoPath.set("/home/me/sea.mp4");
  EXPECT_EQ(described(rebuilt()), (Lines{
                                      "VREL",
                                      "  Quit VREL | terminate: | Command+q",
                                      "File",
                                      "  New Setlist | newSetlist | Command+n",
                                      "  Open Setlist... | openSetlist | Command+o",
                                      "  Open Recent",
                                      "    gig.vrel | openRecentSetlist: | /home/me/gig.vrel",
                                      "    rehearsal.vrel | openRecentSetlist: | /home/me/old/rehearsal.vrel",
                                      "    Clear Recent Files | clearRecentSetlists",
                                      "  Save | saveSetlist | Command+s",
                                      "  Save As... | saveSetlistAs | Shift+Command+S",
                                      "  Check Setlist | checkSetlist",
                                      "  Kept Versions | showKeptCopies",
                                      "  Collect... | collectSetlist",
                                      "Edit",
                                      "  Copy Channel | copyChannel | Command+c",
                                      "  Cut Channel | cutChannel | Command+x",
                                      "  Paste Channel | pasteChannel | Command+v",
                                      "  Duplicate Channel | duplicateChannel | Command+d",
                                      "  Undo | undo | Command+z (off)",
                                      "  Redo | redo | Shift+Command+Z (off)",
                                      "Mode",
                                      "  Edit Mode | modeEdit | Shift+Command+E (on)",
                                      "  Live Mode | modeLive | Shift+Command+L",
                                      "  Learn | toggleLearn | Shift+Command+M",
                                      "  Clear All MIDI Learn | clearMidiLearn (off)",
                                      "  Learned Controls | showLearnedControls",
                                      "  Songs by MIDI | showSongControl",
                                      "  Large Notes | toggleLargeNotes | Shift+Command+N",
                                      "Visual",
                                      "  Open on",
                                      "    Display 1 | openVisualProjection: | 0",
                                      "    Display 2 | openVisualProjection: | 1",
                                      "  Blend Mode",
                                      "    Multiply | selectVisualBlendMode: | multiply",
                                      "    Screen | selectVisualBlendMode: | screen",
                                      "    Add | selectVisualBlendMode: | plusLighter (on)",
                                      "    Normal | selectVisualBlendMode: | normal",
                                      "  Background Video",
                                      "    Choose Background Video... | chooseVisualBackgroundVideo",
                                      "    sea.mp4 | noop (off)",
                                      "    ---",
                                      "    Clear Background Video | clearVisualBackgroundVideo",
                                      "  ---",
                                      "  Toggle Full Screen | toggleVisualProjectionFullscreen | Option+Command+f",
                                      "  Close Projection | closeVisualProjection | Option+Command+w",
                                      "  ---",
                                      "  Blackout | toggleProjectionBlackout | Option+Command+b",
                                      "  Test Picture | toggleProjectionTestPicture",
                                      "Settings",
                                      "  I/O Buffer Size",
                                      "    32 samples | selectAudioBufferSize: | 32",
                                      "    64 samples | selectAudioBufferSize: | 64",
                                      "    128 samples | selectAudioBufferSize: | 128 (on)",
                                      "    256 samples | selectAudioBufferSize: | 256",
                                      "    512 samples | selectAudioBufferSize: | 512",
                                      "    1024 samples | selectAudioBufferSize: | 1024",
                                      "  Audio Output",
                                      "    System Default | selectSystemAudioOutput (on)",
                                      "    Alpha | selectAudioOutput: | uid-a",
                                      "    Beta | selectAudioOutput: | uid-b",
                                      "Help",
                                      "  VREL Help | showHelp | Command+/",
                                      "  Keys of Live Mode | showLiveKeys",
                                      "  Folder of Logs and Copies | openStateFolder",
                                  }));
}

TEST_F(MenuBarTest, TheTitlesOfTheBarAreInFiveLanguages) {
  const std::vector<std::pair<Indices, std::array<std::string, 5>>> table{
      {{file}, {"File", "Archivo", "Fichier", "File", "Datei"}},
      {{edit}, {"Edit", "Edición", "Edition", "Modifica", "Bearbeiten"}},
      {{mode}, {"Mode", "Modo", "Mode", "Modo", "Modus"}},
      {{visual}, {"Visual", "Visual", "Visuel", "Visual", "Visual"}},
      {{settings}, {"Settings", "Configuración", "Configuration", "Impostazioni", "Einstellungen"}},
      {{help}, {"Help", "Ayuda", "Aide", "Aiuto", "Hilfe"}},
      {{file, 0}, {"New Setlist", "Nuevo Setlist", "Nouveau Setlist", "Nuova Scaletta", "Neue Setliste"}},
      {{file, 1},
       {"Open Setlist...", "Abrir Setlist...", "Ouvrir Setlist...", "Apri Scaletta...", "Setliste öffnen..."}},
      {{file, 2, 1},
       {"Clear Recent Files", "Borrar Recientes", "Effacer l'historique", "Cancella Recenti", "Verlauf löschen"}},
      {{file, 4}, {"Save As...", "Guardar como...", "Enregistrer sous...", "Salva con nome...", "Speichern unter..."}},
      {{mode, 3},
       {"Clear All MIDI Learn", "Borrar todos los Learn MIDI", "Effacer tous les Learn MIDI",
        "Cancella tutti i Learn MIDI", "Alle MIDI Learn loeschen"}},
      {{visual, 2, 0},
       {"Choose Background Video...", "Elegir video de fondo...", "Choisir video de fond...",
        "Scegli video di sfondo...", "Hintergrundvideo waehlen..."}},
      {{visual, 2, 3},
       {"Clear Background Video", "Quitar video de fondo", "Supprimer video de fond", "Rimuovi video di sfondo",
        "Hintergrundvideo entfernen"}},
      {{visual, 5},
       {"Close Projection", "Cerrar proyeccion", "Fermer la projection", "Chiudi proiezione", "Projektion schliessen"}},
  };
  fillTheBar();
  for (const Language language : allLanguages) {
    setLanguage(language);
    for (const auto& [place, titles] : table) {
      EXPECT_EQ(itemAt(menus.mainMenu(), place).title, titles.at(static_cast<std::size_t>(language)));
    }
  }
}

TEST_F(MenuBarTest, TheEntriesThatSayThatThereIsNothingAreInFiveLanguages) {
  const std::array<std::string, 5> noRecent{"No recent files", "No hay archivos recientes", "Aucun fichier recent",
                                            "Nessun file recente", "Keine letzten Dateien"};
  const std::array<std::string, 5> noDisplays{"No external displays", "No hay pantallas externas",
                                              "Aucun ecran externe", "Nessuno schermo esterno",
                                              "Keine externen Bildschirme"};
  desktop.screenList.clear();
  for (const Language language : allLanguages) {
    setLanguage(language);
    const auto index = static_cast<std::size_t>(language);
    EXPECT_EQ(described(menu(file).children[2].children), Lines{noRecent.at(index) + " (off)"});
    EXPECT_EQ(described(menu(visual).children[0].children), Lines{noDisplays.at(index) + " (off)"});
  }
}

TEST_F(MenuBarTest, AllOtherWordsAreThoseOfTheConsole) {
  const std::vector<std::pair<Indices, TextKey>> table{
      {{application}, TextKey::appTitle},
      {{application, 0}, TextKey::quitApp},
      {{file, 2}, TextKey::openRecent},
      {{file, 3}, TextKey::saveSetlist},
      {{edit, 0}, TextKey::copyChannel},
      {{edit, 1}, TextKey::cutChannel},
      {{edit, 2}, TextKey::pasteChannel},
      {{edit, 3}, TextKey::duplicateChannel},
      {{mode, 0}, TextKey::modeEdit},
      {{mode, 1}, TextKey::modeLive},
      {{mode, 2}, TextKey::midiLearn},
      {{visual, 0}, TextKey::visualOpenProjection},
      {{visual, 1}, TextKey::visualBlendMode},
      {{visual, 2}, TextKey::visualBackgroundVideo},
      {{visual, 4}, TextKey::visualToggleFullscreen},
      {{visual, 7}, TextKey::projectionBlackout},
      {{visual, 8}, TextKey::projectionTestPicture},
      {{settings, 0}, TextKey::audioBufferSize},
      {{settings, 1}, TextKey::audioOutput},
      {{settings, 1, 0}, TextKey::audioSystemDefault},
      {{help, 0}, TextKey::helpCommand},
      {{help, 1}, TextKey::liveKeys},
      {{help, 2}, TextKey::stateFolder},
  };
  for (const Language language : allLanguages) {
    setLanguage(language);
    for (const auto& [place, key] : table) {
      EXPECT_EQ(itemAt(menus.mainMenu(), place).title, text(key, language));
    }
    EXPECT_EQ(itemAt(menus.mainMenu(), {settings, 0, 2}).title,
              "128 " + std::string(text(TextKey::audioSamples, language)));
  }
}

TEST_F(MenuBarTest, ALanguageChangeRetitlesEveryTopLevelMenu) {
  setLanguage(Language::german);
  Lines titles;
  for (const auto& menu : menus.mainMenu()) {
    titles.push_back(menu.title);
  }
  EXPECT_EQ(titles, (Lines{"VREL", "Datei", "Bearbeiten", "Modus", "Visual", "Einstellungen", "Hilfe"}));
}

TEST_F(MenuBarTest, InLiveModeSaveStaysEnabledAndSaveAsDoesNot) {
  state.isLiveModeEnabled.set(true);
  rebuilt();
  EXPECT_TRUE(itemFor(MenuAction::saveSetlist).isEnabled);
  EXPECT_FALSE(itemFor(MenuAction::saveSetlistAs).isEnabled);
}

TEST_F(MenuBarTest, InLiveModeAllThatArrangesTheSetlistOrLeavesTheConsoleIsDisabledAndNothingElse) {
  fillTheBar();
  state.globalMidiControlAssignments.set({{{MidiControlKind::panic, std::nullopt}, {0xB0, 0, 1}}});
  std::set<std::string> disabled;
  collect(rebuilt(), false, disabled);
  EXPECT_EQ(disabled, (std::set<std::string>{"noop", "undo", "redo"})) << "there is nothing to take back yet";
  state.isLiveModeEnabled.set(true);
  disabled.clear();
  collect(rebuilt(), false, disabled);
  EXPECT_EQ(disabled, (std::set<std::string>{"noop", "newSetlist", "openSetlist", "openRecentSetlist:",
                                             "clearRecentSetlists", "saveSetlistAs", "copyChannel", "cutChannel",
                                             "pasteChannel", "duplicateChannel", "undo", "redo", "clearMidiLearn",
                                             "openStateFolder", "checkSetlist", "showKeptCopies", "collectSetlist"}));
}

void collectHints(const std::vector<MenuItem>& items, bool isEnabled, std::set<std::string>& hints) {
  for (const auto& item : items) {
    if (!item.action.empty() && item.action != "noop" && item.isEnabled == isEnabled) {
      hints.insert(item.hint);
    }
    collectHints(item.children, isEnabled, hints);
  }
}

TEST_F(MenuBarTest, EachCommandSaysWhatItDoesInEachLanguage) {
  fillTheBar();
  state.globalMidiControlAssignments.set({{{MidiControlKind::panic, std::nullopt}, {0xB0, 0, 1}}});
  state.undoTitle.set("Undo: MUTE");
  state.redoTitle.set("Redo: MUTE");
  std::set<std::string> all;
  for (const Language language : allLanguages) {
    setLanguage(language);
    std::set<std::string> hints;
    collectHints(menus.mainMenu(), true, hints);
    EXPECT_FALSE(hints.contains("")) << code(language);
    EXPECT_GE(hints.size(), 20U);
    all.merge(hints);
    EXPECT_TRUE(hints.empty()) << *hints.begin() << " is said in two languages";
  }
}

TEST_F(MenuBarTest, ACommandThatDoesNothingNowSaysWhy) {
  fillTheBar();
  std::set<std::string> reasons;
  collectHints(rebuilt(), false, reasons);
  EXPECT_EQ(reasons, (std::set<std::string>{"Nothing has been edited", "Nothing has been taken back",
                                            "No control is tied to the hardware"}));
  state.isLiveModeEnabled.set(true);
  reasons.clear();
  collectHints(rebuilt(), false, reasons);
  EXPECT_EQ(reasons, std::set<std::string>{"Not in Live mode"});
}

TEST_F(MenuBarTest, TheMarksOfTheModesFollowTheMode) {
  state.isLiveModeEnabled.set(true);
  state.isMidiLearnMode.set(true);
  rebuilt();
  EXPECT_FALSE(itemFor(MenuAction::modeEdit).isChecked);
  EXPECT_TRUE(itemFor(MenuAction::modeLive).isChecked);
  EXPECT_TRUE(itemFor(MenuAction::toggleLearn).isChecked);
}

TEST_F(MenuBarTest, WithAnEmptyRecentListTheSubmenuHoldsOneDisabledEntry) {
  EXPECT_EQ(described(menu(file).children[2].children), Lines{"No recent files (off)"});
}

TEST_F(MenuBarTest, LearnedControlsOfTheSetlistOrOfAnySongCanBeCleared) {
  EXPECT_FALSE(itemFor(MenuAction::clearMidiLearn).isEnabled);
  const std::vector<MidiControlAssignment> learned{{{MidiControlKind::panic, std::nullopt}, {0xB0, 0, 1}}};
  setSongs({SongConfig{}, SongConfig{.midiControlAssignments = learned}});
  rebuilt();
  EXPECT_TRUE(itemFor(MenuAction::clearMidiLearn).isEnabled);
  setSongs({});
  rebuilt();
  EXPECT_FALSE(itemFor(MenuAction::clearMidiLearn).isEnabled);
  state.globalMidiControlAssignments.set(learned);
  rebuilt();
  EXPECT_TRUE(itemFor(MenuAction::clearMidiLearn).isEnabled);
}

TEST_F(MenuBarTest, WithoutABackgroundVideoNoRowNamesOne) {
  const Lines none{"Choose Background Video... | chooseVisualBackgroundVideo", "---",
                   "Clear Background Video | clearVisualBackgroundVideo"};
  EXPECT_EQ(described(menu(visual).children[2].children), none);
  state.visualBackgroundVideoPath.set("");
  EXPECT_EQ(described(rebuilt().at(visual).children[2].children), none);
}

TEST_F(MenuBarTest, WithASingleDisplayItCanBeChosenAndIsSaidToBeTheOnlyOne) {
  desktop.screenList.pop_back();
  EXPECT_EQ(described(rebuilt().at(visual).children[0].children),
            (Lines{"Display 1 | openVisualProjection: | 0", "No external displays (off)"}));
}

TEST_F(MenuBarTest, WithNoOutputDeviceAtAllTheSubmenuSaysSoBelowTheSystems) {
  const std::array<std::string, 5> none{"No audio outputs found", "No se han encontrado salidas de audio",
                                        "Aucune sortie audio trouvee", "Nessuna uscita audio trovata",
                                        "Keine Audioausgaenge gefunden"};
  hardware.list.clear();
  for (const Language language : allLanguages) {
    setLanguage(language);
    const auto& outputs = menu(settings).children[1].children;
    ASSERT_EQ(outputs.size(), 2U);
    EXPECT_EQ(outputs[0].action, menuCommand(MenuAction::selectSystemAudioOutput).name);
    EXPECT_EQ(described({outputs[1]}), Lines{none.at(static_cast<std::size_t>(language)) + " (off)"});
  }
}

TEST_F(MenuBarTest, TheCurrentBlendModeSizeAndDeviceAreChecked) {
  state.visualBlendMode.set(VisualBlendMode::multiply);
  state.audioIOBufferFrameSize.set(1024);
  state.audioOutputDeviceUID.set("uid-b");
  rebuilt();
  const auto checkedIn = [](const MenuItem& menu) {
    Lines titles;
    for (const auto& item : menu.children) {
      if (item.isChecked) {
        titles.push_back(item.title);
      }
    }
    return titles;
  };
  EXPECT_EQ(checkedIn(menu(visual).children[1]), Lines{"Multiply"});
  EXPECT_EQ(checkedIn(menu(settings).children[0]), Lines{"1024 samples"});
  EXPECT_EQ(checkedIn(menu(settings).children[1]), Lines{"Beta"});
  state.audioOutputDeviceUID.set("");
  rebuilt();
  EXPECT_EQ(checkedIn(menu(settings).children[1]), Lines{"System Default"});
  state.audioOutputDeviceUID.set("uid-gone");
  rebuilt();
  EXPECT_EQ(checkedIn(menu(settings).children[1]), Lines{});
}

TEST_F(MenuBarTest, DevicesAndScreensThatComeAreThereAfterARebuild) {
  hardware.list.push_back({4, {2}, "uid-c", "Gamma"});
  desktop.screenList.push_back({"Wall", {}});
  menus.rebuildMenusSoon();
  mainQueue.runAll();
  EXPECT_EQ(menu(settings).children[1].children.back().representedObject, "uid-c");
  EXPECT_EQ(menu(visual).children[0].children.back().title, "Display 3");
}

TEST_F(MenuBarTest, InLiveModeTheMachineIsAskedForItsDevicesOnlyWhenOneIsChosen) {
  const auto lastDevice = [this] { return menu(settings).children[1].children.back().representedObject; };
  state.isLiveModeEnabled.set(true);
  hardware.list.push_back({4, {2}, "uid-c", "Gamma"});
  rebuilt();
  EXPECT_EQ(lastDevice(), "uid-b");
  menus.perform(MenuAction::selectAudioBufferSize, "256");
  mainQueue.runAll();
  EXPECT_EQ(lastDevice(), "uid-c");
  hardware.list.push_back({5, {2}, "uid-d", "Delta 2"});
  hardware.list.erase(hardware.list.begin());
  rebuilt();
  EXPECT_EQ(lastDevice(), "uid-c");
  state.isLiveModeEnabled.set(false);
  rebuilt();
  EXPECT_EQ(menu(settings).children[1].children.size(), 4U);
  EXPECT_EQ(menu(settings).children[1].children[2].representedObject, "uid-d");
}

MenuItem quit(const std::string& title) {
  MenuItem item;
  item.title = title;
  item.action = menuCommand(MenuAction::terminate).name;
  return item;
}

MenuItem menuOf(const std::string& title, std::vector<MenuItem> children) {
  MenuItem item;
  item.title = title;
  item.children = std::move(children);
  return item;
}

class ApplicationMenu : public MenuBarTest {
 protected:
  [[nodiscard]] MenuBar builtFrom(const MenuBar& former) { return buildMenuBar({state, 0, {}}, former); }

  MenuItem about = menuOf("About", {});
};

TEST_F(ApplicationMenu, OfTheSystemIsKeptUnchangedAndComesFirst) {
  const MenuItem given = menuOf("Host", {about, quit("Leave")});
  const MenuBar bar = builtFrom({menuOf("Other", {about}), given, menuOf("Second", {quit("Quit")})});
  EXPECT_EQ(bar.front(), given);
  ASSERT_EQ(bar.size(), 7U);
  EXPECT_EQ(bar[1].title, "File");
}

TEST_F(ApplicationMenu, IsNoneOfTheBarsOwnMenusInAnyLanguage) {
  for (const char* const own : {"File", "Bearbeiten", "Modo", "Visuel", "Impostazioni", "Ayuda"}) {
    const MenuBar bar = builtFrom({menuOf(own, {quit("Leave")})});
    EXPECT_EQ(described({bar.front()}), (Lines{"VREL", "  Quit VREL | terminate: | Command+q"}));
  }
}

TEST_F(ApplicationMenu, IsMadeWithQuitAloneWhereNoneCanQuit) {
  const MenuBar bar = builtFrom({menuOf("Host", {about})});
  EXPECT_EQ(described({bar.front()}), (Lines{"VREL", "  Quit VREL | terminate: | Command+q"}));
}

TEST_F(ApplicationMenu, OfOurOwnSaysQuitInTheLanguageOfTheSession) {
  setLanguage(Language::french);
  setLanguage(Language::german);
  EXPECT_EQ(described({menu(application)}), (Lines{"VREL", "  VREL beenden | terminate: | Command+q"}));
}

}  // namespace
}  // namespace vrel
