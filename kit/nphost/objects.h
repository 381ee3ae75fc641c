#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "kit/nphost/accounts.h"
#include "npapi/npruntime.h"

namespace NpHost {

enum class Maker { Browser, Plugin };

/// The objects on both sides of the interface and their references. An object ends with its last reference, by the
/// `deallocate` of its class.
class Objects {
 public:
  Objects(Accounts accounts, Report report);
  Objects(const Objects&) = delete;
  Objects& operator=(const Objects&) = delete;

  /// Takes up an object with the references it has. `kept` of them are the host's own until its end: a release of one
  /// is reported. `instance` is that of a plug-in's object.
  void Add(NPObject* object, Maker maker, uint32_t kept = 0, NPP instance = nullptr);
  /// Without accounts every object is.
  [[nodiscard]] bool IsLive(const NPObject* object) const;

  NPObject* Retain(NPObject* object);
  void Release(NPObject* object);
  /// Ends an object whoever refers to it. No-op for one that has ended.
  void End(NPObject* object);
  /// The same for all objects that the plug-in made for an instance.
  void EndAllOf(NPP instance);

  /// 0 for an object that has ended.
  [[nodiscard]] uint32_t References(const NPObject* object) const;
  [[nodiscard]] size_t Count(Maker maker) const;
  /// A sentence for each object with references that should have been released.
  [[nodiscard]] std::vector<std::string> Leaks() const;

 private:
  struct Record {
    Maker maker;
    uint32_t kept;
    NPP instance;
  };

  [[nodiscard]] bool DemandLive(const NPObject* object, const char* what) const;

  const Accounts accounts;
  const Report report;
  std::unordered_map<NPObject*, Record> live;
};

}  // namespace NpHost
