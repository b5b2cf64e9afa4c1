// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace vrel {
namespace {

std::vector<TextKey> allKeys() {
  std::vector<TextKey> keys;
  for (std::size_t index = 0; index < textKeyCount; ++index) {
    keys.push_back(static_cast<TextKey>(index));
  }
  return keys;
}

TEST(Text, EveryKeyGivesANonEmptyTextInEveryLanguage) {
  for (const TextKey key : allKeys()) {
    for (const Language language : allLanguages) {
      EXPECT_FALSE(text(key, language).empty()) << name(key) << " in " << code(language);
    }
  }
}

TEST(Text, EachKeyHasANameOfItsOwnAndTheFirst115AreInTheirOrder) {
  std::set<std::string_view> names;
  for (const TextKey key : allKeys()) {
    names.insert(name(key));
  }
  EXPECT_EQ(names.size(), textKeyCount);
  EXPECT_EQ(static_cast<std::size_t>(TextKey::quitApp), 114U);
  EXPECT_EQ(name(TextKey::appTitle), "appTitle");
  EXPECT_EQ(name(TextKey::midiLearnWaiting), "midiLearnWaiting");
  EXPECT_EQ(name(TextKey::quitApp), "quitApp");
}

TEST(Text, TheSetlistIsNoPlainTranslationInSpanish) {
  EXPECT_EQ(text(TextKey::setlist, Language::spanish), "SETLIST / CANCIONES");
}

TEST(Text, HoldModeSaysWhatItDoesInSpanishAndItalian) {
  EXPECT_EQ(text(TextKey::visualHoldMode, Language::spanish), "Mientras Note ON");
  EXPECT_EQ(text(TextKey::visualHoldMode, Language::italian), "Tenuto");
}

TEST(Text, MuteIsTranslatedInItalianOnly) {
  for (const Language language : allLanguages) {
    EXPECT_EQ(text(TextKey::mute, language), language == Language::italian ? "MUTO" : "MUTE");
  }
}

TEST(Text, TheTitleAndTheSloganAreTheSameInEveryLanguage) {
  for (const Language language : allLanguages) {
    EXPECT_EQ(text(TextKey::appTitle, language), "VREL");
    EXPECT_EQ(text(TextKey::slogan, language), text(TextKey::slogan, Language::english));
  }
  const auto slogan = text(TextKey::slogan, Language::english);
  EXPECT_TRUE(std::none_of(slogan.begin(), slogan.end(), [](char letter) { return letter >= 'a' && letter <= 'z'; }));
}

TEST(Text, ALanguageHasACodeOfTwoLetters) {
  const std::vector<std::string_view> expected{"EN", "ES", "FR", "IT", "DE"};
  std::vector<std::string_view> codes;
  for (const Language language : allLanguages) {
    codes.push_back(code(language));
  }
  EXPECT_EQ(codes, expected);
}

/// Rows whose texts differ from what a dictionary would give, accents and their absence included.
class SpecialRow : public testing::TestWithParam<std::tuple<TextKey, std::vector<std::string_view>>> {};

TEST_P(SpecialRow, IsExactInAllLanguages) {
  const auto& [key, expected] = GetParam();
  std::vector<std::string_view> texts;
  for (const Language language : allLanguages) {
    texts.push_back(text(key, language));
  }
  EXPECT_EQ(texts, expected);
}

using Forms = std::vector<std::string_view>;
INSTANTIATE_TEST_SUITE_P(
    Text, SpecialRow,
    testing::Values(
        std::tuple{TextKey::noPlugin,
                   Forms{"Empty Slot (Built-in Synth)", "Vacío (Sintetizador Interno)", "Slot Vide (Synthé Interne)",
                         "Slot Vuoto (Sintetizzatore Interno)", "Freier Slot (Interner Synth)"}},
        std::tuple{TextKey::builtInSynth,
                   Forms{"Polyphonic Synth (Internal)", "Sinte Polifónico (Interno)", "Synthé Polyphonique (Interne)",
                         "Sintetizzatore Interno", "Interner PolySynth"}},
        std::tuple{TextKey::crashed, Forms{"CRASHED", "CAÍDO", "PLANTÉ", "IN CRASH", "ABGESTÜRZT"}},
        std::tuple{TextKey::running, Forms{"RUNNING", "ACTIVO", "EN COURS", "ATTIVO", "AKTIV"}},
        std::tuple{TextKey::revive, Forms{"REVIVE", "REVIVIR", "RELANCER", "RIPRISTINA", "BELEBEN"}},
        std::tuple{TextKey::simulateCrash,
                   Forms{"CRASH PLUGIN", "ROMPER PLUGIN", "PLANTAGE PLUGIN", "SIMULA CRASH", "ABSTURZ SIMULIEREN"}},
        std::tuple{TextKey::panic, Forms{"PANIC", "PÁNICO", "PANIQUE", "PANICO", "PANIK"}},
        std::tuple{TextKey::liveModeTitle, Forms{"LIVE MODE", "MODO LIVE", "MODE LIVE", "MODO LIVE", "LIVE-MODUS"}},
        std::tuple{TextKey::livePanicCommand, Forms{"P / Space = PANIC", "P / Espacio = PANICO", "P / Espace = PANIQUE",
                                                    "P / Spazio = PANICO", "P / Leertaste = PANIK"}},
        std::tuple{TextKey::liveMuteChannelsCommand, Forms{"1-9 = MUTE CHANNEL", "1-9 = MUTE CANAL", "1-9 = MUTE CANAL",
                                                           "1-9 = MUTO CANALE", "1-9 = KANAL MUTE"}},
        std::tuple{TextKey::liveSoloChannelCommand,
                   Forms{"Cmd + 1-9 = SOLO CHANNEL", "Cmd + 1-9 = SOLO CANAL", "Cmd + 1-9 = SOLO CANAL",
                         "Cmd + 1-9 = SOLO CANALE", "Cmd + 1-9 = KANAL SOLO"}},
        std::tuple{TextKey::liveMuteMasterCommand, Forms{"0 = MUTE MASTER", "0 = MUTE MASTER", "0 = MUTE MASTER",
                                                         "0 = MUTO MASTER", "0 = MASTER MUTE"}},
        std::tuple{TextKey::liveSongNavigationCommand,
                   Forms{"Up / Down = SONG", "Arriba / Abajo = CANCION", "Haut / Bas = MORCEAU", "Su / Giu = BRANO",
                         "Hoch / Runter = SONG"}},
        std::tuple{TextKey::visualHoldMode, Forms{"Hold", "Mientras Note ON", "Maintien", "Tenuto", "Halten"}},
        std::tuple{TextKey::visualToggleMode, Forms{"Toggle", "Toggle", "Toggle", "Toggle", "Toggle"}},
        std::tuple{TextKey::visualProjectionWindow,
                   Forms{"Visual Projection", "Proyeccion visual", "Projection visuelle", "Proiezione visuale",
                         "Visual-Projektion"}},
        std::tuple{TextKey::visualOpenProjection, Forms{"Open on", "Abrir en", "Ouvrir sur", "Apri su", "Oeffnen auf"}},
        std::tuple{TextKey::visualNoExternalDisplays,
                   Forms{"No external displays", "No hay pantallas externas", "Aucun ecran externe",
                         "Nessuno schermo esterno", "Keine externen Bildschirme"}},
        std::tuple{TextKey::visualToggleFullscreen,
                   Forms{"Toggle Full Screen", "Pantalla completa", "Plein ecran", "Schermo intero", "Vollbild"}},
        std::tuple{TextKey::plugin, Forms{"Plugin", "Plugin", "Module", "Componente", "Plugin"}},
        std::tuple{TextKey::playbackStopOnKey,
                   Forms{"Stop on key", "Parar con tecla", "Arret touche", "Stop con tasto", "Taste stoppt"}},
        std::tuple{TextKey::playbackStopAtExit,
                   Forms{"Play to exit", "Hasta salida", "Jusqu'a sortie", "Fino uscita", "Bis Ausgang"}},
        std::tuple{TextKey::playbackReadError,
                   Forms{"Could not read this audio file.", "No se ha podido leer este archivo de audio.",
                         "Impossible de lire ce fichier audio.", "Impossibile leggere questo file audio.",
                         "Diese Audiodatei konnte nicht gelesen werden."}},
        std::tuple{TextKey::playbackPreviewError,
                   Forms{"Preview failed for this audio file.", "La preescucha ha fallado para este archivo.",
                         "La pre-ecoute a echoue pour ce fichier.", "Anteprima non riuscita per questo file.",
                         "Vorhoeren fuer diese Datei fehlgeschlagen."}},
        std::tuple{TextKey::modeEdit, Forms{"Edit Mode", "Modo Edit", "Mode Edit", "Modo Edit", "Edit-Modus"}},
        std::tuple{TextKey::modeLive, Forms{"Live Mode", "Modo Live", "Mode Live", "Modo Live", "Live-Modus"}},
        std::tuple{TextKey::setlist,
                   Forms{"SETLIST", "SETLIST / CANCIONES", "LISTE DE LECTURE", "SCALETTA", "SETLISTE"}},
        std::tuple{TextKey::addChannel, Forms{"+ Add Channel", "+ Añadir Canal", "+ Ajouter un canal",
                                              "+ Aggiungi Canale", "+ Kanal hinzufügen"}},
        std::tuple{TextKey::midiLearnWaiting,
                   Forms{"Move MIDI", "Mueve MIDI", "Bougez MIDI", "Muovi MIDI", "MIDI bewegen"}},
        std::tuple{TextKey::audioSystemDefault, Forms{"System Default", "Salida del sistema", "Sortie systeme",
                                                      "Uscita di sistema", "Systemausgang"}},
        std::tuple{TextKey::quitApp,
                   Forms{"Quit VREL", "Salir de VREL", "Quitter VREL", "Esci da VREL", "VREL beenden"}},
        std::tuple{TextKey::tempoTitle, Forms{"TEMPO / METRONOME", "TEMPO / METRÓNOMO", "TEMPO / MÉTRONOME",
                                              "TEMPO / METRONOMO", "TEMPO / METRONOM"}},
        std::tuple{TextKey::loadingAudioUnits,
                   Forms{"Loading Audio Units", "Cargando Audio Units", "Chargement des Audio Units",
                         "Caricamento Audio Units", "Audio Units werden geladen"}},
        std::tuple{TextKey::editMenu, Forms{"Edit", "Edición", "Edition", "Modifica", "Bearbeiten"}},
        std::tuple{TextKey::appSettingsMenu,
                   Forms{"Settings", "Configuración", "Configuration", "Impostazioni", "Einstellungen"}},
        std::tuple{TextKey::newSetlist,
                   Forms{"New Setlist", "Nuevo Setlist", "Nouveau Setlist", "Nuova Scaletta", "Neue Setliste"}},
        std::tuple{TextKey::openSetlist, Forms{"Open Setlist...", "Abrir Setlist...", "Ouvrir Setlist...",
                                               "Apri Scaletta...", "Setliste öffnen..."}},
        std::tuple{TextKey::clearRecent, Forms{"Clear Recent Files", "Borrar Recientes", "Effacer l'historique",
                                               "Cancella Recenti", "Verlauf löschen"}},
        std::tuple{TextKey::noRecentFiles, Forms{"No recent files", "No hay archivos recientes", "Aucun fichier recent",
                                                 "Nessun file recente", "Keine letzten Dateien"}},
        std::tuple{TextKey::saveSetlistAs, Forms{"Save As...", "Guardar como...", "Enregistrer sous...",
                                                 "Salva con nome...", "Speichern unter..."}},
        std::tuple{TextKey::clearMidiLearn,
                   Forms{"Clear All MIDI Learn", "Borrar todos los Learn MIDI", "Effacer tous les Learn MIDI",
                         "Cancella tutti i Learn MIDI", "Alle MIDI Learn loeschen"}},
        std::tuple{TextKey::visualChooseBackgroundVideo,
                   Forms{"Choose Background Video...", "Elegir video de fondo...", "Choisir video de fond...",
                         "Scegli video di sfondo...", "Hintergrundvideo waehlen..."}},
        std::tuple{TextKey::visualClearBackgroundVideo,
                   Forms{"Clear Background Video", "Quitar video de fondo", "Supprimer video de fond",
                         "Rimuovi video di sfondo", "Hintergrundvideo entfernen"}},
        std::tuple{TextKey::visualCloseProjection,
                   Forms{"Close Projection", "Cerrar proyeccion", "Fermer la projection", "Chiudi proiezione",
                         "Projektion schliessen"}}),
    [](const auto& tested) { return std::string(name(std::get<0>(tested.param))); });

/// The English of every row that has no line above.
class EnglishRow : public testing::TestWithParam<std::tuple<TextKey, std::string_view>> {};

TEST_P(EnglishRow, IsExact) {
  const auto& [key, expected] = GetParam();
  EXPECT_EQ(text(key, Language::english), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Text, EnglishRow,
    testing::Values(
        std::tuple{TextKey::appTitle, std::string_view("VREL")}, std::tuple{TextKey::songs, std::string_view("Songs")},
        std::tuple{TextKey::noSongs, std::string_view("No songs in setlist. Add one below!")},
        std::tuple{TextKey::addSong, std::string_view("Add Song")},
        std::tuple{TextKey::channelStrips, std::string_view("CHANNEL STRIPS")},
        std::tuple{TextKey::volume, std::string_view("Volume")}, std::tuple{TextKey::mute, std::string_view("MUTE")},
        std::tuple{TextKey::solo, std::string_view("SOLO")},
        std::tuple{TextKey::keyboard, std::string_view("WORK AREA: KEYBOARD CONTROLLER")},
        std::tuple{TextKey::startNote, std::string_view("Start Note")},
        std::tuple{TextKey::keyCount, std::string_view("Keys")},
        std::tuple{TextKey::loadPluginFile, std::string_view("Load AU Component")},
        std::tuple{TextKey::languageLabel, std::string_view("Language")},
        std::tuple{TextKey::notesTitle, std::string_view("PERFORMANCE NOTES")},
        std::tuple{TextKey::splitTranspose, std::string_view("Split / Transpose")},
        std::tuple{TextKey::fileMenu, std::string_view("File")},
        std::tuple{TextKey::modeMenu, std::string_view("Mode")},
        std::tuple{TextKey::visualMenu, std::string_view("Visual")},
        std::tuple{TextKey::visualBlendMode, std::string_view("Blend Mode")},
        std::tuple{TextKey::visualBackgroundVideo, std::string_view("Background Video")},
        std::tuple{TextKey::helpMenu, std::string_view("Help")},
        std::tuple{TextKey::openRecent, std::string_view("Open Recent")},
        std::tuple{TextKey::saveSetlist, std::string_view("Save")},
        std::tuple{TextKey::instruments, std::string_view("Instruments")},
        std::tuple{TextKey::pluginSearchPlaceholder, std::string_view("Search plugin or manufacturer...")},
        std::tuple{TextKey::noResults, std::string_view("No results")},
        std::tuple{TextKey::tryDifferentSearch, std::string_view("Try a different search")},
        std::tuple{TextKey::changeInstrument, std::string_view("Change Instrument")},
        std::tuple{TextKey::removeInstrument, std::string_view("Remove Instrument")},
        std::tuple{TextKey::emptySlot, std::string_view("Empty slot")},
        std::tuple{TextKey::audioEffectSearchPlaceholder, std::string_view("Search effect or manufacturer...")},
        std::tuple{TextKey::noAudioEffects, std::string_view("No audio effects found")},
        std::tuple{TextKey::loadingAudioEffect, std::string_view("Loading audio effect")},
        std::tuple{TextKey::loadingMasterEffect, std::string_view("Loading master effect")},
        std::tuple{TextKey::cutChannel, std::string_view("Cut Channel")},
        std::tuple{TextKey::copyChannel, std::string_view("Copy Channel")},
        std::tuple{TextKey::pasteChannel, std::string_view("Paste Channel")},
        std::tuple{TextKey::duplicateChannel, std::string_view("Duplicate Channel")},
        std::tuple{TextKey::deleteChannel, std::string_view("Delete Channel")},
        std::tuple{TextKey::renameSong, std::string_view("Rename Song")},
        std::tuple{TextKey::deleteSong, std::string_view("Delete Song")},
        std::tuple{TextKey::playbackTitle, std::string_view("Vrel Player")},
        std::tuple{TextKey::playbackSubtitle, std::string_view("Audio file with range, loop and preview")},
        std::tuple{TextKey::visualTitle, std::string_view("Vrel Visual")},
        std::tuple{TextKey::visualSubtitle, std::string_view("Video clips triggered by notes")},
        std::tuple{TextKey::visualNoClips, std::string_view("No video clips configured")},
        std::tuple{TextKey::visualAddClip, std::string_view("Add Clip")},
        std::tuple{TextKey::visualNote, std::string_view("Note")},
        std::tuple{TextKey::visualFile, std::string_view("File")},
        std::tuple{TextKey::visualChooseVideo, std::string_view("Choose Video")},
        std::tuple{TextKey::visualPreview, std::string_view("Preview")},
        std::tuple{TextKey::visualTriggerMode, std::string_view("Trigger")},
        std::tuple{TextKey::playbackNoFileSelected, std::string_view("No audio file selected")},
        std::tuple{TextKey::playbackSelectFile, std::string_view("Select")},
        std::tuple{TextKey::playbackEntry, std::string_view("Entry")},
        std::tuple{TextKey::playbackExit, std::string_view("Exit")},
        std::tuple{TextKey::playbackLoop, std::string_view("Loop")},
        std::tuple{TextKey::playbackPlay, std::string_view("PLAY")},
        std::tuple{TextKey::playbackStop, std::string_view("STOP")},
        std::tuple{TextKey::playbackCancel, std::string_view("Cancel")},
        std::tuple{TextKey::playbackApply, std::string_view("Apply")},
        std::tuple{TextKey::playbackTempo, std::string_view("Tempo")},
        std::tuple{TextKey::playbackStopBehavior, std::string_view("Stop behavior")},
        std::tuple{TextKey::midiLearn, std::string_view("Learn")},
        std::tuple{TextKey::helpCommand, std::string_view("VREL Help")},
        std::tuple{TextKey::helpTitle, std::string_view("VREL Help")},
        std::tuple{TextKey::audioBufferSize, std::string_view("I/O Buffer Size")},
        std::tuple{TextKey::audioSamples, std::string_view("samples")},
        std::tuple{TextKey::audioOutput, std::string_view("Audio Output")},
        std::tuple{TextKey::audioNoOutputs, std::string_view("No audio outputs found")}),
    [](const auto& tested) { return std::string(name(std::get<0>(tested.param))); });

}  // namespace
}  // namespace vrel
