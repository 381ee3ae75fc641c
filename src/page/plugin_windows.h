/// `pluginWindows`: which page is in which window. Window hooks ask on whatever thread they run.
#pragma once

#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

class Plugin;

/// On the page's thread. A later page replaces an earlier one. An entry under a window that a page has left stays until
/// the page ends.
void EnterPluginWindow(HWND window, Plugin* plugin);
/// Null for a window of no page, and on any other thread than the page's: a handle may be another window's by now.
Plugin* FindPluginByWindow(HWND window);
/// Takes away all windows of a page that ends.
void RemovePluginWindows(const Plugin* plugin);
/// Whether any page has a window.
bool HasPluginWindows();

}  // namespace NorvoWebAPI::KSV
