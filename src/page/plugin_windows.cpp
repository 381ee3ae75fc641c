#include "page/plugin_windows.h"

#include <mutex>
#include <unordered_map>

namespace NorvoWebAPI::KSV {
namespace {

struct WindowEntry {
  Plugin* plugin;
  DWORD thread;
};

struct Windows {
  std::mutex mutex;
  std::unordered_map<HWND, WindowEntry> entries;
};

// Never ended: a late object or another thread's hook may still look.
Windows& pluginWindows = *new Windows;

}  // namespace

void EnterPluginWindow(HWND window, Plugin* plugin) {
  const std::lock_guard lock(pluginWindows.mutex);
  pluginWindows.entries.insert_or_assign(window, WindowEntry{plugin, GetCurrentThreadId()});
}

Plugin* FindPluginByWindow(HWND window) {
  const std::lock_guard lock(pluginWindows.mutex);
  const auto found = pluginWindows.entries.find(window);
  if (found == pluginWindows.entries.end() || found->second.thread != GetCurrentThreadId()) return nullptr;
  return found->second.plugin;
}

void RemovePluginWindows(const Plugin* plugin) {
  const std::lock_guard lock(pluginWindows.mutex);
  std::erase_if(pluginWindows.entries, [plugin](const auto& entry) { return entry.second.plugin == plugin; });
}

bool HasPluginWindows() {
  const std::lock_guard lock(pluginWindows.mutex);
  return !pluginWindows.entries.empty();
}

}  // namespace NorvoWebAPI::KSV
