// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/text_row.h"

namespace vrel {
namespace {

constexpr std::array<TextRow, textKeyCount - firstPageText> pageTexts{{
    {TextKey::songsByMidi,
     "songsByMidi",
     {"Songs by MIDI", "Canciones por MIDI", "Morceaux par MIDI", "Brani via MIDI", "Songs über MIDI"}},
    {TextKey::nextSong,
     "nextSong",
     {"Next song", "Canción siguiente", "Morceau suivant", "Brano successivo", "Nächster Song"}},
    {TextKey::previousSong,
     "previousSong",
     {"Previous song", "Canción anterior", "Morceau précédent", "Brano precedente", "Voriger Song"}},
    {TextKey::songsByProgramChange,
     "songsByProgramChange",
     {"Program change selects songs", "Program change elige canciones", "Morceaux par program change",
      "Program change sceglie i brani", "Program Change wählt Songs"}},
    {TextKey::midiChannel, "midiChannel", {"MIDI channel", "Canal MIDI", "Canal MIDI", "Canale MIDI", "MIDI-Kanal"}},
    {TextKey::allMidiChannels, "allMidiChannels", {"All", "Todos", "Tous", "Tutti", "Alle"}},
    {TextKey::stepGuard,
     "stepGuard",
     {"One change in", "Un cambio en", "Un changement par", "Un cambio in", "Ein Wechsel in"}},
    {TextKey::letRing,
     "letRing",
     {"Let ring", "Dejar sonar", "Laisser résonner", "Lascia risuonare", "Ausklingen lassen"}},
    {TextKey::letRingOff, "letRingOff", {"Off", "No", "Non", "No", "Aus"}},
    {TextKey::songProgram, "songProgram", {"Program", "Programa", "Programme", "Programma", "Programm"}},
    {TextKey::receivedProgram, "receivedProgram", {"Received", "Recibido", "Reçu", "Ricevuto", "Empfangen"}},
    {TextKey::numberSongs,
     "numberSongs",
     {"Number in order", "Numerar en orden", "Numéroter dans l'ordre", "Numera in ordine",
      "Der Reihe nach nummerieren"}},
    {TextKey::checkSetlist,
     "checkSetlist",
     {"Check Setlist", "Comprobar setlist", "Vérifier la liste", "Controlla scaletta", "Setliste prüfen"}},
    {TextKey::checkAgain,
     "checkAgain",
     {"Check Again", "Comprobar otra vez", "Vérifier à nouveau", "Controlla di nuovo", "Erneut prüfen"}},
    {TextKey::stopCheck, "stopCheck", {"Stop", "Detener", "Arrêter", "Ferma", "Anhalten"}},
    {TextKey::keptCopies,
     "keptCopies",
     {"Kept Versions", "Versiones guardadas", "Versions conservées", "Versioni conservate", "Aufbewahrte Fassungen"}},
    {TextKey::restoreCopy, "restoreCopy", {"Restore", "Restaurar", "Restaurer", "Ripristina", "Wiederherstellen"}},
    {TextKey::nearestPlugins,
     "nearestPlugins",
     {"IN PLACE OF THE MISSING ONE", "EN LUGAR DEL QUE FALTA", "À LA PLACE DE L'ABSENT", "AL POSTO DI QUELLO ASSENTE",
      "ANSTELLE DES FEHLENDEN"}},
}};
static_assert(areRowsFrom(firstPageText, pageTexts), "a row is at the index of its key");

}  // namespace

const TextRow& pageText(std::size_t index) {
  return pageTexts.at(index);
}

}  // namespace vrel
