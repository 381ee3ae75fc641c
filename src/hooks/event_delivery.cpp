#include "hooks/event_delivery.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <unordered_map>
#include <utility>

#include "base/base64.h"
#include "base/debug_log.h"
#include "base/never_destroyed.h"
#include "base/own_module.h"
#include "base/result_codes.h"
#include "base/scope_exit.h"
#include "page/scriptable.h"

namespace NorvoWebAPI::KSV {
namespace {

constexpr size_t kMaxNameBytes = 32;
// A page's function may run for any time, behind a dialog even; a thread of the library must not wait that long.
constexpr std::chrono::seconds kMaxBusyWait{1};

struct AgentEvent {
  std::weak_ptr<PageLife> page;
  uint32_t instanceId = 0;  // 0 routes by name.
  std::array<char, kMaxNameBytes + 1> appName{};
  std::vector<uint8_t> data;
  uint8_t source = 0;
};

template <typename Key>
using Routes = std::unordered_map<Key, std::weak_ptr<PageLife>>;

template <typename Key>
std::shared_ptr<PageLife> PageOf(const Routes<Key>& routes, const Key& key) {
  const auto found = routes.find(key);
  return found == routes.end() ? nullptr : found->second.lock();
}

// What the library's threads, the hook and the browser's thread share.
struct EventState {
  std::mutex mutex;
  Routes<std::string> eventMap;
  Routes<uint32_t> instanceEventMap;
  // A message is a number that any program can post: a record is found here, by its address, or not at all.
  std::unordered_map<WPARAM, std::unique_ptr<AgentEvent>> records;
  HHOOK eventHook = nullptr;
  bool eventBusy = false;
  DWORD busyThread = 0;
  uint32_t releases = 0;  // Calls of the library that may wait for its callbacks.
  std::condition_variable idle;
};

NeverDestroyed<EventState> state;

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

// Waits for a running delivery to end. False when it doesn't in time, and on its own thread, which would wait for
// itself.
bool WaitUntilIdle(std::unique_lock<std::mutex>& lock) {
  if (state->eventBusy && state->busyThread == GetCurrentThreadId()) return false;
  return state->idle.wait_for(lock, kMaxBusyWait, [] { return !state->eventBusy || state->releases > 0; }) &&
         !state->eventBusy;
}

// Posts the event to the window of its page. True when the system was asked to.
template <typename Key>
bool Post(const Routes<Key>& routes, const Key& key, std::unique_ptr<AgentEvent> event) {
  const auto address = reinterpret_cast<WPARAM>(event.get());
  HWND window = nullptr;
  {
    std::unique_lock lock(state->mutex);
    if (!PageOf(routes, key) || !WaitUntilIdle(lock)) return false;
    const std::shared_ptr<PageLife> page = PageOf(routes, key);
    if (page) window = page->window;
    if (!window) return false;
    event->page = page;
    state->records.emplace(address, std::move(event));
  }
  if (!PostMessageA(window, WM_AGENT_EVENT, address, 0)) {
    const std::lock_guard lock(state->mutex);
    state->records.erase(address);
  }
  return true;
}

// The guard of the library's entries.
template <typename Work>
void OnLibraryThread(Work work) noexcept {
  try {
    DebugLog(true, kEventLogTag, "%s\n", "CallbackEvent");
    if (work()) DebugLog(true, kEventLogTag, "%s\n", "CallbackEvent Exit");
  } catch (...) {
    // The event is lost: the library may not be built to meet exceptions.
  }
}

// Takes a posted event and starts its delivery. Nothing for a message without a record, during a delivery, and on
// another thread than the page's; a message that leaves the queue there takes its record with it.
std::unique_ptr<AgentEvent> BeginDelivery(const MSG& message, bool leavesQueue) {
  const std::lock_guard lock(state->mutex);
  const auto found = state->records.find(message.wParam);
  if (found == state->records.end()) return nullptr;
  const std::shared_ptr<PageLife> page = found->second->page.lock();
  const DWORD thread = GetCurrentThreadId();
  const bool canDeliver = !state->eventBusy && page && page->thread == thread;
  if (!canDeliver && !leavesQueue) return nullptr;
  std::unique_ptr<AgentEvent> event = std::move(found->second);
  state->records.erase(found);
  if (!canDeliver) return nullptr;
  state->eventBusy = true;
  state->busyThread = thread;
  return event;
}

std::shared_ptr<PageLife> TargetOf(const AgentEvent& event) {
  const std::lock_guard lock(state->mutex);
  return event.instanceId == 0 ? PageOf(state->eventMap, std::string(event.appName.data()))
                               : PageOf(state->instanceEventMap, event.instanceId);
}

// True when the event was passed to its page, or its page has no function for it.
bool CallPage(const AgentEvent& event) {
  if (event.data.empty()) return false;
  const std::shared_ptr<PageLife> page = TargetOf(event);
  // The name or the id may have become another page's.
  if (!page || page != event.page.lock()) return false;
  const std::shared_ptr<Scriptable> scriptable = page->scriptable.lock();
  if (!scriptable) return false;
  std::vector<JSObject> args(1);
  args[0]["appName"] = JSObject(event.appName.data());
  args[0]["dataSrc"] = JSObject(int32_t{event.source});
  args[0]["b64Data"] = JSObject(EncodeBase64(event.data.data(), event.data.size()));
  JSObject ignored;
  if (scriptable->agentEventCallback) scriptable->agentEventCallback->Call(args, ignored);
  return true;
}

LRESULT CALLBACK AgentEventHookProc(int code, WPARAM wParam, LPARAM lParam) {
  const auto* const message = reinterpret_cast<const MSG*>(lParam);
  bool delivered = false;
  if (code == HC_ACTION && message && message->message == WM_AGENT_EVENT) {
    try {
      if (const auto event = BeginDelivery(*message, (wParam & PM_REMOVE) != 0)) {
        const ScopeExit end(ClearEventBusy);
        DebugLog(true, kEventLogTag, "%s\n", "PostMessage Enter");
        delivered = CallPage(*event);
        if (delivered) DebugLog(true, kEventLogTag, "%s\n", "PostMessage Exit");
      }
    } catch (...) {
      delivered = false;
    }
  }
  return delivered ? 0 : CallNextHookEx(nullptr, code, wParam, lParam);
}

template <typename Key>
void EraseFirst(Routes<Key>& routes, const PageLife& page) {
  const auto found =
      std::ranges::find_if(routes, [&](const auto& entry) { return entry.second.lock().get() == &page; });
  if (found != routes.end()) routes.erase(found);
}

template <typename Key>
void EraseAll(Routes<Key>& routes, const PageLife& page) {
  std::erase_if(routes, [&](const auto& entry) { return entry.second.lock().get() == &page; });
}

}  // namespace

void CallbackEvent(const char* appName, uint32_t size, const void* data, uint8_t source) {
  OnLibraryThread([&] {
    if (!appName) throw std::invalid_argument("An event without a name");
    return Post(state->eventMap, std::string(appName), CopyEvent(0, appName, size, data, source));
  });
}

void InstanceCallbackEvent(uint32_t instanceId, uint32_t size, const void* data, uint8_t source, void* context) {
  OnLibraryThread([&] {
    std::shared_ptr<PageLife> page;
    {
      const std::lock_guard lock(state->mutex);
      page = PageOf(state->instanceEventMap, instanceId);
    }
    // The page that started the instance may have ended, and `context` with it: it is only compared.
    const std::string name = page && page.get() == context ? page->instanceMap.NameOf(instanceId) : std::string();
    if (name.empty()) throw std::invalid_argument("An event of an instance that no page has");
    return Post(state->instanceEventMap, instanceId, CopyEvent(instanceId, name.c_str(), size, data, source));
  });
}

namespace EventRoutes {

void InsertName(const std::string& name, const std::shared_ptr<PageLife>& page) {
  const std::lock_guard lock(state->mutex);
  state->eventMap[name] = page;
}

void InsertInstance(uint32_t instanceId, const std::shared_ptr<PageLife>& page) {
  const std::lock_guard lock(state->mutex);
  state->instanceEventMap[instanceId] = page;
}

bool HasNames() {
  const std::lock_guard lock(state->mutex);
  return !state->eventMap.empty();
}

bool HasName(const std::string& name) {
  const std::lock_guard lock(state->mutex);
  return state->eventMap.contains(name);
}

std::vector<std::string> NamesOf(const PageLife& page) {
  const std::lock_guard lock(state->mutex);
  std::vector<std::string> names;
  for (const auto& [name, owner] : state->eventMap) {
    if (owner.lock().get() == &page) names.push_back(name);
  }
  return names;
}

void ReleaseFirst(const PageLife& page) {
  bool hookGoes = false;
  {
    const std::lock_guard lock(state->mutex);
    const auto release = [&](auto& routes) {
      if (routes.empty()) return;
      EraseFirst(routes, page);
      if (routes.empty()) hookGoes = true;
    };
    release(state->eventMap);
    release(state->instanceEventMap);
  }
  if (hookGoes) RemoveEventHook();
}

void ClearNames() {
  const std::lock_guard lock(state->mutex);
  state->eventMap.clear();
}

void ClearInstances() {
  const std::lock_guard lock(state->mutex);
  state->instanceEventMap.clear();
}

void ForgetPage(const PageLife& page) {
  bool hookGoes = false;
  {
    const std::lock_guard lock(state->mutex);
    EraseAll(state->eventMap, page);
    EraseAll(state->instanceEventMap, page);
    std::erase_if(state->records, [&](const auto& entry) { return entry.second->page.lock().get() == &page; });
    hookGoes = state->eventMap.empty() && state->instanceEventMap.empty();
  }
  // A hook for nobody would outlive the module.
  if (hookGoes) RemoveEventHook();
}

}  // namespace EventRoutes

void InstallEventHook() {
  {
    const std::lock_guard lock(state->mutex);
    if (state->eventHook) return;
  }
  const HHOOK hook = SetWindowsHookExA(WH_GETMESSAGE, AgentEventHookProc, OwnModule(), 0);
  if (!hook) throw CPluginException{kEventRegistrationFailed};
  const std::lock_guard lock(state->mutex);
  state->eventHook = hook;
}

void RemoveEventHook() {
  HHOOK hook = nullptr;
  {
    const std::lock_guard lock(state->mutex);
    hook = std::exchange(state->eventHook, nullptr);
  }
  if (hook) UnhookWindowsHookEx(hook);
}

void ClearEventBusy() {
  const std::lock_guard lock(state->mutex);
  state->eventBusy = false;
  state->idle.notify_all();
}

ReleaseScope::ReleaseScope() {
  const std::lock_guard lock(state->mutex);
  ++state->releases;
  state->idle.notify_all();
}

ReleaseScope::~ReleaseScope() {
  const std::lock_guard lock(state->mutex);
  --state->releases;
}

}  // namespace NorvoWebAPI::KSV
