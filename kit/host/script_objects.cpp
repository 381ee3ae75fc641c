#include "kit/host/script_objects.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "kit/host/script_engine.h"
#include "kit/host/script_values.h"
#include "kit/nphost/host.h"

namespace Kit {
namespace {

constexpr const char* kHeld = DUK_HIDDEN_SYMBOL("held");

struct ScriptObject : NPObject {
  void* value;  // The engine's own; the stash keeps it alive. Null once the page is gone.
};

std::unordered_map<void*, ScriptObject*>& Views() {
  static std::unordered_map<void*, ScriptObject*> views;
  return views;
}

// The stash holds the objects under numbers made of their addresses.
void PushHeld(duk_context* context) {
  duk_push_global_stash(context);
  if (!duk_get_prop_string(context, -1, kHeld)) {
    duk_pop(context);
    duk_push_bare_object(context);
    duk_dup(context, -1);
    duk_put_prop_string(context, -3, kHeld);
  }
  duk_remove(context, -2);
}

void PushKey(duk_context* context, NPIdentifier id) {
  const NpHost::Key& key = NpHost::Host::Current().KeyOf(id);
  if (const auto* number = std::get_if<int32_t>(&key)) {
    duk_push_int(context, *number);
  } else {
    PushText(context, std::get<std::string>(key));
  }
}

// Runs `work` with the object on the stack's top; false when it throws, or the page is gone.
template <typename Work>
bool On(NPObject* object, Work work) {
  ScriptEngine* const engine = ScriptEngine::Current();
  if (!engine || !static_cast<ScriptObject*>(object)->value) return false;
  bool answer = false;
  engine->Protect([&](duk_context* context) {
    PushScriptObject(context, object);
    answer = work(context);
  });
  return answer;
}

// Calls the function on the stack's top but one with the value on its top for `this`.
bool Call(duk_context* context, const NPVariant* args, uint32_t count, NPVariant* result) {
  if (!duk_is_callable(context, -2)) return false;
  duk_require_stack(context, static_cast<duk_idx_t>(count) + 1);
  for (uint32_t at = 0; at < count; ++at) PushVariant(context, args[at]);
  duk_call_method(context, static_cast<duk_idx_t>(count));
  *result = VariantAt(context, -1);
  return true;
}

void Deallocate(NPObject* object) {
  auto* const script = static_cast<ScriptObject*>(object);
  if (script->value) {
    Views().erase(script->value);
    if (ScriptEngine* const engine = ScriptEngine::Current()) {
      engine->Protect([&](duk_context* context) {
        PushHeld(context);
        duk_push_pointer(context, script->value);
        duk_del_prop(context, -2);
      });
    }
  }
  delete script;
}

bool HasProperty(NPObject* object, NPIdentifier id) {
  return On(object, [&](duk_context* context) {
    PushKey(context, id);
    return duk_has_prop(context, -2) != 0;
  });
}

bool GetProperty(NPObject* object, NPIdentifier id, NPVariant* result) {
  return On(object, [&](duk_context* context) {
    PushKey(context, id);
    const bool there = duk_get_prop(context, -2) != 0;
    if (there) *result = VariantAt(context, -1);
    return there;
  });
}

bool HasMethod(NPObject* object, NPIdentifier id) {
  return On(object, [&](duk_context* context) {
    PushKey(context, id);
    duk_get_prop(context, -2);
    return duk_is_callable(context, -1) != 0;
  });
}

bool Invoke(NPObject* object, NPIdentifier id, const NPVariant* args, uint32_t count, NPVariant* result) {
  return On(object, [&](duk_context* context) {
    PushKey(context, id);
    duk_get_prop(context, -2);
    duk_swap_top(context, -2);
    return Call(context, args, count, result);
  });
}

bool InvokeDefault(NPObject* object, const NPVariant* args, uint32_t count, NPVariant* result) {
  return On(object, [&](duk_context* context) {
    duk_push_undefined(context);
    return Call(context, args, count, result);
  });
}

bool SetProperty(NPObject* object, NPIdentifier id, const NPVariant* value) {
  return On(object, [&](duk_context* context) {
    PushKey(context, id);
    PushVariant(context, *value);
    return duk_put_prop(context, -3) != 0;
  });
}

bool RemoveProperty(NPObject* object, NPIdentifier id) {
  return On(object, [&](duk_context* context) {
    PushKey(context, id);
    return duk_del_prop(context, -2) != 0;
  });
}

bool Enumerate(NPObject* object, NPIdentifier** ids, uint32_t* count) {
  return On(object, [&](duk_context* context) {
    NpHost::Host& host = NpHost::Host::Current();
    std::vector<NPIdentifier> found;
    duk_enum(context, -1, DUK_ENUM_OWN_PROPERTIES_ONLY);
    while (duk_next(context, -1, 0)) {
      found.push_back(host.IdOfName(TextAt(context, -1)));
      duk_pop(context);
    }
    auto* const list = static_cast<NPIdentifier*>(host.Allocate(found.size() * sizeof(NPIdentifier)));
    if (!list) return false;
    std::ranges::copy(found, list);
    *ids = list;
    *count = static_cast<uint32_t>(found.size());
    return true;
  });
}

bool Construct(NPObject* object, const NPVariant* args, uint32_t count, NPVariant* result) {
  return On(object, [&](duk_context* context) {
    if (!duk_is_constructable(context, -1)) return false;
    duk_require_stack(context, static_cast<duk_idx_t>(count) + 1);
    for (uint32_t at = 0; at < count; ++at) PushVariant(context, args[at]);
    duk_new(context, static_cast<duk_idx_t>(count));
    *result = VariantAt(context, -1);
    return true;
  });
}

NPClass scriptClass{NP_CLASS_STRUCT_VERSION,
                    nullptr,
                    Deallocate,
                    nullptr,
                    HasMethod,
                    Invoke,
                    InvokeDefault,
                    HasProperty,
                    GetProperty,
                    SetProperty,
                    RemoveProperty,
                    Enumerate,
                    Construct};

}  // namespace

bool IsScriptObject(const NPObject* object) {
  return object->_class == &scriptClass;
}

NPObject* ScriptObjectAt(duk_context* context, duk_idx_t index) {
  duk_dup(context, index);
  duk_to_object(context, -1);
  void* const value = duk_get_heapptr(context, -1);
  const auto known = Views().find(value);
  if (known != Views().end()) {
    duk_pop(context);
    return NpHost::Host::Current().Retain(known->second);
  }
  PushHeld(context);
  duk_push_pointer(context, value);
  duk_dup(context, -3);
  duk_put_prop(context, -3);
  duk_pop_2(context);
  auto* const object = new ScriptObject{{&scriptClass, 1}, value};  // Its last reference ends it: see Deallocate.
  Views()[value] = object;
  NpHost::Host::Current().Add(object);
  return object;
}

void PushScriptObject(duk_context* context, const NPObject* object) {
  duk_push_heapptr(context, static_cast<const ScriptObject*>(object)->value);
}

void DetachScriptObjects() {
  for (const auto& [value, object] : Views()) object->value = nullptr;
  Views().clear();
}

}  // namespace Kit
