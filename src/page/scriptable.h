#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "agent/cksv_plugin_zub.h"
#include "display/cksv_plugin_wys.h"
#include "page/display_state.h"
#include "page/method.h"
#include "page/page_life.h"
#include "script/np_scriptable.h"

namespace NorvoWebAPI::KSV {

/// The object that page script holds: one property and the methods of api/method_table.h. Every method but the setters
/// of callbacks gives the page a result object, whatever went wrong inside, or null where its operation has set no
/// code; a script call fails only when its result can't be converted. The object lives by the host's reference count,
/// also past the end of its instance: what needs the page's script then fails, all other work goes on. The browser's
/// thread only.
class Scriptable : public NPScriptable<Scriptable>, public DisplayState {
 public:
  /// Throws what the bases throw. `api` must outlive the object.
  Scriptable(NPP npp, const NPNetscapeFuncs* npnFuncs, std::shared_ptr<PageLife> life, const ScriptApi& api);
  ~Scriptable() override;

  /// Runs one method. A null `result` gives no value back.
  bool RunMethod(const MethodRow& method, const NPVariant* args, uint32_t argCount, NPVariant* result);

  /// Scheme, host and port of the page, as the name of its folder in the token store. Asked of the host at each call;
  /// when the host has no window object to give, the last origin that any page asked for, empty at first. Throws
  /// `std::runtime_error` when the address can't be read or the instance has ended.
  const std::string& PageOrigin();

  /// Whether the agent library serves instances instead of applets by name. Asked of the library until it answers.
  bool IsInstanceGeneration();
  /// The id of the page's instance for an applet, which is started on first use. Gives the codes of the start; without
  /// success the id is 0. A null name gives 12.
  Outcome ResolveInstance(const char* name, uint32_t& instanceId);

  /// Wraps a page's function for one of the callback slots. Throws as `NPFuncBridge` does.
  [[nodiscard]] Callback BridgeTo(NPObject* function) const;

  [[nodiscard]] NPP Npp() const { return npp; }
  [[nodiscard]] const NPNetscapeFuncs* Host() const { return npnFuncs; }
  [[nodiscard]] PageLife& Life() const { return *life; }
  [[nodiscard]] const std::shared_ptr<PageLife>& SharedLife() const { return life; }
  CKSVPluginZUB& Agent() { return agent; }
  CKSVPluginWYS& Display() { return display; }
  [[nodiscard]] const ScriptApi& Api() const { return api; }

  /// The page's function for agent events; a new registration replaces it.
  Callback agentEventCallback;

 private:
  bool GetVersionProperty(NPVariant* result);

  NPP npp;
  const NPNetscapeFuncs* npnFuncs;
  std::shared_ptr<PageLife> life;
  const ScriptApi& api;
  std::string version;
  CKSVPluginZUB agent;
  CKSVPluginWYS display;
};

}  // namespace NorvoWebAPI::KSV
