#include "hooks/event_routes.h"

#include <algorithm>

#include "page/plugin.h"

namespace NorvoWebAPI::KSV {

template <typename Key>
void EventRoutes<Key>::Enter(const Key& key, Plugin* plugin) {
  const std::lock_guard lock(mutex);
  pages[key] = plugin;
}

template <typename Key>
bool EventRoutes<Key>::Has(const Key& key) const {
  const std::lock_guard lock(mutex);
  return pages.contains(key);
}

template <typename Key>
bool EventRoutes<Key>::Empty() const {
  const std::lock_guard lock(mutex);
  return pages.empty();
}

template <typename Key>
Plugin* EventRoutes<Key>::PageOf(const Key& key) const {
  const std::lock_guard lock(mutex);
  const auto found = pages.find(key);
  return found == pages.end() ? nullptr : found->second;
}

template <typename Key>
EventDestination EventRoutes<Key>::DestinationOf(const Key& key) const {
  // The lock keeps the page from ending while its window is read.
  const std::lock_guard lock(mutex);
  const auto found = pages.find(key);
  if (found == pages.end()) return {};
  return {found->second, found->second->window, found->second->Thread()};
}

template <typename Key>
auto EventRoutes<Key>::FindWindow(HWND window) const {
  return std::ranges::find_if(pages, [&](const auto& entry) { return entry.second->window == window; });
}

template <typename Key>
Key EventRoutes<Key>::KeyOfWindow(HWND window) const {
  const std::lock_guard lock(mutex);
  const auto found = FindWindow(window);
  return found == pages.end() ? Key{} : found->first;
}

template <typename Key>
bool EventRoutes<Key>::ReleaseWindow(HWND window) {
  const std::lock_guard lock(mutex);
  if (pages.empty()) return false;
  if (const auto found = FindWindow(window); found != pages.end()) pages.erase(found);
  return pages.empty();
}

template <typename Key>
void EventRoutes<Key>::Erase(const Key& key) {
  const std::lock_guard lock(mutex);
  pages.erase(key);
}

template <typename Key>
void EventRoutes<Key>::Forget(const Plugin* plugin) {
  const std::lock_guard lock(mutex);
  std::erase_if(pages, [&](const auto& entry) { return entry.second == plugin; });
}

template <typename Key>
void EventRoutes<Key>::Clear() {
  const std::lock_guard lock(mutex);
  pages.clear();
}

template class EventRoutes<std::string>;
template class EventRoutes<uint32_t>;

}  // namespace NorvoWebAPI::KSV
