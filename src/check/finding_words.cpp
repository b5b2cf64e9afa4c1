// SPDX-License-Identifier: GPL-3.0-or-later
#include "check/finding_words.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "text/control_names.h"
#include "text/language_texts.h"

namespace vrel {
namespace {

using Texts = LanguageTexts;

struct FindingWords {
  FindingKind kind;
  Texts texts;   // with the subject for %1, the value for %2 and the targets for %3
  Texts advice;  // one for several kinds where the remedy is the same
};

constexpr Texts chooseAnother{"Install it, or choose another one.", "Instálalo o elige otro.",
                              "Installez-le ou choisissez-en un autre.", "Installalo o scegline un altro.",
                              "Installiere es oder wähle ein anderes."};
constexpr Texts chooseFile{"Put the file back, or choose another one.", "Devuelve el archivo a su sitio o elige otro.",
                           "Remettez le fichier en place ou choisissez-en un autre.",
                           "Rimetti il file al suo posto o scegline un altro.",
                           "Lege die Datei zurück oder wähle eine andere."};
constexpr Texts replaceFile{"Replace the file by a whole copy, or choose another one.",
                            "Sustituye el archivo por una copia íntegra o elige otro.",
                            "Remplacez le fichier par une copie intacte ou choisissez-en un autre.",
                            "Sostituisci il file con una copia integra o scegline un altro.",
                            "Ersetze die Datei durch eine vollständige Kopie oder wähle eine andere."};
constexpr Texts changeSplit{"Change the split of the strip, or the keyboard of the song.",
                            "Cambia la división del canal o el teclado de la canción.",
                            "Changez la zone de la tranche ou le clavier du morceau.",
                            "Cambia lo split del canale o la tastiera del brano.",
                            "Ändere den Tastenbereich des Kanals oder die Tastatur des Songs."};
constexpr Texts tryAlone{"Load the song on its own and revive the strip; if that fails, choose another plug-in.",
                         "Carga la canción sola y revive el canal; si falla, elige otro plugin.",
                         "Chargez le morceau seul et relancez la tranche ; en cas d'échec, choisissez un autre module.",
                         "Carica il brano da solo e ripristina il canale; se fallisce, scegli un altro plugin.",
                         "Lade den Song allein und belebe den Kanal; gelingt das nicht, wähle ein anderes Plugin."};
constexpr Texts replaceFailing{"Load the song and play each of its strips; replace the plug-in that fails.",
                               "Carga la canción y toca cada canal; sustituye el plugin que falle.",
                               "Chargez le morceau et jouez chaque tranche ; remplacez le module fautif.",
                               "Carica il brano e suona ogni canale; sostituisci il plugin che fallisce.",
                               "Lade den Song und spiele jeden Kanal; ersetze das Plugin, das versagt."};
constexpr Texts useLess{"Choose a larger buffer, or use fewer plug-ins in this song.",
                        "Elige un búfer mayor o usa menos plugins en esta canción.",
                        "Choisissez un tampon plus grand ou moins de modules dans ce morceau.",
                        "Scegli un buffer più grande o usa meno plugin in questo brano.",
                        "Wähle einen größeren Puffer oder weniger Plugins in diesem Song."};

constexpr std::array<FindingWords, findingKinds.size()> words{{
    {FindingKind::unreadableSetlist,
     {"The setlist cannot be opened: %1", "No se puede abrir el setlist: %1", "La liste ne peut pas être ouverte : %1",
      "Impossibile aprire la scaletta: %1", "Die Setliste lässt sich nicht öffnen: %1"},
     {"Open one of its kept copies.", "Abre una de sus copias guardadas.", "Ouvrez une de ses copies conservées.",
      "Apri una delle sue copie conservate.", "Öffne eine ihrer aufbewahrten Kopien."}},
    {FindingKind::noSongs,
     {"The setlist has no songs", "El setlist no tiene canciones", "La liste n'a aucun morceau",
      "La scaletta non ha brani", "Die Setliste hat keine Songs"},
     {"Add a song.", "Añade una canción.", "Ajoutez un morceau.", "Aggiungi un brano.", "Füge einen Song hinzu."}},
    {FindingKind::pluginMissing,
     {"%1 is not installed", "%1 no está instalado", "%1 n'est pas installé", "%1 non è installato",
      "%1 ist nicht installiert"},
     chooseAnother},
    {FindingKind::unknownSource,
     {"The source \"%1\" is unknown", "La fuente \"%1\" es desconocida", "La source \"%1\" est inconnue",
      "La sorgente \"%1\" è sconosciuta", "Die Quelle \"%1\" ist unbekannt"},
     {"Choose an instrument for the strip.", "Elige un instrumento para el canal.",
      "Choisissez un instrument pour la tranche.", "Scegli uno strumento per il canale.",
      "Wähle ein Instrument für den Kanal."}},
    {FindingKind::noFileChosen,
     {"No file is chosen", "No hay ningún archivo elegido", "Aucun fichier n'est choisi", "Nessun file è scelto",
      "Keine Datei ist gewählt"},
     {"Choose a file, or remove the entry.", "Elige un archivo o quita la entrada.",
      "Choisissez un fichier ou retirez l'entrée.", "Scegli un file o rimuovi la voce.",
      "Wähle eine Datei oder entferne den Eintrag."}},
    {FindingKind::fileMissing,
     {"File not found: %1", "Archivo no encontrado: %1", "Fichier introuvable : %1", "File non trovato: %1",
      "Datei nicht gefunden: %1"},
     chooseFile},
    {FindingKind::fileUnreadable,
     {"The file cannot be played: %1", "El archivo no se puede reproducir: %1", "Le fichier ne peut pas être lu : %1",
      "Il file non può essere riprodotto: %1", "Die Datei lässt sich nicht abspielen: %1"},
     replaceFile},
    {FindingKind::fileIncomplete,
     {"The file cannot be decoded to its end: %1", "El archivo no se puede decodificar hasta el final: %1",
      "Le fichier ne peut pas être décodé jusqu'à la fin : %1",
      "Il file non può essere decodificato fino alla fine: %1",
      "Die Datei lässt sich nicht bis zum Ende dekodieren: %1"},
     replaceFile},
    {FindingKind::fileCrashes,
     {"The file crashes or blocks its decoder, on stage the whole program: %1",
      "El archivo bloquea su decodificador, y en escena el programa entero: %1",
      "Le fichier fait planter ou bloque son décodeur, et sur scène tout le programme : %1",
      "Il file blocca il suo decodificatore, e sul palco l'intero programma: %1",
      "Die Datei bringt ihren Dekoder zum Absturz oder hält ihn auf, auf der Bühne das ganze Programm: %1"},
     replaceFile},
    {FindingKind::noKeyReaches,
     {"No key reaches the strip: its lowest key is above its highest (%1)",
      "Ninguna tecla llega al canal: la más baja está por encima de la más alta (%1)",
      "Aucune touche n'atteint la tranche : la plus basse est au-dessus de la plus haute (%1)",
      "Nessun tasto raggiunge il canale: il più basso è sopra il più alto (%1)",
      "Keine Taste erreicht den Kanal: die tiefste liegt über der höchsten (%1)"},
     changeSplit},
    {FindingKind::splitOffKeyboard,
     {"The song's keyboard has none of the strip's keys (%1)",
      "El teclado de la canción no tiene teclas del canal (%1)",
      "Le clavier du morceau n'a aucune touche de la tranche (%1)",
      "La tastiera del brano non ha i tasti del canale (%1)", "Die Tastatur des Songs hat keine Taste des Kanals (%1)"},
     changeSplit},
    {FindingKind::splitBeyondKeyboard,
     {"The split goes beyond the song's keyboard: %1", "La división va más allá del teclado de la canción: %1",
      "La zone dépasse le clavier du morceau : %1", "Lo split va oltre la tastiera del brano: %1",
      "Der Tastenbereich geht über die Tastatur des Songs hinaus: %1"},
     changeSplit},
    {FindingKind::splitGap,
     {"Keys between the splits play nothing: %1", "Teclas entre las divisiones no suenan: %1",
      "Des touches entre les zones ne jouent rien : %1", "Tasti tra gli split non suonano: %1",
      "Tasten zwischen den Bereichen spielen nichts: %1"},
     {"Extend one of the splits.", "Amplía una de las divisiones.", "Étendez une des zones.",
      "Estendi uno degli split.", "Erweitere einen der Bereiche."}},
    {FindingKind::transposedTooFar,
     {"Transposed beyond the highest or lowest note, so these keys sound alike: %1",
      "Transpuestas más allá de la última nota, estas teclas suenan igual: %1",
      "Transposées au-delà de la dernière note, ces touches sonnent pareil : %1",
      "Trasposti oltre l'ultima nota, questi tasti suonano uguali: %1",
      "Über die letzte Note hinaus transponiert, diese Tasten klingen gleich: %1"},
     {"Transpose less, or leave these keys out of the split.", "Transpón menos o quita esas teclas de la división.",
      "Transposez moins ou retirez ces touches de la zone.", "Trasponi meno o togli questi tasti dallo split.",
      "Transponiere weniger oder nimm diese Tasten aus dem Bereich."}},
    {FindingKind::clipUnreachable,
     {"No key of the strip shows the clip %1", "Ninguna tecla del canal muestra el clip %1",
      "Aucune touche de la tranche ne montre le clip %1", "Nessun tasto del canale mostra la clip %1",
      "Keine Taste des Kanals zeigt den Clip %1"},
     {"Give the clip another note, or change the split of the strip.",
      "Da otra nota al clip o cambia la división del canal.",
      "Donnez une autre note au clip ou changez la zone de la tranche.",
      "Dai un'altra nota alla clip o cambia lo split del canale.",
      "Gib dem Clip eine andere Note oder ändere den Tastenbereich."}},
    {FindingKind::sharedControl,
     {"%1 moves several controls: %3", "%1 mueve varios controles: %3", "%1 commande plusieurs réglages : %3",
      "%1 muove più controlli: %3", "%1 bewegt mehrere Regler: %3"},
     {"If that is not intended, remove one in Learned Controls.",
      "Si no es lo deseado, quita uno en la lista de controles aprendidos.",
      "Si ce n'est pas voulu, retirez-en un dans la liste des contrôles appris.",
      "Se non è voluto, rimuovine uno nell'elenco dei controlli appresi.",
      "Ist das nicht gewollt, entferne einen in der Liste der gelernten Regler."}},
    {FindingKind::noSound,
     {"No strip of the song can sound", "Ningún canal de la canción puede sonar",
      "Aucune tranche du morceau ne peut sonner", "Nessun canale del brano può suonare",
      "Kein Kanal des Songs kann klingen"},
     {"Choose an instrument, or unmute a strip.", "Elige un instrumento o quita el mute de un canal.",
      "Choisissez un instrument ou rétablissez une tranche coupée.",
      "Scegli uno strumento o togli il muto a un canale.", "Wähle ein Instrument oder hebe ein Mute auf."}},
    {FindingKind::pluginFailed,
     {"%1 did not load", "%1 no se cargó", "%1 ne s'est pas chargé", "%1 non si è caricato", "%1 wurde nicht geladen"},
     tryAlone},
    {FindingKind::pluginSilent,
     {"%1 does not answer", "%1 no responde", "%1 ne répond pas", "%1 non risponde", "%1 antwortet nicht"},
     tryAlone},
    {FindingKind::pluginDied,
     {"%1 crashed or hung while it was played", "%1 falló o se colgó al tocarlo",
      "%1 a planté ou s'est bloqué pendant le jeu", "%1 si è bloccato mentre suonava",
      "%1 ist beim Spielen abgestürzt oder hängen geblieben"},
     tryAlone},
    {FindingKind::invalidSound,
     {"Blocks silenced because their samples were invalid or far too large: %2",
      "Bloques silenciados por muestras no válidas o demasiado grandes: %2",
      "Blocs coupés car leurs échantillons étaient invalides ou bien trop grands : %2",
      "Blocchi silenziati per campioni non validi o troppo grandi: %2",
      "Stumm geschaltete Blöcke, weil ihre Werte ungültig oder viel zu groß waren: %2"},
     replaceFailing},
    {FindingKind::notPlayed,
     {"The song could not be played to its end", "La canción no se pudo tocar hasta el final",
      "Le morceau n'a pas pu être joué jusqu'à la fin", "Il brano non si è potuto suonare fino alla fine",
      "Der Song konnte nicht bis zum Ende gespielt werden"},
     replaceFailing},
    {FindingKind::silentWhenPlayed,
     {"Played on all its keys, the song makes no sound", "Tocada en todas sus teclas, la canción no suena",
      "Joué sur toutes ses touches, le morceau ne produit aucun son", "Suonato su tutti i tasti, il brano non suona",
      "Auf allen Tasten gespielt, bleibt der Song stumm"},
     {"Check faders, mutes and the instruments' presets.", "Revisa faders, mutes y los presets de los instrumentos.",
      "Vérifiez les faders, les coupures et les préréglages des instruments.",
      "Controlla fader, muti e preset degli strumenti.", "Prüfe Fader, Mutes und die Presets der Instrumente."}},
    {FindingKind::clips,
     {"The main output is %2 dB above full scale", "La salida principal supera el máximo en %2 dB",
      "La sortie principale dépasse le maximum de %2 dB", "L'uscita principale supera il massimo di %2 dB",
      "Der Hauptausgang ist %2 dB übersteuert"},
     {"Lower the master or the loudest strips.", "Baja el master o los canales más fuertes.",
      "Baissez le master ou les tranches les plus fortes.", "Abbassa il master o i canali più forti.",
      "Senke den Master oder die lautesten Kanäle."}},
    {FindingKind::overloaded,
     {"The song takes %2 % of the time that there is for a block", "La canción ocupa el %2 % del tiempo de un bloque",
      "Le morceau prend %2 % du temps d'un bloc", "Il brano richiede il %2 % del tempo di un blocco",
      "Der Song braucht %2 % der Zeit eines Blocks"},
     useLess},
    {FindingKind::heavy,
     {"The song takes %2 % of the time that there is for a block", "La canción ocupa el %2 % del tiempo de un bloque",
      "Le morceau prend %2 % du temps d'un bloc", "Il brano richiede il %2 % del tempo di un blocco",
      "Der Song braucht %2 % der Zeit eines Blocks"},
     useLess},
    {FindingKind::slowLoad,
     {"The song took %2 s to load", "La canción tardó %2 s en cargarse", "Le morceau a mis %2 s à se charger",
      "Il brano ha impiegato %2 s a caricarsi", "Der Song brauchte %2 s zum Laden"},
     {"Open the setlist well before the show, and leave time before this song.",
      "Abre el setlist con antelación y deja tiempo antes de esta canción.",
      "Ouvrez la liste bien avant le concert et prévoyez du temps avant ce morceau.",
      "Apri la scaletta con anticipo e lascia tempo prima di questo brano.",
      "Öffne die Setliste früh und lass vor diesem Song Zeit."}},
}};

constexpr bool areWordsInOrder() {
  for (std::size_t index = 0; index < words.size(); ++index) {
    if (static_cast<std::size_t>(words.at(index).kind) != index) {
      return false;
    }
  }
  return true;
}
static_assert(areWordsInOrder(), "the words of a kind are at the index of its case");

std::string decimal(double value) {
  std::array<char, 64> digits{};
  std::snprintf(digits.data(), digits.size(), "%.1f", std::isfinite(value) ? value : 0);
  return digits.data();
}

std::string percent(double share) {
  return std::to_string(std::lround(std::isfinite(share) ? share * 100 : 0));
}

std::string valueText(const Finding& finding) {
  if (finding.kind == FindingKind::invalidSound) {
    return std::to_string(std::llround(std::isfinite(finding.value) ? finding.value : 0));
  }
  const bool isShare = finding.kind == FindingKind::overloaded || finding.kind == FindingKind::heavy;
  return isShare ? percent(finding.value) : decimal(finding.value);
}

}  // namespace

std::string findingText(const Finding& finding, Language language) {
  std::string text(textIn(words.at(static_cast<std::size_t>(finding.kind)).texts, language));
  std::string targets;
  for (const auto& target : finding.targets) {
    targets += (targets.empty() ? "" : ", ") + controlTargetName(target, language);
  }
  for (const auto& control : finding.pluginControls) {
    targets += (targets.empty() ? "" : ", ") + control;
  }
  fillIn(text, "%2", valueText(finding));
  // Those that hold names come last, the later one first: a name may hold any mark.
  fillIn(text, "%3", targets);
  fillIn(text, "%1", finding.subject);
  return finding.reason.empty() ? text : text + " (" + finding.reason + ")";
}

std::string findingAdvice(FindingKind kind, Language language) {
  return std::string(textIn(words.at(static_cast<std::size_t>(kind)).advice, language));
}

std::string playedText(const PlayedSong& played, Language language) {
  static constexpr Texts texts{"loaded in %1 s; block %2 %, worst %3 %; peak %4; plug-ins %5 MB",
                               "cargada en %1 s; bloque %2 %, peor %3 %; pico %4; plugins %5 MB",
                               "chargé en %1 s ; bloc %2 %, pire %3 % ; crête %4 ; modules %5 Mo",
                               "caricato in %1 s; blocco %2 %, peggiore %3 %; picco %4; plugin %5 MB",
                               "geladen in %1 s; Block %2 %, längster %3 %; Spitze %4; Plugins %5 MB"};
  std::string text(textIn(texts, language));
  fillIn(text, "%1", decimal(played.loadSeconds));
  fillIn(text, "%2", percent(played.medianShare));
  fillIn(text, "%3", percent(played.worstShare));
  fillIn(text, "%4", played.peak > 0 ? decimal(20 * std::log10(played.peak)) + " dB" : "-");
  fillIn(text, "%5", std::to_string((played.memoryBytes + 500'000) / 1'000'000));
  return text;
}

}  // namespace vrel
