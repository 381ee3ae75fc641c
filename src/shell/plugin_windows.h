/// `pluginWindows`: which page is in which window. The window hooks ask on whatever thread they run; what they find is
/// used on the window's own thread alone.
#pragma once

#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

class Plugin;

/// A later page replaces an earlier one. An entry under a window that a page has left stays until the page ends.
void EnterPluginWindow(HWND window, Plugin* plugin);
/// Null for a window of no page.
Plugin* FindPluginByWindow(HWND window);
/// Takes away all windows of a page that ends. True when no page has a window any more.
bool RemovePluginWindows(const Plugin* plugin);

}  // namespace NorvoWebAPI::KSV
