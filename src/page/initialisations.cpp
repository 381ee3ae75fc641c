#include "page/initialisations.h"

#include "page/plugin.h"

namespace NorvoWebAPI::KSV {

int32_t agentInitCount = 0;
int32_t displayInitCount = 0;
constinit Initialisations agentInitialisations(agentInitCount, &Plugin::agentDebt);
constinit Initialisations displayInitialisations(displayInitCount, &Plugin::displayDebt);

void Initialisations::Enter(Plugin& plugin) {
  plugin.initialised = true;
  (plugin.*debt).Enter(era);
  ++count;
}

bool Initialisations::MayGiveBack(const Plugin& plugin) const {
  return count > 1 || (count == 1 && plugin.initialised);
}

Initialisations::Returned Initialisations::GiveBack(Plugin& plugin) {
  if (!MayGiveBack(plugin)) return Returned::Nothing;
  if (count > 1) {
    --count;
    (plugin.*debt).GiveBack();
    return Returned::OneOfMany;
  }
  count = 0;
  ++era;
  plugin.initialised = false;
  return Returned::Last;
}

bool Initialisations::Settle(Plugin& plugin) const {
  return (plugin.*debt).Settle(era);
}

}  // namespace NorvoWebAPI::KSV
