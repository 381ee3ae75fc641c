#include "kit/host/plugin_objects.h"

#include <optional>
#include <string>
#include <utility>

#include "kit/host/script_values.h"
#include "kit/nphost/host.h"
#include "kit/nphost/variants.h"

namespace Kit {

using NpHost::Host;

namespace {

constexpr const char* kObject = DUK_HIDDEN_SYMBOL("object");
constexpr const char* kHolder = DUK_HIDDEN_SYMBOL("holder");
constexpr const char* kName = DUK_HIDDEN_SYMBOL("name");
constexpr const char* kHandler = DUK_HIDDEN_SYMBOL("handler");

std::optional<std::string> exception;

void ThrowPluginException(duk_context* context) {
  if (const auto raised = std::exchange(exception, {})) ThrowError(context, *raised);
}

// Null when the value has none.
NPObject* ObjectBehind(duk_context* context, duk_idx_t index) {
  duk_get_prop_string(context, index, kObject);
  auto* const object = static_cast<NPObject*>(duk_get_pointer(context, -1));
  duk_pop(context);
  return object;
}

// What each trap begins with: the object, and the member that script asks for.
struct Asked {
  explicit Asked(duk_context* context)
      : object(ObjectBehind(context, 0)), name(TextAt(context, 1)), id(Host::Current().IdOfName(name)) {}
  [[nodiscard]] bool IsProperty() const {
    return object->_class->hasProperty && object->_class->hasProperty(object, id);
  }
  [[nodiscard]] bool IsMethod() const { return object->_class->hasMethod && object->_class->hasMethod(object, id); }

  NPObject* object;
  std::string name;
  NPIdentifier id;
};

duk_ret_t Finalize(duk_context* context) {
  NPObject* const object = ObjectBehind(context, 0);
  // An object that was made with this one for a prototype inherits its end as well, but no reference.
  duk_get_prop_string(context, 0, kHolder);
  if (duk_get_pointer(context, -1) != duk_get_heapptr(context, 0)) return 0;
  duk_del_prop_string(context, 0, kObject);  // The engine may come a second time.
  Host::Current().Release(object);
  return 0;
}

// Puts the object with a reference of its own into the value on the stack's top.
void Attach(duk_context* context, NPObject* object) {
  duk_push_pointer(context, Host::Current().Retain(object));
  duk_put_prop_string(context, -2, kObject);
  duk_push_pointer(context, duk_get_heapptr(context, -1));
  duk_put_prop_string(context, -2, kHolder);
  duk_push_c_function(context, Finalize, 1);
  duk_set_finalizer(context, -2);
}

duk_ret_t CallMethod(duk_context* context) {
  duk_push_current_function(context);
  NPObject* const object = ObjectBehind(context, -1);
  duk_get_prop_string(context, -1, kName);
  const std::string name = TextAt(context, -1);
  duk_pop_2(context);
  // Whatever the call does, the object outlives it.
  const NpHost::Variant hold(object);
  NpHost::VariantList args;
  AddVariants(context, 0, args);
  NpHost::Variant result;
  exception.reset();
  const bool done =
      object->_class->invoke(object, Host::Current().IdOfName(name), args.Data(), args.Size(), result.Get());
  ThrowPluginException(context);
  if (!done) ThrowError(context, "the plug-in refused the call of " + name);
  PushVariant(context, *result.Get());
  return 1;
}

duk_ret_t Get(duk_context* context) {
  if (duk_is_symbol(context, 1)) return 0;
  const Asked asked(context);
  if (asked.IsProperty()) {
    NpHost::Variant value;
    exception.reset();
    const bool done = asked.object->_class->getProperty(asked.object, asked.id, value.Get());
    ThrowPluginException(context);
    if (!done) return 0;
    PushVariant(context, *value.Get());
    return 1;
  }
  if (!asked.IsMethod()) {
    // What every object has, so that this one turns into text like any other.
    duk_dup(context, 1);
    duk_get_prop(context, 0);
    return 1;
  }
  duk_push_c_function(context, CallMethod, DUK_VARARGS);
  Attach(context, asked.object);
  PushText(context, asked.name);
  duk_put_prop_string(context, -2, kName);
  return 1;
}

duk_ret_t Has(duk_context* context) {
  if (duk_is_symbol(context, 1)) return duk_push_false(context), 1;
  const Asked asked(context);
  duk_push_boolean(context, asked.IsProperty() || asked.IsMethod() ? 1 : 0);
  return 1;
}

duk_ret_t Set(duk_context* context) {
  const Asked asked(context);
  NpHost::Variant value(VariantAt(context, 2));
  exception.reset();
  const NPClass& table = *asked.object->_class;
  const bool done = table.setProperty && table.setProperty(asked.object, asked.id, value.Get());
  ThrowPluginException(context);
  if (!done) ThrowError(context, "the plug-in does not let " + asked.name + " be set");
  duk_push_true(context);
  return 1;
}

duk_ret_t Delete(duk_context* context) {
  const Asked asked(context);
  const NPClass& table = *asked.object->_class;
  duk_push_boolean(context, table.removeProperty && table.removeProperty(asked.object, asked.id) ? 1 : 0);
  return 1;
}

duk_ret_t OwnKeys(duk_context* context) {
  NPObject* const object = ObjectBehind(context, 0);
  NPIdentifier* ids = nullptr;
  uint32_t count = 0;
  const bool listed = object->_class->enumerate && object->_class->enumerate(object, &ids, &count);
  duk_push_array(context);
  for (uint32_t at = 0; listed && ids && at < count; ++at) {
    const NpHost::Key& key = Host::Current().KeyOf(ids[at]);
    const auto* const number = std::get_if<int32_t>(&key);
    PushText(context, number ? std::to_string(*number) : std::get<std::string>(key));
    // The engine lists only what it finds in the object behind as well.
    duk_dup(context, -1);
    duk_push_undefined(context);
    duk_put_prop(context, 0);
    duk_put_prop_index(context, -2, at);
  }
  if (ids) Host::Current().Free(ids);
  return 1;
}

void PushHandler(duk_context* context) {
  static const duk_function_list_entry kTraps[] = {{"get", Get, 3},         {"has", Has, 2},
                                                   {"set", Set, 4},         {"deleteProperty", Delete, 2},
                                                   {"ownKeys", OwnKeys, 1}, {nullptr, nullptr, 0}};
  duk_push_global_stash(context);
  if (!duk_get_prop_string(context, -1, kHandler)) {
    duk_pop(context);
    duk_push_bare_object(context);
    duk_put_function_list(context, -1, kTraps);
    duk_dup(context, -1);
    duk_put_prop_string(context, -3, kHandler);
  }
  duk_remove(context, -2);
}

}  // namespace

void PushPluginObject(duk_context* context, NPObject* object) {
  duk_push_object(context);
  Attach(context, object);
  PushHandler(context);
  duk_push_proxy(context, 0);
}

NPObject* PluginObjectAt(duk_context* context, duk_idx_t index) {
  if (!duk_is_object(context, index) || duk_is_function(context, index)) return nullptr;
  NPObject* const object = ObjectBehind(context, index);
  return object ? Host::Current().Retain(object) : nullptr;
}

void SetPluginException(const char* message) {
  exception = message ? message : "the plug-in gave no reason";
}

}  // namespace Kit
