#include "kit/nphost/instance.h"

#include <cstdint>
#include <stdexcept>

namespace NpHost {

Instance::Instance(Host& owner, const NPPluginFuncs& plugin, NPP of, std::string mimeType, const Attributes& attributes)
    : host(owner), funcs(plugin), record(of) {
  // The published signature has no const, but the texts are only read.
  std::vector<char*> names, values;
  for (const auto& [name, value] : attributes) {
    names.push_back(const_cast<char*>(name.c_str()));
    values.push_back(const_cast<char*>(value.c_str()));
  }
  const NPError made = funcs.newp(mimeType.data(), record, NP_EMBED, static_cast<int16_t>(names.size()), names.data(),
                                  values.data(), nullptr);
  if (made == NPERR_NO_ERROR) return;
  host.EndInstance(record, nullptr);
  throw std::runtime_error("The plug-in makes no instance: error " + std::to_string(made) + ".");
}

NPError Instance::SetWindow(void* window, int width, int height) {
  NPWindow described{};
  described.window = window;
  described.width = static_cast<uint32_t>(width);
  described.height = static_cast<uint32_t>(height);
  described.clipRect = {0, 0, static_cast<uint16_t>(height), static_cast<uint16_t>(width)};
  return funcs.setwindow(record, &described);
}

NPObject* Instance::Scriptable() {
  if (scriptable || ended) return scriptable;
  if (funcs.getvalue(record, NPPVpluginScriptableNPObject, static_cast<void*>(&scriptable)) != NPERR_NO_ERROR ||
      !scriptable) {
    throw std::runtime_error("The plug-in has no object for script.");
  }
  return scriptable;
}

NPError Instance::Destroy() {
  return std::exchange(destroyed, true) ? NPError{NPERR_NO_ERROR} : funcs.destroy(record, nullptr);
}

void Instance::End() {
  if (std::exchange(ended, true)) return;
  Destroy();
  host.EndInstance(record, std::exchange(scriptable, nullptr));
}

}  // namespace NpHost
