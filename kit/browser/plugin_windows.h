/// Windows of the platform layer for the page's plug-ins, which get none from the engine.
#pragma once

#include <QTimer>
#include <memory>
#include <vector>

#include "platform/desktop.h"

namespace Kit {

/// Creates the windows and, while it lives, dispatches their messages, as a browser's message loop does. One in a
/// program, on the main thread.
class PluginWindows {
 public:
  PluginWindows();
  ~PluginWindows();
  PluginWindows(const PluginWindows&) = delete;
  PluginWindows& operator=(const PluginWindows&) = delete;

  HWND New();

 private:
  QTimer pump;
  std::vector<std::unique_ptr<platform::TestWindow>> windows;
};

}  // namespace Kit
