/// What floors are made of: the work that stays when the plug-in's own is taken away.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "npapi/npfunctions.h"
#include "platform/win32.h"

namespace Bench {

/// libb64's own decode of a text, into memory that is there.
void DecodeBare(benchmark::State& state, const std::string& text);

/// Opens a file by the C library, reads it and closes it.
void ReadBare(const std::string& path);

/// The names in a folder. Where case counts, no shorter way leads to a name that may differ in case.
std::vector<std::string> ListBare(const std::string& folder);

/// What a result with so many members costs: an object of the host's whose members are kept by their names, for that is
/// how the host asks for them. Made, asked once and let go.
void MakeAndReadResult(size_t members = 2);

/// What it costs to tell a page's function something: such an object, and the call.
void TellFunction(size_t members);

/// As many names as the page's object has: one look-up is the dispatch of a call.
class MethodNames {
 public:
  MethodNames();
  void LookUp() const { benchmark::DoNotOptimize(names.find(wanted)); }

 private:
  std::unordered_map<NPIdentifier, int> names;
  NPIdentifier wanted;
};

/// A hook of this thread's, by default one that passes everything on: the walk along the chain is the system's, and
/// costs the same whoever hangs there.
class BareHook {
 public:
  explicit BareHook(int type, HOOKPROC procedure = PassOn);
  ~BareHook();
  BareHook(const BareHook&) = delete;
  BareHook& operator=(const BareHook&) = delete;

  static LRESULT CALLBACK PassOn(int code, WPARAM wParam, LPARAM lParam);

 private:
  HHOOK hook;
};

FARPROC FindLibraryEntry(const char* library, const char* name);

/// An entry point of a library that the page uses.
template <typename Signature>
Signature* LibraryEntry(const char* library, const char* name) {
  return reinterpret_cast<Signature*>(reinterpret_cast<void*>(FindLibraryEntry(library, name)));
}

}  // namespace Bench
