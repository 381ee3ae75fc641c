#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

class Plugin;

/// Where an event goes. `page` tells pages apart and is no way to one: it may have ended since.
struct EventDestination {
  const Plugin* page = nullptr;
  HWND window = nullptr;
  DWORD thread = 0;  ///< The page's own; script runs there alone.
};

/// Which page an event goes to, by a key of the library's generation: the applet's name or the instance's id. The
/// browser's thread changes it, the library's threads ask for a window alone, and a page that ends is taken out.
/// Each operation holds the lock for itself alone.
template <typename Key>
class EventRoutes {
 public:
  void Enter(const Key& key, Plugin* plugin);
  [[nodiscard]] bool Has(const Key& key) const;
  [[nodiscard]] bool Empty() const;
  /// The page of a key, or null. The browser's thread only: the page may end there at any time.
  [[nodiscard]] Plugin* PageOf(const Key& key) const;
  /// The window of a key's page, if it has one. Any thread.
  [[nodiscard]] EventDestination DestinationOf(const Key& key) const;
  /// The key of the first entry whose page has the window, or an empty one.
  [[nodiscard]] Key KeyOfWindow(HWND window) const;
  /// Erases the first entry whose page has the window, of however many. True when nothing is left after that.
  bool ReleaseWindow(HWND window);
  void Erase(const Key& key);
  /// Erases all entries of a page that ends.
  void Forget(const Plugin* plugin);
  void Clear();

 private:
  [[nodiscard]] auto FindWindow(HWND window) const;

  mutable std::mutex mutex;
  std::unordered_map<Key, Plugin*> pages;
};

extern template class EventRoutes<std::string>;
extern template class EventRoutes<uint32_t>;

}  // namespace NorvoWebAPI::KSV
