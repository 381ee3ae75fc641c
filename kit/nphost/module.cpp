#include "kit/nphost/module.h"

#include <stdexcept>
#include <string>

namespace NpHost {
namespace {

template <typename Entry>
Entry EntryOf(HMODULE module, const char* name) {
  return reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

ModuleEntries Load(const std::filesystem::path& path) {
  const std::u16string text = path.u16string();
  const std::basic_string<WCHAR> wide(text.begin(), text.end());
  const HMODULE module = LoadLibraryW(wide.c_str());
  if (!module) {
    throw std::runtime_error("The plug-in can't be loaded: error " + std::to_string(GetLastError()) +
                             ". Is it there, and built for this system and these bits?");
  }
  return {EntryOf<decltype(&NP_GetEntryPoints)>(module, "NP_GetEntryPoints"),
          EntryOf<InitializeEntry>(module, "NP_Initialize"), EntryOf<decltype(&NP_Shutdown)>(module, "NP_Shutdown")};
}

}  // namespace

Module::Module(const std::filesystem::path& path, NPNetscapeFuncs& host) : Module(Load(path), host) {}

Module::Module(const ModuleEntries& exported, NPNetscapeFuncs& host) : entries(exported) {
  funcs.size = sizeof funcs;
  const NPError started = StartModule(entries, &host, &funcs);
  if (started != NPERR_NO_ERROR || !funcs.newp || !funcs.destroy || !funcs.setwindow || !funcs.getvalue) {
    throw std::runtime_error("The plug-in did not start: error " + std::to_string(started) + ".");
  }
}

Module::~Module() {
  if (entries.shutdown) entries.shutdown();
}

}  // namespace NpHost
