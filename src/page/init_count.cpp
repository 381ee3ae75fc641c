#include "page/init_count.h"

namespace NorvoWebAPI::KSV {

InitCount agentInitCount;
InitCount displayInitCount;

InitCount::Release InitCount::Decrement(PageLife& life) {
  if (life.released) return Release::Nothing;
  if (total > 1) {
    --total;
    const auto found = ofPages.find(&life);
    if (found != ofPages.end() && --found->second == 0) ofPages.erase(found);
    return Release::OneOfSeveral;
  }
  if (total < 1 || !life.initialised) return Release::Nothing;
  total = 0;
  ofPages.clear();
  life.initialised = false;
  return Release::Last;
}

bool InitCount::PreparePageEnd(PageLife& life) {
  ofPages.erase(&life);
  if (total > 0 && ofPages.empty()) {
    total = 1;
    life.initialised = true;
    return true;
  }
  return total > 1;
}

}  // namespace NorvoWebAPI::KSV
