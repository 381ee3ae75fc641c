// Instances and event registration. hooks/event_template.h tells what happens to an event.
#include "agent/agent_operation.h"
#include "agent/cksv_plugin_zub.h"

namespace NorvoWebAPI::KSV {

Outcome CKSVPluginZUB::StartInstance(const char* name, InstanceEventCallback callback, void* context,
                                     uint32_t& instanceId, JSObject& result) {
  return Run("StartInstance", entries.StartInstance3, CodedExceptions::BadAlloc, [&](Outcome& outcome) {
    outcome.status = entries.StartInstance3(name, callback, context, &instanceId);
    result["instanceID"] = JSObject(static_cast<int32_t>(instanceId));
  });
}

Outcome CKSVPluginZUB::StopInstance(uint32_t instanceId, JSObject& result) {
  return Run("StopInstance", entries.StopInstance3, CodedExceptions::BadAlloc, [&](Outcome& outcome) {
    outcome.status = entries.StopInstance3(instanceId);
    result["instanceId"] = JSObject(static_cast<int32_t>(instanceId));
  });
}

Outcome CKSVPluginZUB::RegisterCallback(const char* name, AgentEventCallback callback) {
  return Run("RegisterCallback", entries.RegisterEventCb, CodedExceptions::BadAlloc,
             [&](Outcome& outcome) { outcome.status = entries.RegisterEventCb(name, callback); });
}

Outcome CKSVPluginZUB::UnregisterCallback(const char* name) {
  return Run("UnregisterCallback", entries.UnregisterEventCb, CodedExceptions::BadAlloc,
             [&](Outcome& outcome) { outcome.status = entries.UnregisterEventCb(name); });
}

}  // namespace NorvoWebAPI::KSV
