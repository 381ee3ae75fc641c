/// The registry of the pages' windows (`pluginWindows`), and the display's hooks, which are removed when it becomes
/// empty.
#pragma once

#include <atomic>
#include <memory>

#include "page/page_life.h"
#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

/// Enters the window of a page; a later page replaces an earlier one. The entry stays until the page's object ends,
/// also when the page gets another window.
void InsertPluginWindow(HWND window, const std::shared_ptr<PageLife>& life);

/// The object of the page in a window, held for the caller. Null for any other window, for a page that has ended, and
/// on any other thread than the page's, where a hook may see the handle of another window. Any thread.
std::shared_ptr<Scriptable> FindScriptableByWindow(HWND window);

/// Removes all windows of a page whose object ends; without windows left, the display's hooks too.
void RemovePluginWindows(const PageLife& life);

/// The handles of the display's window hooks. The procedures read them on whatever thread they run; the browser's
/// thread alone writes.
struct DisplayHooks {
  std::atomic<HHOOK> getMessage;
  std::atomic<HHOOK> callWnd;
  std::atomic<HHOOK> mouse;

  void Remove();
};
extern DisplayHooks displayHooks;

}  // namespace NorvoWebAPI::KSV
