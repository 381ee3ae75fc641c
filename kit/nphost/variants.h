/// Variants that end with their owner. They belong to the host that lives.
#pragma once

#include <cstdint>
#include <vector>

#include "kit/nphost/host.h"

namespace NpHost {

class Variant {
 public:
  Variant() = default;
  explicit Variant(const NPVariant& taken) : variant(taken) {}
  /// Takes a reference of its own.
  explicit Variant(NPObject* object);
  ~Variant() { Host::Current().Release(variant); }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;

  NPVariant* Get() { return &variant; }

 private:
  NPVariant variant{NPVariantType_Void, {}};
};

/// The arguments of a call.
class VariantList {
 public:
  VariantList() = default;
  ~VariantList();
  VariantList(const VariantList&) = delete;
  VariantList& operator=(const VariantList&) = delete;

  /// Takes the variant over.
  void Add(const NPVariant& variant);
  /// Null when there are none.
  [[nodiscard]] const NPVariant* Data() const { return variants.empty() ? nullptr : variants.data(); }
  [[nodiscard]] uint32_t Size() const { return static_cast<uint32_t>(variants.size()); }

 private:
  std::vector<NPVariant> variants;
};

}  // namespace NpHost
