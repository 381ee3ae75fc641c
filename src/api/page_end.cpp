#include "api/page_end.h"

#include "api/method_table.h"
#include "hooks/event_template.h"
#include "page/init_count.h"
#include "page/scriptable.h"

namespace NorvoWebAPI::KSV {
namespace {

void ReleaseInitialisations(Scriptable& object, InitCount& count, const MethodRow& deInit) {
  if (count.PreparePageEnd(object.Life())) object.RunMethod(deInit, nullptr, 0, nullptr);
}

}  // namespace

void EndPage(Scriptable& object) {
  ReleaseInitialisations(object, agentInitCount, RowOf("zubDeInit"));
  EventTemplate::ForgetPage(object.Life(), object.Agent());
  ReleaseInitialisations(object, displayInitCount, RowOf("wysDeInit"));
  object.Life().released = true;
}

}  // namespace NorvoWebAPI::KSV
