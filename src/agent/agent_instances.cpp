// Instances and event registration, as the library takes them; what becomes of an event is the event template's.
#include "agent/agent_operation.h"
#include "agent/cksv_plugin_zub.h"

namespace NorvoWebAPI::KSV {

bool CKSVPluginZUB::StartInstance(const char* name, InstanceEventCallback callback, void* context, JSObject& result) {
  return Run("StartInstance", entries.StartInstance3, TellsApart::BadAlloc, result, [&] {
    uint32_t instanceId = 0;
    StoreStatus(result, entries.StartInstance3(name, callback, context, &instanceId));
    result[kInstanceIdKey] = JSObject(static_cast<int32_t>(instanceId));
  });
}

bool CKSVPluginZUB::StopInstance(uint32_t instanceId, JSObject& result) {
  return Run("StopInstance", entries.StopInstance3, TellsApart::BadAlloc, result, [&] {
    StoreStatus(result, entries.StopInstance3(instanceId));
    result[kStoppedInstanceKey] = JSObject(static_cast<int32_t>(instanceId));
  });
}

bool CKSVPluginZUB::RegisterCallback(const char* name, AgentEventCallback callback, JSObject& result) {
  return Run("RegisterCallback", entries.RegisterEventCb, TellsApart::BadAlloc, result,
             [&] { StoreStatus(result, entries.RegisterEventCb(name, callback)); });
}

bool CKSVPluginZUB::UnregisterCallback(const char* name, JSObject& result) {
  return Run("UnregisterCallback", entries.UnregisterEventCb, TellsApart::BadAlloc, result,
             [&] { StoreStatus(result, entries.UnregisterEventCb(name)); });
}

}  // namespace NorvoWebAPI::KSV
