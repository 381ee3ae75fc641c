#include "page/plugin_windows.h"

#include <mutex>
#include <unordered_map>

#include "base/never_destroyed.h"

namespace NorvoWebAPI::KSV {
namespace {

struct Windows {
  std::mutex mutex;
  std::unordered_map<HWND, std::weak_ptr<PageLife>> pages;
};

NeverDestroyed<Windows> pluginWindows;

}  // namespace

DisplayHooks displayHooks;

void InsertPluginWindow(HWND window, const std::shared_ptr<PageLife>& life) {
  const std::lock_guard lock(pluginWindows->mutex);
  pluginWindows->pages.insert_or_assign(window, life);
}

std::shared_ptr<Scriptable> FindScriptableByWindow(HWND window) {
  std::shared_ptr<PageLife> life;
  {
    const std::lock_guard lock(pluginWindows->mutex);
    const auto found = pluginWindows->pages.find(window);
    if (found != pluginWindows->pages.end()) life = found->second.lock();
  }
  if (!life || life->HasEnded() || life->thread != GetCurrentThreadId()) return nullptr;
  return life->scriptable.lock();
}

void RemovePluginWindows(const PageLife& life) {
  bool isEmpty = false;
  {
    const std::lock_guard lock(pluginWindows->mutex);
    std::erase_if(pluginWindows->pages, [&](const auto& entry) { return entry.second.lock().get() == &life; });
    isEmpty = pluginWindows->pages.empty();
  }
  if (isEmpty) displayHooks.Remove();
}

void DisplayHooks::Remove() {
  for (std::atomic<HHOOK>* const hook : {&getMessage, &callWnd, &mouse}) {
    if (const HHOOK installed = hook->exchange(nullptr)) UnhookWindowsHookEx(installed);
  }
}

}  // namespace NorvoWebAPI::KSV
