/// Owners of the host's variants, memory and references. Releasing needs no instance, so it works after the instance's
/// end too.
#pragma once

#include <string>

#include "npapi/npfunctions.h"

namespace NorvoWebAPI {

/// Calls `release` and ignores its exceptions: a destructor must not throw, and nothing more can be done.
template <typename Release>
void ReleaseQuietly(Release release) noexcept {
  try {
    release();
  } catch (...) {
    return;
  }
}

/// A variant that the plug-in owns. The destructor releases its value.
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

/// Owns a pointer from the host. The destructor returns it by the host's function `giveBack`.
template <typename T, auto giveBack>
class HostOwned {
 public:
  HostOwned(const NPNetscapeFuncs* npnFuncs, T* lent) : funcs(npnFuncs), owned(lent) {}
  HostOwned(const HostOwned&) = delete;
  HostOwned& operator=(const HostOwned&) = delete;
  ~HostOwned() {
    if (owned) ReleaseQuietly([this] { (funcs->*giveBack)(owned); });
  }

  [[nodiscard]] T* Get() const { return owned; }

 private:
  const NPNetscapeFuncs* funcs;
  T* owned;
};

/// Host memory: identifier texts and arrays.
template <typename T>
using HostMemory = HostOwned<T, &NPNetscapeFuncs::memfree>;
/// One reference on a host object.
using HostObject = HostOwned<NPObject, &NPNetscapeFuncs::releaseobject>;

/// The host's text by its length.
std::string TextOf(const NPString& text);

/// The text of a string identifier, copied out of the host's memory. Throws `std::runtime_error` when there is none.
std::string IdentifierText(const NPNetscapeFuncs* npnFuncs, NPIdentifier id);

}  // namespace NorvoWebAPI
