/// How often the pages have initialised each library. The browser's thread only.
#pragma once

#include <cstdint>
#include <utility>

namespace NorvoWebAPI::KSV {

class Plugin;

/// Successful `zubInit` calls of all pages that have not been given back; and `wysInit` calls.
extern int32_t agentInitCount;
extern int32_t displayInitCount;

/// What a page owes a library: the initialisations that it has not given back. Each time that the library is up has a
/// number, its era; once it is taken down nobody owes it anything.
class InitDebt {
 public:
  void Enter(uint32_t era) {
    owed = enteredIn == era ? owed + 1 : 1;
    enteredIn = era;
  }
  /// A page may give back what another owes.
  void GiveBack() { owed -= owed > 0 ? 1 : 0; }
  /// Whether anything is owed; then nothing is any more.
  bool Settle(uint32_t era) { return std::exchange(owed, 0) > 0 && enteredIn == era; }

 private:
  uint32_t owed = 0;
  uint32_t enteredIn = 0;
};

/// The account of one library: the count over all pages, and what each of them owes.
class Initialisations {
 public:
  enum class Returned { Nothing, OneOfMany, Last };

  constexpr Initialisations(int32_t& countOfAll, InitDebt Plugin::*debtOfPage) : count(countOfAll), debt(debtOfPage) {}

  void Enter(Plugin& plugin);
  /// Whether there is one that the page may give back.
  [[nodiscard]] bool MayGiveBack(const Plugin& plugin) const;
  /// To be called before the library is told to release anything: that may let the host run, and with it another page's
  /// initialisation.
  Returned GiveBack(Plugin& plugin);
  /// Whether the page owes the library anything; then it does not any more.
  bool Settle(Plugin& plugin) const;
  /// Another number after each `Last`: what was made in the library before is gone.
  [[nodiscard]] uint32_t Era() const { return era; }

 private:
  int32_t& count;
  uint32_t era = 0;
  InitDebt Plugin::*debt;
};

extern Initialisations agentInitialisations;
extern Initialisations displayInitialisations;

}  // namespace NorvoWebAPI::KSV
