#include "kit/browser/plugin_windows.h"

namespace Kit {
namespace {

/// The layer can't wake Qt's event loop, so its queue is polled at the rate of a screen.
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

/// Called by windowed_module.cpp.
extern "C" __attribute__((visibility("default"))) void* KsvBrowserNewWindow() {
  return Kit::current ? Kit::current->New() : nullptr;
}
