#include "bridge/host/page_functions.h"

#include <memory>
#include <utility>

#include "bridge/host/page_values.h"
#include "kit/nphost/host.h"

namespace Bridge {

using nlohmann::json;
using NpHost::Host;

struct PageFunctions::Function : NPObject {
  PageFunctions* owner;
  uint32_t number;
  uint64_t seen;  // How often the page has passed it since the module holds it.
};

NPClass PageFunctions::functionClass{NP_CLASS_STRUCT_VERSION,
                                     nullptr,
                                     Deallocate,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     Run,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     ListNothing,
                                     nullptr};

NPObject* PageFunctions::Take(uint32_t number) {
  if (const auto known = held.find(number); known != held.end()) {
    ++known->second->seen;
    return Host::Current().Retain(known->second);
  }
  std::unique_ptr<Function> function(new Function{{&functionClass, 1}, this, number, 1});
  Host::Current().Add(function.get());
  held.emplace(number, function.get());
  return function.release();  // Its last reference ends it: see Deallocate.
}

void PageFunctions::Deallocate(NPObject* object) noexcept {
  const std::unique_ptr<Function> function(static_cast<Function*>(object));
  function->owner->held.erase(function->number);
  function->owner->forgotten.push_back(json::array({function->number, function->seen}));
}

void PageFunctions::TellForgotten() {
  if (!forgotten.empty()) send({{"forget", std::exchange(forgotten, json::array())}});
}

bool PageFunctions::Run(NPObject* object, const NPVariant* arguments, uint32_t count, NPVariant* result) {
  try {
    const auto* const function = static_cast<Function*>(object);
    // The page may end the instance before this returns.
    const NpHost::Variant hold(object);
    json list = json::array();
    for (uint32_t at = 0; at < count; ++at) list.push_back(WriteValue(arguments[at]));
    function->owner->send({{"run", function->number}, {"arguments", std::move(list)}});
    *result = {NPVariantType_Void, {}};
    return true;
  } catch (...) {
    return false;
  }
}

// Members that a page gives to a function stay in the page.
bool PageFunctions::ListNothing(NPObject* /*object*/, NPIdentifier** keys, uint32_t* count) {
  *keys = nullptr;
  *count = 0;
  return true;
}

}  // namespace Bridge
