#include "hooks/event_delivery.h"

#include <cstring>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/base64.h"
#include "base/debug_log.h"
#include "base/never_destroyed.h"
#include "base/own_module.h"
#include "base/scope_exit.h"
#include "page/scriptable.h"

namespace NorvoWebAPI::KSV {
namespace {

constexpr size_t kMaxNameBytes = 32;
// The system's own limit for the messages of a queue. Without a hook, messages leave the queue but their records stay;
// during a delivery, events wait without a message.
constexpr size_t kMaxKeptEvents = 10'000;

struct AgentEvent {
  std::weak_ptr<PageLife> page;
  uint32_t instanceId = 0;  // 0 routes by name.
  std::string appName;
  std::vector<uint8_t> data;
  uint8_t source = 0;
};

template <typename Key>
struct Routes {
  std::unordered_map<Key, std::weak_ptr<PageLife>> pages;

  std::shared_ptr<PageLife> PageOf(const Key& key) const {
    const auto found = pages.find(key);
    return found == pages.end() ? nullptr : found->second.lock();
  }
  // Erases an entry, or only if it is of this page. True when that leaves the map empty.
  bool Release(const Key& key, const PageLife* of) {
    if (pages.empty()) return false;
    if (!of || PageOf(key).get() == of) pages.erase(key);
    return pages.empty();
  }
  void Forget(const PageLife& life) {
    std::erase_if(pages, [&](const auto& entry) { return entry.second.lock().get() == &life; });
  }
};

// What the library's threads, the hook and the browser's thread share.
struct EventState {
  std::mutex mutex;
  Routes<std::string> eventMap;
  Routes<uint32_t> instanceEventMap;
  // A message carries only an address, which any program could post. An address that is not in here is ignored.
  std::unordered_map<WPARAM, std::unique_ptr<AgentEvent>> records;
  HHOOK eventHook = nullptr;
  bool eventBusy = false;
  // The addresses of the records that came while `eventBusy` was set. Empty while it isn't.
  std::vector<WPARAM> waiting;

  // The page that has the event's route now.
  std::shared_ptr<PageLife> TargetOf(const AgentEvent& event) const {
    return event.instanceId == 0 ? eventMap.PageOf(event.appName) : instanceEventMap.PageOf(event.instanceId);
  }
};

NeverDestroyed<EventState> state;

std::unique_ptr<AgentEvent> CopyEvent(uint32_t instanceId, const char* name, uint32_t size, const void* data,
                                      uint8_t source) {
  if (!data && size > 0) throw std::invalid_argument("An event without its data");
  auto event = std::make_unique<AgentEvent>();
  event->instanceId = instanceId;
  event->appName.assign(name, strnlen(name, kMaxNameBytes));
  const auto* const bytes = static_cast<const uint8_t*>(data);
  event->data.assign(bytes, bytes + size);
  event->source = source;
  return event;
}

// Posts the record to the window of the page, without the lock, or erases it.
void PostRecord(std::unique_lock<std::mutex>& lock, WPARAM address, const std::shared_ptr<PageLife>& target) {
  const HWND window = target ? target->window.load() : nullptr;
  bool posted = false;
  if (window) {
    lock.unlock();
    posted = PostMessageA(window, WM_AGENT_EVENT, address, 0) != 0;
    DebugLog(true, kEventLogTag, "%s\n", "CallbackEvent Exit");
    lock.lock();
  }
  // The page may have ended meanwhile, and the address be another page's record.
  const auto found = state->records.find(address);
  if (!posted && found != state->records.end() && found->second->page.lock() == target) state->records.erase(found);
}

// Keeps the event and posts it to the page that has the route; during a delivery `ClearEventBusy` posts it later.
template <typename Key>
void Post(const Routes<Key>& routes, const Key& key, std::unique_ptr<AgentEvent> event) {
  const auto address = reinterpret_cast<WPARAM>(event.get());
  std::unique_lock lock(state->mutex);
  const std::shared_ptr<PageLife> target = routes.PageOf(key);
  if (!target || !target->window) return;
  if (state->waiting.size() >= kMaxKeptEvents) return;
  if (!state->eventHook && state->records.size() >= kMaxKeptEvents) return;
  event->page = target;
  if (state->eventBusy) state->waiting.push_back(address);
  state->records.emplace(address, std::move(event));
  if (!state->eventBusy) PostRecord(lock, address, target);
}

// Runs a callback of the library: no exception may reach the library.
template <typename Work>
void OnLibraryThread(Work work) noexcept {
  try {
    DebugLog(true, kEventLogTag, "%s\n", "CallbackEvent");
    work();
  } catch (...) {
    // The event is lost: the library may not be built to meet exceptions.
  }
}

struct Delivery {
  std::unique_ptr<AgentEvent> event;
  std::shared_ptr<PageLife> target;
};

// Takes a posted event and starts its delivery to the page that has the route now; without a target if there is none,
// or it runs on another thread. Nothing for a message without a record, and during a delivery. A message that leaves
// the queue always takes its record with it.
std::optional<Delivery> BeginDelivery(const MSG& message, bool leavesQueue) {
  const std::lock_guard lock(state->mutex);
  const auto found = state->records.find(message.wParam);
  if (found == state->records.end()) return std::nullopt;
  std::shared_ptr<PageLife> target = state->TargetOf(*found->second);
  if (target && target->thread != GetCurrentThreadId()) target = nullptr;
  if (!leavesQueue && (state->eventBusy || !target)) return std::nullopt;
  Delivery delivery{std::move(found->second), std::move(target)};
  state->records.erase(found);
  if (state->eventBusy) return std::nullopt;
  state->eventBusy = delivery.target != nullptr;
  return delivery;
}

// True when the event was passed to the page, or the page has no function for it.
bool CallPage(const AgentEvent& event, const PageLife& target) {
  const std::shared_ptr<Scriptable> object = target.scriptable.lock();
  if (!object || event.data.empty()) return false;
  std::vector<JSObject> args(1);
  args[0]["appName"] = JSObject(event.appName);
  args[0]["dataSrc"] = JSObject(int32_t{event.source});
  args[0]["b64Data"] = JSObject(EncodeBase64(event.data.data(), event.data.size()));
  JSObject ignored;
  if (object->agentEventCallback) object->agentEventCallback->Call(args, ignored);
  return true;
}

LRESULT CALLBACK AgentEventHookProc(int code, WPARAM wParam, LPARAM lParam) {
  const auto* const message = reinterpret_cast<const MSG*>(lParam);
  bool delivered = false;
  if (code == HC_ACTION && message && message->message == WM_AGENT_EVENT) {
    try {
      if (const auto delivery = BeginDelivery(*message, (wParam & PM_REMOVE) != 0)) {
        DebugLog(true, kEventLogTag, "%s\n", "PostMessage Enter");
        if (delivery->target) {
          const ScopeExit end(ClearEventBusy);
          delivered = CallPage(*delivery->event, *delivery->target);
          if (delivered) DebugLog(true, kEventLogTag, "%s\n", "PostMessage Exit");
        }
      }
    } catch (...) {
      delivered = false;
    }
  }
  return delivered ? 0 : CallNextHookEx(nullptr, code, wParam, lParam);
}

template <typename Key>
void ReleaseFrom(Routes<Key>& routes, const Key& key, const PageLife* of = nullptr) {
  std::unique_lock lock(state->mutex);
  const bool isEmpty = routes.Release(key, of);
  lock.unlock();
  if (isEmpty) RemoveEventHook();
}

}  // namespace

void CallbackEvent(const char* appName, uint32_t size, const void* data, uint8_t source) {
  OnLibraryThread([&] {
    if (!appName) throw std::invalid_argument("An event without a name");
    Post(state->eventMap, std::string(appName), CopyEvent(0, appName, size, data, source));
  });
}

void InstanceCallbackEvent(uint32_t instanceId, uint32_t size, const void* data, uint8_t source, void* context) {
  OnLibraryThread([&] {
    std::shared_ptr<PageLife> life;
    {
      const std::lock_guard lock(state->mutex);
      life = state->instanceEventMap.PageOf(instanceId);
    }
    // The page that started the instance may have ended, and `context` with it: it is only compared.
    const std::string name = life && life.get() == context ? life->instanceMap.NameOf(instanceId) : std::string();
    if (name.empty()) throw std::invalid_argument("An event of an instance that no page has");
    Post(state->instanceEventMap, instanceId, CopyEvent(instanceId, name.c_str(), size, data, source));
  });
}

namespace EventRoutes {

void Insert(const std::string& name, const std::shared_ptr<PageLife>& life) {
  const std::lock_guard lock(state->mutex);
  state->eventMap.pages[name] = life;
}

void Insert(uint32_t instanceId, const std::shared_ptr<PageLife>& life) {
  const std::lock_guard lock(state->mutex);
  state->instanceEventMap.pages[instanceId] = life;
}

bool HasNames() {
  const std::lock_guard lock(state->mutex);
  return !state->eventMap.pages.empty();
}

bool HasName(const std::string& name) {
  const std::lock_guard lock(state->mutex);
  return state->eventMap.pages.contains(name);
}

std::string FindEventName(const PageLife& life) {
  const std::lock_guard lock(state->mutex);
  for (const auto& [name, page] : state->eventMap.pages) {
    if (page.lock().get() == &life) return name;
  }
  return {};
}

void Release(const std::string& name) {
  ReleaseFrom(state->eventMap, name);
}

bool Has(uint32_t instanceId, const PageLife& life) {
  const std::lock_guard lock(state->mutex);
  return state->instanceEventMap.PageOf(instanceId).get() == &life;
}

void Release(uint32_t instanceId, const PageLife& life) {
  ReleaseFrom(state->instanceEventMap, instanceId, &life);
}

void ClearNames() {
  const std::lock_guard lock(state->mutex);
  state->eventMap.pages.clear();
}

void ClearInstances() {
  const std::lock_guard lock(state->mutex);
  state->instanceEventMap.pages.clear();
}

void ForgetPage(const PageLife& life) {
  std::unique_lock lock(state->mutex);
  state->eventMap.Forget(life);
  state->instanceEventMap.Forget(life);
  std::erase_if(state->records, [&](const auto& entry) { return entry.second->page.lock().get() == &life; });
  const bool isEmpty = state->eventMap.pages.empty() && state->instanceEventMap.pages.empty();
  lock.unlock();
  if (isEmpty) RemoveEventHook();
}

}  // namespace EventRoutes

bool InstallEventHook() {
  {
    const std::lock_guard lock(state->mutex);
    if (state->eventHook) return true;
  }
  const HHOOK hook = SetWindowsHookExA(WH_GETMESSAGE, AgentEventHookProc, OwnModule(), 0);
  const std::lock_guard lock(state->mutex);
  state->eventHook = hook;
  return hook != nullptr;
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
  std::unique_lock lock(state->mutex);
  // The flag stays set until the list is empty, so that events keep their order; by index, because more may come while
  // one is posted.
  for (size_t i = 0; i < state->waiting.size(); ++i) {
    const WPARAM address = state->waiting[i];
    const auto found = state->records.find(address);
    if (found == state->records.end()) continue;  // Its page has ended.
    const std::shared_ptr<PageLife> target = state->TargetOf(*found->second);
    found->second->page = target;
    PostRecord(lock, address, target);
  }
  state->waiting.clear();
  state->eventBusy = false;
}

}  // namespace NorvoWebAPI::KSV
