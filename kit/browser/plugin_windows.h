/// Windows of the platform layer for the plug-ins of the page: the engine gives them none.
#pragma once

#include <QTimer>
#include <memory>
#include <vector>

#include "platform/desktop.h"

namespace Kit {

/// Makes the windows and takes their messages, as a browser's own loop would, for as long as it lives. One a program,
/// on the main thread.
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
