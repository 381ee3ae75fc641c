#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "agent/instance_map.h"
#include "page/initialisations.h"
#include "page/np_plugin.h"
#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

class Scriptable;
class Plugin;

}  // namespace NorvoWebAPI::KSV

// Instantiated in plugin.cpp alone, where the scriptable class is known.
extern template class NorvoWebAPI::NPPlugin<NorvoWebAPI::KSV::Plugin, NorvoWebAPI::KSV::Scriptable>;

namespace NorvoWebAPI::KSV {

/// One embedded object. It makes its `Scriptable` and outlives it: the host destroys the instance and lets go of the
/// scriptable object in calls of their own, what comes last ends both, and a host call that still runs on the object is
/// let out first. The browser's thread only.
class Plugin : public NPPlugin<Plugin, Scriptable> {
 public:
  Plugin(NPP instance, const NPNetscapeFuncs* funcs);
  ~Plugin() override;

  /// The instance's plug-in object, or null; never one that has ended, whatever the host still holds.
  static Plugin* Of(NPP instance);

  NPError Destroy(NPSavedData** saved) override;
  NPError SetWindow(NPWindow* npWindow) override;
  const char* GetPluginName() override;
  const char* GetPluginDescription() override;
  Scriptable* GetScriptable() override { return scriptable; }

  /// Marks a call of the host on the object; the last one out ends an object that is done.
  class Entry {
   public:
    explicit Entry(Plugin& entered) : plugin(entered) { ++plugin.runningEntries; }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
    ~Entry() {
      --plugin.runningEntries;
      plugin.EndIfDone();
    }

   private:
    Plugin& plugin;
  };

  /// The host's record of the scriptable object is ending, and with it the reference that is held here.
  void ObjectEnded() { scriptableObject = nullptr; }
  /// The scriptable object is ending. May end the plug-in.
  void ScriptableEnded();
  /// The name of an instance of a page; empty for a page that has ended. Any thread: `page` is only compared, until it
  /// is known to live.
  static std::string InstanceName(const void* page, uint32_t instanceId);
  /// The page is in no window any more; with the last page's the display's hooks go.
  void LeaveWindows();
  /// The browser's thread, which made the page. Any thread.
  [[nodiscard]] DWORD Thread() const { return thread; }
  /// True from `NPP_Destroy` on: the host's instance is gone.
  [[nodiscard]] bool IsDestroyed() const { return destroyed; }

  /// The last one that the host gave; events ask for it on threads of the library.
  std::atomic<HWND> window = nullptr;

  bool initialised = false;  ///< A successful `zubInit` or `wysInit` of this page stands.
  InitDebt agentDebt;
  InitDebt displayDebt;
  uint32_t agentMajorVersion = 0;  ///< One byte; 0 until the host agent has told it.
  InstanceMap instanceMap;

 private:
  Scriptable* scriptable = nullptr;  ///< Owned until the host holds it; null after its end.
  const DWORD thread = GetCurrentThreadId();
  bool destroyed = false;
  uint32_t runningEntries = 0;

  void ReleaseLibraries();
  void EndIfDone();
};

}  // namespace NorvoWebAPI::KSV
