#include "agent/instance_map.h"

#include <algorithm>

namespace NorvoWebAPI::KSV {

std::optional<InstanceRecord> InstanceMap::Find(const std::string& name) const {
  const std::lock_guard lock(mutex);
  const auto found = records.find(name);
  return found == records.end() ? std::nullopt : std::optional(found->second);
}

InstanceMap::Records::const_iterator InstanceMap::FindId(uint32_t instanceId) const {
  return std::ranges::find_if(records, [&](const auto& entry) { return entry.second.instanceId == instanceId; });
}

std::string InstanceMap::NameOf(uint32_t instanceId) const {
  const std::lock_guard lock(mutex);
  const auto found = FindId(instanceId);
  return found == records.end() ? std::string() : found->first;
}

std::vector<InstanceRecord> InstanceMap::Instances() const {
  const std::lock_guard lock(mutex);
  std::vector<InstanceRecord> instances;
  for (const auto& [name, record] : records) instances.push_back(record);
  return instances;
}

void InstanceMap::Insert(const std::string& name, InstanceRecord record) {
  const std::lock_guard lock(mutex);
  records[name] = record;
}

bool InstanceMap::Remove(uint32_t instanceId) {
  const std::lock_guard lock(mutex);
  const auto found = FindId(instanceId);
  if (found != records.end()) records.erase(found);
  return records.empty();
}

void InstanceMap::Clear() {
  const std::lock_guard lock(mutex);
  records.clear();
}

}  // namespace NorvoWebAPI::KSV
