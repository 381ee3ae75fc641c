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

/// What the host lent, until its call `giveBack` has it again.
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

/// The host's text by its length; empty for none.
std::string TextOf(const NPString& text);

/// The text of a string identifier, copied out of the host's memory. Throws `std::runtime_error` when there is none.
std::string IdentifierText(const NPNetscapeFuncs* npnFuncs, NPIdentifier id);

}  // namespace NorvoWebAPI
