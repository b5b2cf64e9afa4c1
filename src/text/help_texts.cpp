// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/help_texts.h"

#include <array>
#include <cstddef>

namespace vrel {
namespace {

constexpr std::size_t sectionCount = 6;
using Pages = std::array<std::array<HelpSection, sectionCount>, allLanguages.size()>;  // in the order of the languages

constexpr Pages manuals{{
    {{
        {"Setlists and songs",
         "VREL organizes a live setup into .vrel setlists. Each song stores tempo, notes, keyboard range, channels, "
         "plugins, playback, effects and MIDI Learn assignments."},
        {"Channels and instruments",
         "Each channel can load an LV2 instrument, internal playback or the internal synth. Volume, gain, reverb, "
         "mute, solo, split, transpose and effects are saved per song."},
        {"Playback",
         "The Playback channel plays an audio file from an entry point to an exit point, with optional loop, preview "
         "and configurable stop behavior."},
        {"Live Mode",
         "Live Mode blocks risky edits. P or space runs Panic, 1-9 mutes channels, Cmd+1-9 sets exclusive solo, 0 "
         "mutes master and up/down changes songs."},
        {"MIDI Learn",
         "Enable Learn, click a highlighted control, then move a MIDI control. The assignment is saved in the song "
         "inside the .vrel file."},
        {"Plugins",
         "VREL saves plugin state when the setlist is saved. If a plugin changes parameters through MIDI, the setlist "
         "is marked dirty so you can save those changes."},
    }},
    {{
        {"Setlists y canciones",
         "VREL organiza un montaje en directo en setlists .vrel. Cada canción guarda tempo, notas, rango del teclado, "
         "canales, plugins, playback, efectos y asignaciones de MIDI Learn."},
        {"Canales e instrumentos",
         "Cada canal puede cargar un instrumento LV2, el playback interno o el sintetizador interno. Volumen, "
         "ganancia, reverb, mute, solo, división, transposición y efectos se guardan en cada canción."},
        {"Playback",
         "El canal Playback reproduce un archivo de audio desde un punto de entrada hasta un punto de salida, con "
         "loop opcional, preescucha y forma de parar configurable."},
        {"Modo Live",
         "El Modo Live bloquea las ediciones arriesgadas. P o espacio ejecuta Pánico, 1-9 silencia canales, Cmd+1-9 "
         "activa el solo exclusivo, 0 silencia el master y arriba/abajo cambia de canción."},
        {"MIDI Learn",
         "Activa Learn, haz clic en un control resaltado y mueve un control MIDI. La asignación se guarda en la "
         "canción, dentro del archivo .vrel."},
        {"Plugins",
         "VREL guarda el estado de los plugins al guardar el setlist. Si un plugin cambia parámetros por MIDI, el "
         "setlist se marca como modificado para que puedas guardar esos cambios."},
    }},
    {{
        {"Setlists et morceaux",
         "VREL organise une configuration de scène en setlists .vrel. Chaque morceau garde le tempo, les notes, "
         "l'étendue du clavier, les canaux, les plugins, le playback, les effets et les affectations MIDI Learn."},
        {"Canaux et instruments",
         "Chaque canal peut charger un instrument LV2, le playback interne ou le synthé interne. Volume, gain, "
         "réverb, mute, solo, split, transposition et effets sont enregistrés par morceau."},
        {"Playback",
         "Le canal Playback lit un fichier audio d'un point d'entrée à un point de sortie, avec boucle facultative, "
         "pré-écoute et comportement d'arrêt au choix."},
        {"Mode Live",
         "Le Mode Live bloque les modifications risquées. P ou espace lance Panique, 1-9 coupe les canaux, Cmd+1-9 "
         "met un canal en solo exclusif, 0 coupe le master et haut/bas change de morceau."},
        {"MIDI Learn",
         "Activez Learn, cliquez sur une commande en surbrillance, puis bougez une commande MIDI. L'affectation est "
         "enregistrée dans le morceau, dans le fichier .vrel."},
        {"Plugins",
         "VREL enregistre l'état des plugins avec le setlist. Si un plugin change de paramètres par MIDI, le setlist "
         "est marqué comme modifié pour que vous puissiez enregistrer ces changements."},
    }},
    {{
        {"Scalette e brani",
         "VREL organizza una configurazione dal vivo in scalette .vrel. Ogni brano conserva tempo, note, estensione "
         "della tastiera, canali, plugin, playback, effetti e assegnazioni MIDI Learn."},
        {"Canali e strumenti",
         "Ogni canale può caricare uno strumento LV2, il playback interno o il sintetizzatore interno. Volume, gain, "
         "riverbero, muto, solo, split, trasposizione ed effetti sono salvati per brano."},
        {"Playback",
         "Il canale Playback suona un file audio da un punto di entrata a un punto di uscita, con loop opzionale, "
         "anteprima e modo di arresto configurabile."},
        {"Modo Live",
         "Il Modo Live blocca le modifiche rischiose. P o spazio esegue Panico, 1-9 mette in muto i canali, Cmd+1-9 "
         "attiva il solo esclusivo, 0 mette in muto il master e su/giù cambia brano."},
        {"MIDI Learn",
         "Attiva Learn, fai clic su un controllo evidenziato, poi muovi un controllo MIDI. L'assegnazione è salvata "
         "nel brano, dentro il file .vrel."},
        {"Plugins",
         "VREL salva lo stato dei plugin quando si salva la scaletta. Se un plugin cambia parametri via MIDI, la "
         "scaletta è segnata come modificata, così puoi salvare quei cambiamenti."},
    }},
    {{
        {"Setlisten und Songs",
         "VREL ordnet ein Live-Setup in .vrel-Setlisten. Jeder Song speichert Tempo, Notizen, Tastaturbereich, "
         "Kanäle, Plugins, Playback, Effekte und MIDI-Learn-Zuordnungen."},
        {"Kanaele und Instrumente",
         "Jeder Kanal kann ein LV2-Instrument, das interne Playback oder den internen Synth laden. Lautstärke, Gain, "
         "Hall, Mute, Solo, Split, Transponierung und Effekte werden pro Song gespeichert."},
        {"Playback",
         "Der Playback-Kanal spielt eine Audiodatei von einem Einstieg bis zu einem Ausgang, wahlweise in Schleife, "
         "mit Vorhören und einstellbarem Stoppverhalten."},
        {"Live-Modus",
         "Der Live-Modus sperrt riskante Änderungen. P oder Leertaste löst Panik aus, 1-9 schaltet Kanäle stumm, "
         "Cmd+1-9 schaltet exklusives Solo, 0 schaltet den Master stumm, und Hoch/Runter wechselt den Song."},
        {"MIDI Learn",
         "Learn einschalten, auf einen hervorgehobenen Regler klicken und dann einen MIDI-Regler bewegen. Die "
         "Zuordnung wird im Song in der .vrel-Datei gespeichert."},
        {"Plugins",
         "VREL speichert den Zustand der Plugins mit der Setliste. Ändert ein Plugin Parameter über MIDI, gilt die "
         "Setliste als geändert, damit diese Änderungen gespeichert werden können."},
    }},
}};

constexpr Pages liveKeys{{
    {{
        {"P / Space", "Panic: every note ends at once, on every channel."},
        {"1 - 9", "Mute the channel with this number, or let it sound again."},
        {"0", "Mute the master, or let it sound again."},
        {"Ctrl + 1 - 9", "Solo: only the channel with this number sounds. Once more, and all sound again."},
        {"Up / Down", "The song before, the song after."},
        {"Ctrl + Shift + E", "Back to Edit Mode."},
    }},
    {{
        {"P / Espacio", "Pánico: todas las notas acaban al instante, en todos los canales."},
        {"1 - 9", "Silencia el canal de ese número, o lo deja sonar otra vez."},
        {"0", "Silencia el master, o lo deja sonar otra vez."},
        {"Ctrl + 1 - 9", "Solo: suena únicamente el canal de ese número. Otra vez, y suenan todos."},
        {"Arriba / Abajo", "La canción anterior, la canción siguiente."},
        {"Ctrl + Mayús + E", "Volver al Modo Edit."},
    }},
    {{
        {"P / Espace", "Panique : toutes les notes cessent aussitôt, sur tous les canaux."},
        {"1 - 9", "Coupe le canal de ce numéro, ou le laisse sonner de nouveau."},
        {"0", "Coupe le master, ou le laisse sonner de nouveau."},
        {"Ctrl + 1 - 9", "Solo : seul le canal de ce numéro sonne. Encore une fois, et tous sonnent de nouveau."},
        {"Haut / Bas", "Le morceau précédent, le morceau suivant."},
        {"Ctrl + Maj + E", "Retour au Mode Edit."},
    }},
    {{
        {"P / Spazio", "Panico: tutte le note finiscono subito, su tutti i canali."},
        {"1 - 9", "Mette in muto il canale con questo numero, o lo fa suonare di nuovo."},
        {"0", "Mette in muto il master, o lo fa suonare di nuovo."},
        {"Ctrl + 1 - 9", "Solo: suona soltanto il canale con questo numero. Ancora una volta, e suonano tutti."},
        {"Su / Giù", "Il brano precedente, il brano successivo."},
        {"Ctrl + Maiusc + E", "Torna al Modo Edit."},
    }},
    {{
        {"P / Leertaste", "Panik: alle Noten enden sofort, auf allen Kanälen."},
        {"1 - 9", "Schaltet den Kanal mit dieser Nummer stumm oder wieder laut."},
        {"0", "Schaltet den Master stumm oder wieder laut."},
        {"Strg + 1 - 9", "Solo: nur der Kanal mit dieser Nummer klingt. Noch einmal, und alle klingen wieder."},
        {"Hoch / Runter", "Der vorige Song, der nächste Song."},
        {"Strg + Umschalt + E", "Zurück in den Edit-Modus."},
    }},
}};

}  // namespace

std::span<const HelpSection> manualSections(Language language) {
  return manuals.at(static_cast<std::size_t>(language));
}

std::span<const HelpSection> liveKeySections(Language language) {
  return liveKeys.at(static_cast<std::size_t>(language));
}

}  // namespace vrel
