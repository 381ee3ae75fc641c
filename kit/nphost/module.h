/// The plug-in module, started as a browser of this system starts it.
#pragma once

#include <filesystem>

#include "npapi/npfunctions.h"
#include "platform/win32.h"
#include "shell/exports.h"

namespace NpHost {

using InitializeEntry = decltype(&NP_Initialize);

/// The exports that a browser calls; null where the module has none.
struct ModuleEntries {
  decltype(&NP_GetEntryPoints) getEntryPoints;
  InitializeEntry initialize;
  decltype(&NP_Shutdown) shutdown;
};

/// `NP_Initialize`, which fills `plugin` as well where this system has it so.
NPError Initialize(InitializeEntry initialize, NPNetscapeFuncs* host, NPPluginFuncs* plugin);
/// Initialises the module and fills `plugin`, whose size is set.
NPError StartModule(const ModuleEntries& entries, NPNetscapeFuncs* host, NPPluginFuncs* plugin);

class Module {
 public:
  /// Loads the module and starts it. Throws `std::runtime_error`, which says what is wrong with it. The module stays
  /// loaded: threads of its own may outlive its shutdown.
  Module(const std::filesystem::path& path, NPNetscapeFuncs& host);
  /// Starts a module that is linked into the program.
  Module(const ModuleEntries& entries, NPNetscapeFuncs& host);
  /// `NP_Shutdown`.
  ~Module();
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  [[nodiscard]] const NPPluginFuncs& Funcs() const { return funcs; }

 private:
  ModuleEntries entries;
  NPPluginFuncs funcs{};
};

}  // namespace NpHost
