#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kit/nphost/host.h"

namespace NpHost {

/// One embedded object, from `NPP_New` to the end of its object for script.
class Instance {
 public:
  using Attributes = std::vector<std::pair<std::string, std::string>>;

  /// `NPP_New`, for a record of `Host::AddInstance`. Throws `std::runtime_error` when the plug-in refuses.
  Instance(Host& host, const NPPluginFuncs& funcs, NPP record, std::string mimeType, const Attributes& attributes = {});
  ~Instance() { End(); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  [[nodiscard]] NPP Record() const { return record; }
  /// Null takes the window away.
  NPError SetWindow(void* window, int width, int height);
  /// The object for script; the instance keeps the reference that the plug-in gave. Throws `std::runtime_error` when
  /// there is none, asked for the first time. Null from `End` on.
  NPObject* Scriptable();

  /// `NPP_Destroy`. The object for script goes on; a second call is a no-op.
  NPError Destroy();
  /// Destroys the instance and ends its object for script, whoever refers to it. May run inside a call on that object.
  void End();

 private:
  Host& host;
  const NPPluginFuncs& funcs;
  const NPP record;
  NPObject* scriptable = nullptr;
  bool destroyed = false;
  bool ended = false;
};

}  // namespace NpHost
