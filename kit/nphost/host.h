/// A browser in front of one plug-in module: the table of host functions and all that is handed over through it.
///
/// With accounts the host reports what breaks the interface's rules: memory, references and variants that are released
/// twice or by the wrong allocator, calls for an instance that is gone, objects used after their end, identifiers that
/// nobody gave. `Leaks` tells what is left over. What ends is poisoned; texts have no terminator.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "kit/nphost/accounts.h"
#include "kit/nphost/identifiers.h"
#include "kit/nphost/memory.h"
#include "kit/nphost/objects.h"
#include "npapi/npfunctions.h"

namespace NpHost {

/// One at a time in a process, for host functions come without a context; any number of instances. Everything runs on
/// the thread that calls the plug-in. No exception may leave the functions that a program implements here or in the
/// classes of its objects.
class Host {
 public:
  explicit Host(Accounts accounts = Accounts::Kept);
  /// Frees the memory that is left. The plug-in must not call any more.
  virtual ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// The host that lives.
  static Host& Current();

  /// For `NP_Initialize`. Functions that the host does not have are null: streams, posts, Java, drawing, pop-ups, calls
  /// from other threads, evaluation of script.
  NPNetscapeFuncs& Funcs() { return funcs; }

  void* Allocate(size_t size) { return memory.Allocate(size); }
  void Free(void* block) { memory.Free(block); }

  NPIdentifier Id(Key key) { return identifiers.Of(std::move(key)); }
  NPIdentifier IdOfName(const std::string& name) { return identifiers.OfName(name); }
  [[nodiscard]] const Key& KeyOf(NPIdentifier identifier) const { return identifiers.KeyOf(identifier); }
  /// About how much memory the identifiers take. They live as long as the host, and pages choose names as they like.
  [[nodiscard]] size_t NameBytes() const { return identifiers.Bytes(); }

  /// Takes up an object of the browser's, see `Objects::Add`.
  void Add(NPObject* object, uint32_t kept = 0) { objects.Add(object, Maker::Browser, kept); }
  NPObject* Retain(NPObject* object) { return objects.Retain(object); }
  void Release(NPObject* object) { objects.Release(object); }
  [[nodiscard]] uint32_t References(const NPObject* object) const { return objects.References(object); }
  /// Objects that the plug-in made and that live.
  [[nodiscard]] size_t PluginObjects() const { return objects.Count(Maker::Plugin); }

  /// A text in host memory. Throws `std::bad_alloc`.
  NPVariant Text(std::string_view utf8);
  /// Leaves the variant undefined.
  void Release(NPVariant& variant);

  /// The record of a new instance. It lives as long as the host.
  NPP AddInstance();
  /// Ends the instance's objects, whoever refers to them, and poisons the record. `scriptable` may be null.
  void EndInstance(NPP instance, NPObject* scriptable);

  /// A sentence for each thing of the host's that the plug-in has not given back, and for each object of its own.
  [[nodiscard]] std::vector<std::string> Leaks() const;

 protected:
  /// The window object of an instance, with a reference for the caller; null when there is none.
  virtual NPObject* WindowOf(NPP instance) = 0;
  /// By default the browser fetches nothing.
  virtual NPError GetUrlNotify(NPP instance, const char* url, const char* target, void* notifyData);
  virtual void ShowStatus(NPP /*instance*/, const char* /*message*/) {}
  virtual const char* UserAgent() { return "nphost"; }
  /// What the script that called the plug-in is to catch.
  virtual void SetException(NPObject* /*object*/, const char* /*message*/) {}
  virtual void ReportMisuse(const std::string& misuse) = 0;
  /// Calls the class's `allocate`, or makes a plain object where there is none.
  virtual NPObject* AllocateObject(NPP instance, NPClass* objectClass);

 private:
  friend struct HostTable;

  NPError GetValue(NPP instance, NPNVariable variable, void* out);
  NPObject* CreateObject(NPP instance, NPClass* objectClass);
  NPUTF8* Utf8FromIdentifier(NPIdentifier identifier);
  int32_t IntFromIdentifier(NPIdentifier identifier);
  /// Reports what is wrong; `call` is the host function's name.
  [[nodiscard]] bool DemandInstance(NPP instance, const char* call);
  [[nodiscard]] bool DemandLive(const NPObject* object, const char* call);

  const Accounts accounts;
  NPNetscapeFuncs funcs{};
  Memory memory;
  Identifiers identifiers;
  Objects objects;
  std::deque<NPP_t> records;
  std::unordered_set<NPP> instances;  // Those that live.
};

}  // namespace NpHost
