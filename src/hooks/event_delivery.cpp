#include "hooks/event_delivery.h"

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

#include "base/base64.h"
#include "base/debug_log.h"
#include "base/own_module.h"
#include "base/result_codes.h"
#include "page/plugin.h"
#include "page/scriptable.h"

namespace NorvoWebAPI::KSV {

EventRoutes<std::string>& eventMap = *new EventRoutes<std::string>;
EventRoutes<uint32_t>& instanceEventMap = *new EventRoutes<uint32_t>;

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
  uint64_t serial = 0;  // Tells it from a later one at the same address.
};

// What the library's threads and the hook share. The message is just a number, which any program of the desktop can
// post: a record is reached through its entry here alone, and is there once.
class EventDelivery {
 public:
  // False when the delivery that runs doesn't end in time, when waiting for it has become hopeless, and on the
  // delivering thread, which would wait for itself.
  bool WaitUntilIdle() {
    std::unique_lock lock(mutex);
    if (busy && busyThread == GetCurrentThreadId()) return false;
    return idle.wait_for(lock, kMaxBusyWait, [&] { return !busy || !hook || releases > 0; }) && hook && !busy;
  }

  void BeginRelease() {
    const std::lock_guard lock(mutex);
    ++releases;
    idle.notify_all();
  }

  void EndRelease() {
    const std::lock_guard lock(mutex);
    --releases;
  }

  // Keeps the event for the hook and gives its serial; 0 when no hook is there to take it.
  uint64_t Keep(std::unique_ptr<AgentEvent> event, const EventDestination& to) {
    const std::lock_guard lock(mutex);
    if (!hook) return 0;
    const auto address = reinterpret_cast<WPARAM>(event.get());
    posted.insert_or_assign(address, PostedEvent{std::move(event), to, ++lastSerial});
    return lastSerial;
  }

  // Starts a delivery with a posted event. Nothing for a message that no entry of ours posted to this window, for one
  // that is delivered already, during a delivery, and on another thread than the page's, which a host may have given a
  // window of; then an event whose message leaves the queue is lost.
  PostedEvent Begin(const MSG& message, bool removed) {
    const std::lock_guard lock(mutex);
    const auto found = posted.find(message.wParam);
    if (found == posted.end() || found->second.to.window != message.hwnd) return {};
    const DWORD thread = GetCurrentThreadId();
    const bool isLost = busy || found->second.to.thread != thread;
    if (isLost && !removed) return {};
    PostedEvent taken = std::move(found->second);
    posted.erase(found);
    if (isLost) return {};
    busy = true;
    busyThread = thread;
    return taken;
  }

  void End() {
    const std::lock_guard lock(mutex);
    busy = false;
    idle.notify_all();
  }

  template <typename Condition>
  void DropIf(Condition condition) {
    const std::lock_guard lock(mutex);
    std::erase_if(posted, [&](const auto& entry) { return condition(entry.second); });
  }

  void SetHook(HHOOK installed) {
    const std::lock_guard lock(mutex);
    hook = installed;
  }

  HHOOK TakeHook() {
    const std::lock_guard lock(mutex);
    posted.clear();
    idle.notify_all();
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
  uint32_t releases = 0;  // Running calls of the library that wait for its callbacks.
  uint64_t lastSerial = 0;
  std::unordered_map<WPARAM, PostedEvent> posted;
};

// Never ended, as the library's threads may come at any time.
EventDelivery& delivery = *new EventDelivery;

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

// True when the event was posted, or the system was asked to.
template <typename Key>
bool Post(const EventRoutes<Key>& routes, const Key& key, std::unique_ptr<AgentEvent> event) {
  if (!routes.DestinationOf(key).window || !delivery.WaitUntilIdle()) return false;
  const EventDestination to = routes.DestinationOf(key);
  const auto address = reinterpret_cast<WPARAM>(event.get());
  const uint64_t serial = to.window ? delivery.Keep(std::move(event), to) : 0;
  if (serial == 0) return false;
  const auto drop = [&](bool windowToo) {
    delivery.DropIf([&](const PostedEvent& other) {
      return other.serial == serial || (windowToo && other.to.window == to.window);
    });
  };
  // The page may have ended in between, and with it all who would have dropped this one.
  if (routes.DestinationOf(key).page != to.page) {
    drop(false);
    return false;
  }
  // A window that takes no message any more won't give back those that it took.
  if (!PostMessageA(to.window, WM_AGENT_EVENT, address, 0)) drop(!IsWindow(to.window));
  return true;
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
bool CallPage(const PostedEvent& posted) {
  const AgentEvent& event = *posted.event;
  if (event.data.empty()) return false;
  Plugin* const plugin = PageOf(event);
  // Another page may have the name or the number by now.
  if (!plugin || plugin != posted.to.page || plugin->IsDestroyed() || !plugin->GetScriptable()) return false;
  JSObject told;
  told["appName"] = JSObject(event.appName.data());
  told["dataSrc"] = JSObject(int32_t{event.source});
  told["b64Data"] = JSObject(EncodeBase64(event.data.data(), event.data.size()));
  std::vector<JSObject> args;
  args.push_back(std::move(told));
  // Kept for the call: from inside it the page may set another function, or end.
  if (const auto callback = plugin->GetScriptable()->agentEventCallback) callback->Notify(args);
  return true;
}

LRESULT CALLBACK AgentEventHookProc(int code, WPARAM wParam, LPARAM lParam) {
  const auto* const message = reinterpret_cast<const MSG*>(lParam);
  if (code != HC_ACTION || !message || message->message != WM_AGENT_EVENT) {
    return CallNextHookEx(nullptr, code, wParam, lParam);
  }
  bool delivered = false;
  try {
    if (const PostedEvent posted = delivery.Begin(*message, (wParam & PM_REMOVE) != 0); posted.event) {
      const DeliveryEnd end;
      DebugLog(true, kEventLogTag, "%s\n", "PostMessage Enter");
      delivered = CallPage(posted);
      if (delivered) DebugLog(true, kEventLogTag, "%s\n", "PostMessage Exit");
    }
  } catch (...) {
    delivered = false;
  }
  return delivered ? 0 : CallNextHookEx(nullptr, code, wParam, lParam);
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

ReleaseScope::ReleaseScope() {
  delivery.BeginRelease();
}

ReleaseScope::~ReleaseScope() {
  delivery.EndRelease();
}

void DropEventsTo(HWND window) {
  delivery.DropIf([&](const PostedEvent& event) { return event.to.window == window; });
}

void DropEventsOf(const Plugin* plugin) {
  delivery.DropIf([&](const PostedEvent& event) { return event.to.page == plugin; });
}

}  // namespace NorvoWebAPI::KSV
