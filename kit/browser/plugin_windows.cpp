#include "kit/browser/plugin_windows.h"

namespace Kit {
namespace {

/// The layer has no wake-up for a foreign event loop, so its queue is looked at as often as a screen is drawn.
constexpr int kPumpMilliseconds = 16;

PluginWindows* current = nullptr;

}  // namespace

PluginWindows::PluginWindows() {
  current = this;
  QObject::connect(&pump, &QTimer::timeout, [] { platform::PumpMessages(); });
  pump.start(kPumpMilliseconds);
}

PluginWindows::~PluginWindows() {
  current = nullptr;
}

HWND PluginWindows::New() {
  windows.push_back(std::make_unique<platform::TestWindow>());
  return windows.back()->handle();
}

}  // namespace Kit

/// Called by the module that stands in front of the plug-in.
extern "C" __attribute__((visibility("default"))) void* KsvBrowserNewWindow() {
  return Kit::current ? Kit::current->New() : nullptr;
}
