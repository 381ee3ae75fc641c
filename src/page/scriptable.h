#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "agent/cksv_plugin_zub.h"
#include "display/cksv_plugin_wys.h"
#include "page/display_state.h"
#include "page/initialisations.h"
#include "script/js_object.h"
#include "script/np_scriptable.h"

namespace NorvoWebAPI::KSV {

class Plugin;
struct MethodRow;

/// The object that page script holds: one property and the methods of the table in method_table.h. Every method but
/// the setters of page functions gives the page a result object with the outcome, whatever went wrong inside; only a
/// result that can't be handed over fails the script call. It lives by the host's reference count.
class Scriptable : public NPScriptable<Scriptable>, public DisplayState {
 public:
  /// `plugin` has to outlive the object. Throws what the bases throw.
  Scriptable(NPP npp, const NPNetscapeFuncs* npnFuncs, Plugin* plugin);
  ~Scriptable() override;

  void Deallocate() override;

  /// Runs one method's row. A null `result` gives no value back.
  bool RunMethod(const MethodRow& method, const NPVariant* args, uint32_t argCount, NPVariant* result);
  /// Runs `zubDeInit` for a page that goes away; and `wysDeInit`.
  void ReleaseAgent();
  void ReleaseDisplay();

  /// Scheme, host and port of the page, as the name of its folder in the token store. Asked of the host at each call;
  /// when the host has no page to tell of, the last origin that any instance found, empty at first. Throws
  /// `std::runtime_error` when the page's address can't be read, and for a page that is gone.
  const std::string& PageOrigin();

  /// Whether the library serves instances, not applets by name. Asked of the library until it answers.
  bool IsInstanceGeneration();
  /// The id of the page's instance for an applet, started on first use. The codes of the start stand in `result`, the
  /// id is 0 unless both are 0. A null name gives code 12.
  uint32_t ResolveInstance(const char* name, JSObject& result);

  [[nodiscard]] NPP Instance() const { return npp; }
  [[nodiscard]] const NPNetscapeFuncs* Host() const { return npnFuncs; }
  CKSVPluginZUB& Agent() { return agent; }
  CKSVPluginWYS& Display() { return display; }
  Plugin& Page() { return *plugin; }

  /// The page's function for agent events; a new registration replaces it whole.
  Callback agentEventCallback;

 private:
  /// A method that stores the page's function, and gives nothing back.
  bool RunSetter(const MethodRow& method, const NPVariant* args);
  template <size_t row>
  bool HandleMethod(const NPVariant* args, uint32_t argCount, NPVariant* result);
  template <size_t... rows>
  void RegisterMethods(std::index_sequence<rows...> all);
  bool GetVersionProperty(NPVariant* result);
  /// The display ends with the page: its session while an image stands in it, else what it owes.
  void EndDisplay();

  NPP npp;
  const NPNetscapeFuncs* npnFuncs;
  std::string version;
  CKSVPluginZUB agent;
  CKSVPluginWYS display;
  Plugin* plugin;
};

}  // namespace NorvoWebAPI::KSV
