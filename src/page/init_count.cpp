#include "page/init_count.h"

namespace NorvoWebAPI::KSV {

InitCount agentInitCount;
InitCount displayInitCount;

void InitCount::GiveBackOne(const PageLife& page) {
  --total;
  const auto found = ofPages.find(&page);
  if (found != ofPages.end() && --found->second == 0) ofPages.erase(found);
}

void InitCount::Reset(PageLife& page) {
  page.initialised = false;
  total = 0;
  ofPages.clear();
}

bool InitCount::IsOnlyUser(const PageLife& page) const {
  return ofPages.size() == 1 && ofPages.contains(&page);
}

void InitCount::LeaveLast(PageLife& page) {
  page.initialised = true;
  total = 1;
}

}  // namespace NorvoWebAPI::KSV
