/// How often the pages have initialised each library. The browser's thread only.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "page/page_life.h"

namespace NorvoWebAPI::KSV {

/// The initialisations of one library. The total decides what a page's de-initialisation does. The numbers for each
/// page serve the pages that end: such a page may neither leave the library initialised for nobody nor take it down
/// while another page uses it.
class InitCount {
 public:
  /// The successful initialisations of all pages that have not been given back.
  [[nodiscard]] int32_t Total() const { return total; }
  /// Counts a successful initialisation and sets the page's flag; or, for a page that has ended and so would never give
  /// it back, takes it back by `deInit` unless another page uses the library.
  template <typename DeInit>
  void Add(PageLife& page, DeInit deInit) {
    if (!page.HasEnded()) {
      page.initialised = true;
      ++total;
      ++ofPages[&page];
    } else if (total == 0) {
      deInit();
    }
  }
  /// Gives one of several initialisations back.
  void GiveBackOne(const PageLife& page);
  /// The library has been taken down by this page.
  void Reset(PageLife& page);

  /// Whether the page has initialised the library and no other page has.
  [[nodiscard]] bool IsOnlyUser(const PageLife& page) const;
  /// Leaves one initialisation, the page's own, whose de-initialisation then takes the library down.
  void LeaveLast(PageLife& page);
  /// The page has ended and uses the library no more.
  void Forget(const PageLife& page) { ofPages.erase(&page); }

 private:
  int32_t total = 0;
  std::unordered_map<const PageLife*, int32_t> ofPages;  // Only compared: living pages that have initialised it.
};

extern InitCount agentInitCount;
extern InitCount displayInitCount;

}  // namespace NorvoWebAPI::KSV
