/// The plug-in module and its one instance, called as a browser calls them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "npapi/npfunctions.h"
#include "platform/win32.h"

namespace Kit {

/// Starts a loaded module in this system's own way and fills `plugin`. Gives an error as the module does.
NPError StartModule(HMODULE module, NPNetscapeFuncs* host, NPPluginFuncs* plugin);

class PluginModule {
 public:
  /// Loads and starts the module. Throws `std::runtime_error` that says what is wrong with it. It stays loaded: threads
  /// of its own may still be on their way out.
  explicit PluginModule(const std::filesystem::path& path);
  /// `NP_Shutdown`.
  ~PluginModule();
  PluginModule(const PluginModule&) = delete;
  PluginModule& operator=(const PluginModule&) = delete;

  [[nodiscard]] const NPPluginFuncs& Funcs() const { return funcs; }

 private:
  HMODULE module;
  NPPluginFuncs funcs{};
};

/// `NPP_New` to `NPP_Destroy`. Throws `std::runtime_error` when the plug-in refuses.
class PluginInstance {
 public:
  PluginInstance(const PluginModule& module, HWND window, int width, int height);
  /// Takes the window away, destroys the instance.
  ~PluginInstance();
  PluginInstance(const PluginInstance&) = delete;
  PluginInstance& operator=(const PluginInstance&) = delete;

  /// The object for script, with a reference for the caller.
  NPObject* Scriptable();

 private:
  NPError SetWindow(HWND window, int width, int height);

  const NPPluginFuncs& funcs;
  NPP_t record{};
};

}  // namespace Kit
