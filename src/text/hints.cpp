// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/hints.h"

#include <array>

namespace vrel {
namespace {

struct HintRow {
  Hint hint;
  std::array<std::string_view, allLanguages.size()> texts;  // in the order of the languages
};

constexpr std::array<HintRow, hintCount> hints{{
    {Hint::playKeys,
     {"Drag over the keys, or use the arrows and Return, to play",
      "Arrastra sobre las teclas, o usa las flechas e Intro, para tocar",
      "Glissez sur les touches, ou utilisez les flèches et Entrée, pour jouer",
      "Trascina sui tasti, o usa le frecce e Invio, per suonare",
      "Zum Spielen über die Tasten ziehen oder Pfeile und Eingabe benutzen"}},
    {Hint::splitBand,
     {"Press a bar to select its strip; drag its ends to set the split",
      "Pulsa una barra para elegir su canal; arrastra sus extremos para ajustar la división",
      "Appuyez sur une barre pour choisir sa tranche ; tirez ses bouts pour régler le split",
      "Premi una barra per scegliere il canale; trascina le estremità per lo split",
      "Balken antippen wählt den Kanalzug; seine Enden ziehen setzt den Split"}},
    {Hint::keyCount,
     {"Number of keys shown", "Número de teclas visibles", "Nombre de touches affichées", "Numero di tasti mostrati",
      "Anzahl der gezeigten Tasten"}},
    {Hint::startNote,
     {"Lowest key shown", "Tecla más grave visible", "Touche la plus grave affichée", "Tasto più basso mostrato",
      "Tiefste gezeigte Taste"}},
    {Hint::performanceItem,
     {"Shows what is played; press it in Learn to choose its hardware",
      "Muestra lo que se toca; púlsalo en Learn para elegir su control",
      "Montre ce qui est joué ; appuyez en Learn pour choisir sa commande",
      "Mostra ciò che si suona; premi in Learn per scegliere il controllo",
      "Zeigt, was gespielt wird; in Learn antippen, um die Hardware zu wählen"}},
    {Hint::foldKeyboard,
     {"Show or fold the keys", "Mostrar o plegar las teclas", "Afficher ou replier les touches",
      "Mostra o comprimi i tasti", "Tasten zeigen oder einklappen"}},
    {Hint::stripColor,
     {"Colour of the strip; drag to move it", "Color del canal; arrastra para moverlo",
      "Couleur de la tranche ; glisser pour la déplacer", "Colore del canale; trascina per spostarlo",
      "Farbe des Kanals; ziehen zum Verschieben"}},
    {Hint::masterColor,
     {"Colour of the master", "Color del master", "Couleur du master", "Colore del master", "Farbe des Masters"}},
    {Hint::notInLiveMode,
     {"Not in Live mode", "No en modo Live", "Pas en mode Live", "Non in modo Live", "Nicht im Live-Modus"}},
    {Hint::crash,
     {"Let the plug-in fail, to rehearse it", "Hacer fallar el plug-in, como ensayo",
      "Faire planter le module, pour répéter", "Fai cadere il plug-in, come prova",
      "Plugin abstürzen lassen, zur Probe"}},
    {Hint::crashImpossible,
     {"No plug-in is running here", "Aquí no hay ningún plug-in activo", "Aucun module actif ici",
      "Qui non c'è nessun plug-in attivo", "Hier läuft kein Plugin"}},
    {Hint::revive,
     {"Load the instrument again", "Cargar de nuevo el instrumento", "Recharger l'instrument", "Ricarica lo strumento",
      "Instrument neu laden"}},
    {Hint::reviveImpossible,
     {"Nothing has failed here", "Aquí no ha fallado nada", "Rien n'est en panne ici", "Qui non è caduto niente",
      "Hier ist nichts ausgefallen"}},
    {Hint::gain,
     {"Drag up or right; double click for 0 dB", "Arrastra arriba o a la derecha; doble clic para 0 dB",
      "Glisser vers le haut ou la droite ; double clic pour 0 dB", "Trascina in alto o a destra; doppio clic per 0 dB",
      "Nach oben oder rechts ziehen; Doppelklick für 0 dB"}},
    {Hint::reverb,
     {"Drag up or right; double click for none", "Arrastra arriba o a la derecha; doble clic para nada",
      "Glisser vers le haut ou la droite ; double clic pour zéro", "Trascina in alto o a destra; doppio clic per zero",
      "Nach oben oder rechts ziehen; Doppelklick für null"}},
    {Hint::mute,
     {"Silence this strip", "Silenciar este canal", "Couper cette tranche", "Silenzia questo canale",
      "Diesen Kanal stumm schalten"}},
    {Hint::solo,
     {"Hear this strip alone", "Oír solo este canal", "Écouter cette tranche seule", "Ascolta solo questo canale",
      "Nur diesen Kanal hören"}},
    {Hint::transpose,
     {"Semitones; drag the bar or double click the number", "Semitonos; arrastra la barra o doble clic en el número",
      "Demi-tons ; glisser la barre ou double clic sur le nombre",
      "Semitoni; trascina la barra o doppio clic sul numero", "Halbtöne; Balken ziehen oder Zahl doppelt anklicken"}},
    {Hint::split,
     {"Keys that play this strip; drag the bar or double click a note",
      "Teclas de este canal; arrastra la barra o doble clic en una nota",
      "Touches de cette tranche ; glisser la barre ou double clic sur une note",
      "Tasti di questo canale; trascina la barra o doppio clic su una nota",
      "Tasten dieses Kanals; Balken ziehen oder Note doppelt anklicken"}},
    {Hint::lowestKey, {"lowest key", "tecla más baja", "touche la plus basse", "tasto più basso", "tiefste Taste"}},
    {Hint::highestKey, {"highest key", "tecla más alta", "touche la plus haute", "tasto più alto", "höchste Taste"}},
    {Hint::sendSustain,
     {"Sustain pedal reaches the instrument", "El pedal de sustain llega al instrumento",
      "La pédale de sustain atteint l'instrument", "Il pedale sustain arriva allo strumento",
      "Haltepedal erreicht das Instrument"}},
    {Hint::sendExpression,
     {"Expression reaches the instrument", "La expresión llega al instrumento", "L'expression atteint l'instrument",
      "L'espressione arriva allo strumento", "Expression erreicht das Instrument"}},
    {Hint::sustainControlsRotor,
     {"Sustain pedal switches the rotor", "El pedal de sustain cambia el rotor",
      "La pédale de sustain commute le rotor", "Il pedale sustain commuta il rotore", "Haltepedal schaltet den Rotor"}},
    {Hint::stripSetup,
     {"Show what sets this strip up", "Mostrar los ajustes de este canal", "Afficher les réglages de cette tranche",
      "Mostra le impostazioni di questo canale", "Einstellungen dieses Kanals zeigen"}},
    {Hint::fader,
     {"Level; press or drag to it", "Nivel; pulsa o arrastra", "Niveau ; appuyer ou glisser",
      "Livello; premi o trascina", "Pegel; drücken oder ziehen"}},
    {Hint::addChannel,
     {"Add an empty strip at the end", "Añadir un canal vacío al final", "Ajouter une tranche vide à la fin",
      "Aggiungi un canale vuoto alla fine", "Leeren Kanal am Ende hinzufügen"}},
    {Hint::addSong,
     {"Add a song at the end of the setlist", "Añadir una canción al final", "Ajouter un morceau à la fin",
      "Aggiungi un brano alla fine", "Song am Ende hinzufügen"}},
    {Hint::tempoStep,
     {"One beat per minute", "Un pulso por minuto", "Un battement par minute", "Un battito al minuto",
      "Ein Schlag pro Minute"}},
    {Hint::tap, {"Tap the tempo", "Marcar el tempo", "Taper le tempo", "Batti il tempo", "Tempo tippen"}},
    {Hint::panic,
     {"Silence everything at once", "Silenciar todo de inmediato", "Tout couper immédiatement", "Silenzia tutto subito",
      "Alles sofort verstummen lassen"}},
    {Hint::learn,
     {"Tie a control to the hardware", "Asociar un control al hardware", "Associer une commande au matériel",
      "Associa un controllo all'hardware", "Regler mit der Hardware verbinden"}},
    {Hint::liveMode,
     {"Change between Edit and Live mode", "Cambiar entre modo Edit y Live", "Passer du mode Edit au mode Live",
      "Passa da Edit a Live", "Zwischen Edit- und Live-Modus wechseln"}},
    {Hint::dropouts,
     {"Late or silent blocks; press to clear", "Bloques tardíos o mudos; pulsa para borrar",
      "Blocs en retard ou muets ; appuyer pour effacer", "Blocchi in ritardo o muti; premi per azzerare",
      "Späte oder stumme Blöcke; drücken zum Löschen"}},
    {Hint::close, {"Close", "Cerrar", "Fermer", "Chiudi", "Schließen"}},
    {Hint::hue, {"Hue", "Tono", "Teinte", "Tonalità", "Farbton"}},
    {Hint::saturation, {"Saturation", "Saturación", "Saturation", "Saturazione", "Sättigung"}},
    {Hint::brightness, {"Brightness", "Brillo", "Luminosité", "Luminosità", "Helligkeit"}},
}};

constexpr bool isWhole() {
  for (std::size_t index = 0; index < hints.size(); ++index) {
    if (hints[index].hint != static_cast<Hint>(index)) {
      return false;
    }
    for (const auto& text : hints[index].texts) {
      if (text.empty()) {
        return false;
      }
    }
  }
  return true;
}
static_assert(isWhole(), "every hint has five texts, in the order of the enumeration");

}  // namespace

std::string_view hintText(Hint hint, Language language) {
  return hints.at(static_cast<std::size_t>(hint)).texts.at(static_cast<std::size_t>(language));
}

}  // namespace vrel
