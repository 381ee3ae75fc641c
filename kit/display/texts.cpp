#include "kit/display/texts.h"

#include <array>

namespace KsvDisplay {
namespace {

/// In the order of `Phrase`; each row in the order of `Language`.
constexpr std::array<const char*, 2> kTexts[] = {
    {"Enter your PIN", "PIN eingeben"},
    {"Please confirm", "Bitte bestätigen"},
    {"Type your answer in the page", "Antwort auf der Seite eingeben"},
    {"Thank you", "Vielen Dank"},
    {"Your entry is complete.", "Ihre Eingabe ist vollständig."},
    {"Cancelled", "Abgebrochen"},
    {"Your entry was discarded.", "Ihre Eingabe wurde verworfen."},
    {"Wrong PIN", "Falsche PIN"},
    {"Not accepted", "Abgelehnt"},
    {"No attempts left", "Keine Versuche mehr"},
    {"1 attempt left", "Noch 1 Versuch"},
    {"# attempts left", "Noch # Versuche"},
    {"1 more digit", "Noch 1 Ziffer"},
    {"# more digits", "Noch # Ziffern"},
    {"1 digit", "1 Ziffer"},
    {"# digits", "# Ziffern"},
    {"# to # digits", "# bis # Ziffern"},
    {"Clear", "Löschen"},
    {"Cancel", "Abbrechen"},
    {"OK", "OK"},
    {"Confirm", "Bestätigen"},
};
static_assert(std::size(kTexts) == static_cast<size_t>(Phrase::kConfirm) + 1);

}  // namespace

std::string Say(Language language, Phrase phrase, uint32_t first, uint32_t second) {
  std::string text = kTexts[static_cast<size_t>(phrase)][static_cast<size_t>(language)];
  for (const uint32_t number : {first, second}) {
    const size_t at = text.find('#');
    if (at != std::string::npos) text.replace(at, 1, std::to_string(number));
  }
  return text;
}

}  // namespace KsvDisplay
