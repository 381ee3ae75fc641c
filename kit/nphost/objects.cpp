#include "kit/nphost/objects.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace NpHost {

Objects::Objects(Accounts kept, Report reportMisuse) : accounts(kept), report(std::move(reportMisuse)) {}

void Objects::Add(NPObject* object, Maker maker, uint32_t kept, NPP instance) {
  if (accounts == Accounts::Kept) live[object] = {maker, kept, instance};
}

bool Objects::IsLive(const NPObject* object) const {
  return accounts == Accounts::None || live.contains(const_cast<NPObject*>(object));
}

bool Objects::DemandLive(const NPObject* object, const char* what) const {
  if (IsLive(object)) return true;
  report("An object was " + std::string(what) + " that has ended or is not known to the host.");
  return false;
}

NPObject* Objects::Retain(NPObject* object) {
  if (DemandLive(object, "retained")) ++object->referenceCount;
  return object;
}

void Objects::Release(NPObject* object) {
  if (!DemandLive(object, "released")) return;
  const auto known = live.find(object);
  if (known != live.end() && known->second.kept > 0 && object->referenceCount <= known->second.kept) {
    return report("A reference was released that is the host's own.");
  }
  if (--object->referenceCount == 0) End(object);
}

void Objects::End(NPObject* object) {
  if (accounts == Accounts::Kept && live.erase(object) == 0) return;
  const NPClass& table = *object->_class;
  // Ended by its last reference, the object has nobody left to be invalid for.
  if (object->referenceCount > 0 && table.invalidate) table.invalidate(object);
  if (table.deallocate) return table.deallocate(object);
  if (accounts == Accounts::Kept) std::memset(static_cast<void*>(object), kPoison, sizeof *object);
  std::free(object);
}

void Objects::EndAllOf(NPP instance) {
  std::vector<NPObject*> ending;
  for (const auto& [object, record] : live) {
    if (record.maker == Maker::Plugin && record.instance == instance) ending.push_back(object);
  }
  for (NPObject* const object : ending) End(object);
}

uint32_t Objects::References(const NPObject* object) const {
  return IsLive(object) ? object->referenceCount : 0;
}

size_t Objects::Count(Maker maker) const {
  return static_cast<size_t>(std::ranges::count(live, maker, [](const auto& known) { return known.second.maker; }));
}

std::vector<std::string> Objects::Leaks() const {
  std::vector<std::string> leaks;
  for (const auto& [object, record] : live) {
    const bool ofPlugin = record.maker == Maker::Plugin;
    if (!ofPlugin && object->referenceCount <= record.kept) continue;
    leaks.push_back("The plug-in left " + std::to_string(object->referenceCount - record.kept) +
                    " reference(s), which were never released, on an object or function of " +
                    (ofPlugin ? "its own." : "the page."));
  }
  return leaks;
}

}  // namespace NpHost
