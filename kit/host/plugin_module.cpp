#include "kit/host/plugin_module.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "base/product.h"
#include "kit/host/host_table.h"
#include "kit/host/paths.h"
#include "shell/exports.h"

namespace Kit {
namespace {

[[noreturn]] void Refuse(const std::filesystem::path& path, const std::string& why) {
  throw std::runtime_error("The plug-in " + TextOf(path) + " " + why);
}

}  // namespace

PluginModule::PluginModule(const std::filesystem::path& path) {
  const std::u16string text = path.u16string();
  const std::basic_string<WCHAR> wide(text.begin(), text.end());
  module = LoadLibraryW(wide.c_str());
  if (!module) {
    Refuse(path, "can't be loaded: error " + std::to_string(GetLastError()) +
                     ". Build it for this system and these bits, or name it with --module.");
  }
  funcs.size = sizeof funcs;
  const NPError started = StartModule(module, &HostTable(), &funcs);
  if (started != NPERR_NO_ERROR || !funcs.newp || !funcs.destroy || !funcs.setwindow || !funcs.getvalue) {
    Refuse(path, "did not start: error " + std::to_string(started) + ". Name the right module with --module.");
  }
}

PluginModule::~PluginModule() {
  const FARPROC shutdown = GetProcAddress(module, "NP_Shutdown");
  if (shutdown) reinterpret_cast<decltype(&NP_Shutdown)>(reinterpret_cast<void*>(shutdown))();
}

PluginInstance::PluginInstance(const PluginModule& module, HWND window, int width, int height) : funcs(module.Funcs()) {
  std::string type = NorvoWebAPI::KSV::kMimeType;
  std::array<std::string, 3> names{"type", "width", "height"};
  std::array<std::string, 3> values{type, std::to_string(width), std::to_string(height)};
  std::array<char*, 3> argn{}, argv{};
  const auto text = [](std::string& value) { return value.data(); };
  std::ranges::transform(names, argn.begin(), text);
  std::ranges::transform(values, argv.begin(), text);
  NPError made =
      funcs.newp(type.data(), &record, NP_EMBED, static_cast<int16_t>(argn.size()), argn.data(), argv.data(), nullptr);
  if (made == NPERR_NO_ERROR) made = SetWindow(window, width, height);
  if (made != NPERR_NO_ERROR) {
    throw std::runtime_error("The plug-in makes no instance: error " + std::to_string(made) + ".");
  }
}

PluginInstance::~PluginInstance() {
  SetWindow(nullptr, 0, 0);
  funcs.destroy(&record, nullptr);
}

NPError PluginInstance::SetWindow(HWND window, int width, int height) {
  NPWindow described{};
  described.window = window;
  described.width = static_cast<uint32_t>(width);
  described.height = static_cast<uint32_t>(height);
  described.clipRect = {0, 0, static_cast<uint16_t>(height), static_cast<uint16_t>(width)};
  return funcs.setwindow(&record, &described);
}

NPObject* PluginInstance::Scriptable() {
  NPObject* object = nullptr;
  if (funcs.getvalue(&record, NPPVpluginScriptableNPObject, &object) != NPERR_NO_ERROR || !object) {
    throw std::runtime_error("The plug-in has no object for script.");
  }
  return object;
}

}  // namespace Kit
