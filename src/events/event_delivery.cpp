#include "events/event_delivery.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <unordered_map>
#include <utility>
#include <vector>

#include "api/scriptable.h"
#include "foundation/base64.h"
#include "foundation/debug_log.h"
#include "foundation/result_codes.h"
#include "shell/plugin.h"

namespace NorvoWebAPI::KSV {

EventRoutes<std::string> eventMap;
EventRoutes<uint32_t> instanceEventMap;

namespace {

constexpr size_t kMaxNameBytes = 32;
// A page may sit in its function for as long as it likes, in front of a dialogue even; a library thread may not.
constexpr std::chrono::seconds kMaxBusyWait{1};

struct AgentEvent {
  uint32_t instanceId = 0;  // 0 routes by name.
  std::array<char, kMaxNameBytes + 1> appName{};
  std::vector<uint8_t> data;
  uint8_t source = 0;
};

struct PostedEvent {
  std::unique_ptr<AgentEvent> event;
  EventDestination to;
};

// What the library's threads and the hook share. The message is just a number, which any program of the desktop can
// post: a record is reached through its entry here alone, and is there once.
class EventDelivery {
 public:
  // False when the delivery that runs doesn't end in time, or runs on the calling thread, which would wait for itself.
  bool WaitUntilIdle() {
    std::unique_lock lock(mutex);
    if (busy && busyThread == GetCurrentThreadId()) return false;
    return idle.wait_for(lock, kMaxBusyWait, [this] { return !busy; });
  }

  // Keeps the event for the hook and gives the address that is to be posted; 0 when no hook is there to take it.
  WPARAM Keep(std::unique_ptr<AgentEvent> event, const EventDestination& to) {
    const std::lock_guard lock(mutex);
    if (!hook) return 0;
    const auto address = reinterpret_cast<WPARAM>(event.get());
    posted.insert_or_assign(address, PostedEvent{std::move(event), to});
    return address;
  }

  // Starts a delivery with a posted event. Null for a message that no entry of ours posted, for one that is delivered
  // already, and during a delivery; then an event whose message leaves the queue is lost.
  std::unique_ptr<AgentEvent> Begin(const MSG& message, bool removed) {
    const std::lock_guard lock(mutex);
    const auto found = posted.find(message.wParam);
    if (found == posted.end() || (busy && !removed)) return nullptr;
    std::unique_ptr<AgentEvent> event = std::move(found->second.event);
    posted.erase(found);
    if (busy) return nullptr;
    busy = true;
    busyThread = GetCurrentThreadId();
    return event;
  }

  void End() {
    const std::lock_guard lock(mutex);
    busy = false;
    idle.notify_all();
  }

  template <typename Condition>
  void DropIf(Condition condition) {
    const std::lock_guard lock(mutex);
    std::erase_if(posted, [&](const auto& entry) { return condition(entry.first, entry.second.to); });
  }

  void SetHook(HHOOK installed) {
    const std::lock_guard lock(mutex);
    hook = installed;
  }

  HHOOK TakeHook() {
    const std::lock_guard lock(mutex);
    posted.clear();
    return std::exchange(hook, nullptr);
  }

  HHOOK Hook() {
    const std::lock_guard lock(mutex);
    return hook;
  }

 private:
  std::mutex mutex;
  std::condition_variable idle;
  HHOOK hook = nullptr;
  bool busy = false;
  DWORD busyThread = 0;
  std::unordered_map<WPARAM, PostedEvent> posted;
};

EventDelivery delivery;

struct DeliveryEnd {
  DeliveryEnd() = default;
  DeliveryEnd(const DeliveryEnd&) = delete;
  DeliveryEnd& operator=(const DeliveryEnd&) = delete;
  ~DeliveryEnd() { delivery.End(); }
};

std::unique_ptr<AgentEvent> CopyEvent(uint32_t instanceId, const char* name, uint32_t size, const void* data,
                                      uint8_t source) {
  if (!data && size > 0) throw std::invalid_argument("An event without its data");
  auto event = std::make_unique<AgentEvent>();
  event->instanceId = instanceId;
  std::memcpy(event->appName.data(), name, strnlen(name, kMaxNameBytes));
  const auto* const bytes = static_cast<const uint8_t*>(data);
  event->data.assign(bytes, bytes + size);
  event->source = source;
  return event;
}

template <typename Key>
bool Post(const EventRoutes<Key>& routes, const Key& key, std::unique_ptr<AgentEvent> event) {
  const EventDestination to = routes.DestinationOf(key);
  if (!to.window || !delivery.WaitUntilIdle()) return false;
  const WPARAM address = delivery.Keep(std::move(event), to);
  if (address == 0) return false;
  if (PostMessageA(to.window, WM_AGENT_EVENT, address, 0)) return true;
  // A window that takes no message any more won't give back those that it took.
  const bool dead = !IsWindow(to.window);
  delivery.DropIf(
      [&](WPARAM other, const EventDestination& its) { return other == address || (dead && its.window == to.window); });
  return false;
}

// The guard of the library's entries.
template <typename Work>
void OnLibraryThread(Work work) noexcept {
  try {
    DebugLog(true, kEventLogTag, "%s\n", "CallbackEvent");
    if (work()) DebugLog(true, kEventLogTag, "%s\n", "CallbackEvent Exit");
  } catch (...) {
    // The event is lost. The library has no use for our failures, and may not be built to meet them.
  }
}

Plugin* PageOf(const AgentEvent& event) {
  return event.instanceId == 0 ? eventMap.PageOf(event.appName.data()) : instanceEventMap.PageOf(event.instanceId);
}

// True when the event was handed to its page, or its page has no function for it.
bool CallPage(const AgentEvent& event) {
  if (event.data.empty()) return false;
  Plugin* const plugin = PageOf(event);
  if (!plugin || !plugin->GetScriptable()) return false;
  JSObject told;
  told["appName"] = JSObject(event.appName.data());
  told["dataSrc"] = JSObject(int32_t{event.source});
  told["b64Data"] = JSObject(EncodeBase64(event.data.data(), event.data.size()));
  std::vector<JSObject> args;
  args.push_back(std::move(told));
  // Kept for the call: from inside it the page may set another function, or end.
  if (const auto callback = plugin->GetScriptable()->agentEventCallback) {
    JSObject ignored;
    callback->Call(args, ignored);
  }
  return true;
}

LRESULT CALLBACK AgentEventHookProc(int code, WPARAM wParam, LPARAM lParam) {
  const auto* const message = reinterpret_cast<const MSG*>(lParam);
  if (code != HC_ACTION || !message || message->message != WM_AGENT_EVENT) {
    return CallNextHookEx(nullptr, code, wParam, lParam);
  }
  bool delivered = false;
  try {
    if (const auto event = delivery.Begin(*message, wParam == PM_REMOVE)) {
      const DeliveryEnd end;
      DebugLog(true, kEventLogTag, "%s\n", "PostMessage Enter");
      delivered = CallPage(*event);
      if (delivered) DebugLog(true, kEventLogTag, "%s\n", "PostMessage Exit");
    }
  } catch (...) {
    delivered = false;
  }
  return delivered ? 0 : CallNextHookEx(nullptr, code, wParam, lParam);
}

// Needed by the system for a hook that serves all threads.
HINSTANCE OwnModule() {
  HMODULE module = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCSTR>(reinterpret_cast<void*>(&AgentEventHookProc)), &module);
  return module;
}

}  // namespace

void CallbackEvent(const char* appName, uint32_t size, const void* data, uint8_t source) {
  OnLibraryThread([&] {
    if (!appName) throw std::invalid_argument("An event without a name");
    return Post(eventMap, std::string(appName), CopyEvent(0, appName, size, data, source));
  });
}

void InstanceCallbackEvent(uint32_t instanceId, uint32_t size, const void* data, uint8_t source, void* context) {
  OnLibraryThread([&] {
    const std::string name = Plugin::InstanceName(context, instanceId);
    if (name.empty()) throw std::invalid_argument("An event of an instance that no page has");
    return Post(instanceEventMap, instanceId, CopyEvent(instanceId, name.c_str(), size, data, source));
  });
}

void InstallEventHook() {
  if (delivery.Hook()) return;
  const HHOOK hook = SetWindowsHookExA(WH_GETMESSAGE, AgentEventHookProc, OwnModule(), 0);
  if (!hook) throw CPluginException{kEventRegistrationFailed};
  delivery.SetHook(hook);
}

void RemoveEventHook() {
  if (const HHOOK hook = delivery.TakeHook()) UnhookWindowsHookEx(hook);
}

void ClearEventBusy() {
  delivery.End();
}

void DropEventsOf(const Plugin* plugin) {
  delivery.DropIf([&](WPARAM, const EventDestination& to) { return to.page == plugin; });
}

}  // namespace NorvoWebAPI::KSV
