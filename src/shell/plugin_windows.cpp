#include "shell/plugin_windows.h"

#include <mutex>
#include <unordered_map>

namespace NorvoWebAPI::KSV {
namespace {

struct Windows {
  std::mutex mutex;
  std::unordered_map<HWND, Plugin*> plugins;
};

// Never ended: a late object or another thread's hook may still look.
Windows& pluginWindows = *new Windows;

}  // namespace

void EnterPluginWindow(HWND window, Plugin* plugin) {
  const std::lock_guard lock(pluginWindows.mutex);
  pluginWindows.plugins[window] = plugin;
}

Plugin* FindPluginByWindow(HWND window) {
  const std::lock_guard lock(pluginWindows.mutex);
  const auto found = pluginWindows.plugins.find(window);
  return found == pluginWindows.plugins.end() ? nullptr : found->second;
}

bool RemovePluginWindows(const Plugin* plugin) {
  const std::lock_guard lock(pluginWindows.mutex);
  std::erase_if(pluginWindows.plugins, [plugin](const auto& entry) { return entry.second == plugin; });
  return pluginWindows.plugins.empty();
}

}  // namespace NorvoWebAPI::KSV
