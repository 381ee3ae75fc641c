/// How often the pages have initialised each library. The browser's thread only.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "page/page_life.h"

namespace NorvoWebAPI::KSV {

/// The initialisations of one library. The total over all pages decides what a de-initialisation does. Each page's
/// own number is read only when a page ends. docs/architecture.md has a table.
class InitCount {
 public:
  /// The successful initialisations of all pages that have not been given back.
  [[nodiscard]] int32_t Total() const { return total; }

  /// Counts a successful initialisation and sets the page's flag. A page that has ended would never give it back:
  /// `deInit` then undoes it at once, unless another page uses the library.
  template <typename DeInit>
  void AddOrUndo(PageLife& life, DeInit deInit) {
    if (!life.HasEnded()) {
      ++ofPages[&life];
      ++total;
      life.initialised = true;
    } else if (total == 0) {
      deInit();
    }
  }

  /// What a de-initialisation by a page does.
  enum class Release { Nothing, OneOfSeveral, Last };
  /// Decrements the count for a de-initialisation by a page, and returns what is left to do: to release what the page
  /// has registered, or to de-initialise the library.
  Release Decrement(PageLife& life);

  /// To be called when a page ends. True when one more de-initialisation is due: because the total stays above 0 after
  /// it, or because no living page has an initialisation left. In the second case the total is set to 1, so that the
  /// library is de-initialised, no matter which page the others came from.
  bool PreparePageEnd(PageLife& life);

 private:
  int32_t total = 0;
  /// The living pages that have initialised the library, and how often each has. The pointers are only compared.
  std::unordered_map<const PageLife*, int32_t> ofPages;
};

extern InitCount agentInitCount;
extern InitCount displayInitCount;

}  // namespace NorvoWebAPI::KSV
