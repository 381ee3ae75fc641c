#include "api/page_end.h"

#include "api/method_table.h"
#include "hooks/event_template.h"
#include "page/init_count.h"
#include "page/scriptable.h"

namespace NorvoWebAPI::KSV {
namespace {

// Runs a de-initialisation for the page, with two exceptions: the library's only user takes it down however often it
// was initialised, and the last initialisation stays if it is another page's.
void GiveBack(Scriptable& page, InitCount& count, const MethodRow& deInit) {
  PageLife& life = page.Life();
  const bool isOnlyUser = count.IsOnlyUser(life);
  if (isOnlyUser) count.LeaveLast(life);
  if (isOnlyUser || count.Total() > 1) page.RunMethod(deInit, nullptr, 0, nullptr);
  count.Forget(life);
}

}  // namespace

void EndPage(Scriptable& page) {
  GiveBack(page, agentInitCount, RowOf("zubDeInit"));
  try {
    EventTemplate::ForgetPage(page.SharedLife(), page.Agent());
  } catch (...) {
    // Out of memory: the library keeps a name, whose events find no page.
  }
  GiveBack(page, displayInitCount, RowOf("wysDeInit"));
}

}  // namespace NorvoWebAPI::KSV
