/// Owners for what the host hands over. Giving back needs no instance, so it is sound after the instance's end too.
#pragma once

#include <string>

#include "npapi/npfunctions.h"

namespace NorvoWebAPI {

/// Gives back what a host lent; a host that fails at it has nothing more to lose.
template <typename Release>
void ReleaseQuietly(Release release) noexcept {
  try {
    release();
  } catch (...) {
    return;
  }
}

/// A variant that belongs to this side; released with what it holds.
class HostVariant {
 public:
  explicit HostVariant(const NPNetscapeFuncs* npnFuncs) : funcs(npnFuncs) {}
  HostVariant(const HostVariant&) = delete;
  HostVariant& operator=(const HostVariant&) = delete;
  ~HostVariant() {
    if (variant.type != NPVariantType_Null) ReleaseQuietly([this] { funcs->releasevariantvalue(&variant); });
  }

  NPVariant* Out() { return &variant; }
  [[nodiscard]] const NPVariant& Get() const { return variant; }

 private:
  const NPNetscapeFuncs* funcs;
  NPVariant variant{NPVariantType_Null, {}};
};

/// Host memory: identifier texts and arrays.
template <typename T>
class HostMemory {
 public:
  HostMemory(const NPNetscapeFuncs* npnFuncs, T* owned) : funcs(npnFuncs), memory(owned) {}
  HostMemory(const HostMemory&) = delete;
  HostMemory& operator=(const HostMemory&) = delete;
  ~HostMemory() {
    if (memory) ReleaseQuietly([this] { funcs->memfree(memory); });
  }

  [[nodiscard]] T* Get() const { return memory; }

 private:
  const NPNetscapeFuncs* funcs;
  T* memory;
};

/// One reference on a host object.
class HostObject {
 public:
  HostObject(const NPNetscapeFuncs* npnFuncs, NPObject* owned) : funcs(npnFuncs), object(owned) {}
  HostObject(const HostObject&) = delete;
  HostObject& operator=(const HostObject&) = delete;
  ~HostObject() {
    if (object) ReleaseQuietly([this] { funcs->releaseobject(object); });
  }

  [[nodiscard]] NPObject* Get() const { return object; }

 private:
  const NPNetscapeFuncs* funcs;
  NPObject* object;
};

/// The host's text by its length; empty for none.
std::string TextOf(const NPString& text);

/// The text of a string identifier, copied out of the host's memory. Throws `std::runtime_error` when there is none.
std::string IdentifierText(const NPNetscapeFuncs* npnFuncs, NPIdentifier id);

}  // namespace NorvoWebAPI
