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
    {Hint::foldKeyboard,
     {"Show or fold the keys", "Mostrar o plegar las teclas", "Afficher ou replier les touches",
      "Mostra o comprimi i tasti", "Tasten zeigen oder einklappen"}},
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
