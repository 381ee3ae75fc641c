#include "tests/support/test_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "tests/support/module_exports.h"
#include "tests/support/nth_failure.h"

namespace support {
namespace {

constexpr unsigned char kPoison = 0xDD;
constexpr uint32_t kEnded = 0xDDDDDDDD;  // The count of a page object that is gone.

TestHost* current = nullptr;

void Poison(void* memory, size_t size) {
  std::memset(memory, kPoison, size);
}

// Stands for every class of the page's own; nothing of it is ever called by the plug-in.
NPClass pageClass{};

}  // namespace

ScriptObject& ScriptObject::Define(Key key, Getter getter) {
  const auto known = std::ranges::find(members, key, [](const auto& member) { return member.first; });
  if (known != members.end()) {
    known->second = std::move(getter);
  } else {
    members.emplace_back(std::move(key), std::move(getter));
  }
  return *this;
}

const Getter* ScriptObject::Find(const Key& key) const {
  const auto found = std::ranges::find(members, key, [](const auto& member) -> const Key& { return member.first; });
  return found == members.end() ? nullptr : &found->second;
}

// The table's entries have no context: they serve the one host there is.
struct HostTable {
  static void Fill(NPNetscapeFuncs& funcs) {
    funcs.size = sizeof funcs;
    funcs.version = 27;
    funcs.memalloc = [](uint32_t size) -> void* {
      return current->Fails(Fault::MemAlloc) ? nullptr : current->Allocate(size);
    };
    funcs.memfree = [](void* block) { current->Free(block); };
    funcs.geturlnotify = [](NPP npp, const char* url, const char* target, void* notifyData) {
      return current->GetURLNotify(npp, url, target, notifyData);
    };
    funcs.getvalue = [](NPP npp, NPNVariable variable, void* out) -> NPError {
      if (variable != NPNVWindowNPObject || current->Fails(Fault::GetValue)) return NPERR_GENERIC_ERROR;
      return current->GetWindow(npp, out);
    };
    funcs.getstringidentifier = [](const NPUTF8* name) {
      const InPlugin host(false);
      return current->Id(std::string(name));
    };
    funcs.identifierisstring = [](NPIdentifier id) { return std::holds_alternative<std::string>(current->KeyOf(id)); };
    funcs.intfromidentifier = [](NPIdentifier id) { return std::get<int32_t>(current->KeyOf(id)); };
    funcs.utf8fromidentifier = [](NPIdentifier id) -> NPUTF8* {
      if (current->Fails(Fault::Utf8FromIdentifier)) return nullptr;
      const std::string& text = std::get<std::string>(current->KeyOf(id));
      return static_cast<NPUTF8*>(std::memcpy(current->Allocate(text.size() + 1), text.c_str(), text.size() + 1));
    };
    funcs.createobject = [](NPP npp, NPClass* aClass) { return current->CreateObject(npp, aClass); };
    funcs.retainobject = [](NPObject* object) { return current->Retain(object); };
    funcs.releaseobject = [](NPObject* object) { current->Release(object); };
    funcs.releasevariantvalue = [](NPVariant* variant) { current->Release(*variant); };
    funcs.hasproperty = [](NPP npp, NPObject* object, NPIdentifier id) {
      current->EnterScript(npp, "NPN_HasProperty");
      return !current->Fails(Fault::HasProperty) && current->Live(object)->Find(current->KeyOf(id)) != nullptr;
    };
    funcs.getproperty = [](NPP npp, NPObject* object, NPIdentifier id, NPVariant* result) {
      return current->GetProperty(npp, object, id, result);
    };
    funcs.invoke = [](NPP npp, NPObject* object, NPIdentifier id, const NPVariant* args, uint32_t count,
                      NPVariant* result) {
      current->EnterScript(npp, "NPN_Invoke");
      const Getter* const method = current->Live(object)->Find(current->KeyOf(id));
      if (!method || current->Fails(Fault::Invoke)) return false;
      const InPlugin page(false);
      const Value function = (*method)();
      return std::holds_alternative<NPObject*>(function) &&
             current->Run(std::get<NPObject*>(function), args, count, result);
    };
    funcs.invokeDefault = [](NPP npp, NPObject* object, const NPVariant* args, uint32_t count, NPVariant* result) {
      current->EnterScript(npp, "NPN_InvokeDefault");
      EXPECT_EQ(args == nullptr, count == 0) << "NPN_InvokeDefault";
      return !current->Fails(Fault::InvokeDefault) && current->Run(object, args, count, result);
    };
    funcs.enumerate = [](NPP npp, NPObject* object, NPIdentifier** ids, uint32_t* count) {
      return current->Enumerate(npp, object, ids, count);
    };
  }
};

TestHost::TestHost() {
  EXPECT_EQ(current, nullptr) << "one host at a time";
  current = this;
  HostTable::Fill(funcs);
  EXPECT_EQ(InitializeModule(&funcs), NPERR_NO_ERROR);
}

TestHost::~TestHost() {
  for (const auto& [block, size] : blocks) {
    ADD_FAILURE() << size << " bytes of host memory were never freed";
    std::free(block);
  }
  for (const auto& [key, object] : objects) {
    EXPECT_EQ(object->referenceCount, object->temporary ? kEnded : 1)
        << "references on a page object were never released";
  }
  EXPECT_TRUE(pluginObjects.empty()) << pluginObjects.size() << " objects of the plug-in were never ended";
  for (const auto& [fault, coming] : faults) {
    EXPECT_LE(coming, 0) << "fault " << static_cast<int>(fault) << " never came";
  }
  current = nullptr;
}

bool TestHost::Fails(Fault fault) {
  if (FailsNow(Source::Host)) return true;
  const auto planned = faults.find(fault);
  return planned != faults.end() && --planned->second == 0;
}

void TestHost::CheckInstance(NPP npp, const char* call) const {
  EXPECT_TRUE(instances.contains(npp)) << call << " for an instance that is gone or never was";
}

void TestHost::EnterScript(NPP npp, const char* call) const {
  CheckInstance(npp, call);
  PageMayEnd();
}

void* TestHost::Allocate(size_t size) {
  const InPlugin host(false);
  void* const block = std::malloc(size);
  if (size > 0) Poison(block, size);
  blocks[block] = size;
  return block;
}

void TestHost::Free(void* block) {
  const auto known = blocks.find(block);
  if (known == blocks.end()) {
    ADD_FAILURE() << "freed memory that the host didn't give, or twice";
    return;
  }
  Poison(block, known->second);
  blocks.erase(known);
  std::free(block);
}

ScriptObject* TestHost::Object(std::vector<std::pair<Key, Value>> members) {
  auto made = std::make_unique<ScriptObject>();
  ScriptObject* const object = made.get();
  object->_class = &pageClass;
  object->referenceCount = 1;
  for (auto& [key, value] : members) object->Set(std::move(key), std::move(value));
  objects[object] = std::move(made);
  return object;
}

ScriptObject* TestHost::Temporary() {
  ScriptObject* const object = Object();
  object->temporary = true;
  object->referenceCount = 0;
  return object;
}

ScriptObject* TestHost::NewFunction(Function function) {
  ScriptObject* const object = Object();
  object->function = std::move(function);
  return object;
}

ScriptObject* TestHost::Live(NPObject* object) {
  static ScriptObject none;
  const auto known = objects.find(object);
  if (known != objects.end() && known->second->referenceCount != kEnded) return known->second.get();
  ADD_FAILURE() << "used an object that is no page object or has ended";
  return &none;
}

NPObject* TestHost::Retain(NPObject* object) {
  if (!pluginObjects.contains(object)) object = Live(object);
  ++object->referenceCount;
  return object;
}

void TestHost::Release(NPObject* object) {
  if (const auto known = pluginObjects.find(object); known != pluginObjects.end()) {
    if (--object->referenceCount > 0) return;
    pluginObjects.erase(known);
    object->_class->deallocate(object);
    return;
  }
  ScriptObject* const page = Live(object);
  if (page != object || --page->referenceCount > 0) return;
  if (!page->temporary) {
    ADD_FAILURE() << "released a reference on a page object that was the host's own";
    page->referenceCount = 1;
    return;
  }
  page->members.clear();
  page->function = nullptr;
  page->referenceCount = kEnded;
}

NPP TestHost::NewInstance(const std::string& address) {
  NPP_t& record = records.emplace_back();
  ScriptObject* const location = Object();
  location->Set("toString", NewFunction([address](const auto&, Value& result) {
                  result = address;
                  return true;
                }));
  instances[&record] = Object({{"location", location}});
  return &record;
}

void TestHost::EndInstance(NPP npp, NPObject* scriptable) {
  instances.erase(npp);
  Poison(npp, sizeof *npp);
  if (!scriptable || pluginObjects.erase(scriptable) == 0) return;
  scriptable->_class->invalidate(scriptable);
  scriptable->_class->deallocate(scriptable);
}

NPError TestHost::GetWindow(NPP npp, void* out) {
  CheckInstance(npp, "NPN_GetValue");
  const auto known = instances.find(npp);
  if (known == instances.end()) return NPERR_INVALID_INSTANCE_ERROR;
  *static_cast<NPObject**>(out) = Retain(known->second);
  return NPERR_NO_ERROR;
}

NPError TestHost::GetURLNotify(NPP npp, const char* url, const char* target, void* notifyData) {
  CheckInstance(npp, "NPN_GetURLNotify");
  EXPECT_EQ(target, nullptr) << "a fetch for a frame brings the plug-in no stream";
  if (Fails(Fault::GetURLNotify)) return NPERR_GENERIC_ERROR;
  fetches.push_back({npp, url, notifyData});
  return NPERR_NO_ERROR;
}

NPVariant TestHost::Make(const Value& value) {
  NPVariant variant{NPVariantType_Void, {}};
  variant.type = static_cast<NPVariantType>(value.index());
  if (const auto* flag = std::get_if<bool>(&value)) variant.value.boolValue = *flag;
  if (const auto* number = std::get_if<int32_t>(&value)) variant.value.intValue = *number;
  if (const auto* number = std::get_if<double>(&value)) variant.value.doubleValue = *number;
  if (const auto* object = std::get_if<NPObject*>(&value)) variant.value.objectValue = Retain(*object);
  if (const auto* text = std::get_if<std::string>(&value)) {
    auto* const block = static_cast<char*>(Allocate(text->size()));
    std::memcpy(block, text->data(), text->size());
    variant.value.stringValue = {block, static_cast<uint32_t>(text->size())};
  }
  return variant;
}

void TestHost::Release(NPVariant& variant) {
  const NPVariant released = std::exchange(variant, NPVariant{NPVariantType_Void, {}});
  if (released.type == NPVariantType_String) Free(const_cast<NPUTF8*>(released.value.stringValue.UTF8Characters));
  if (released.type == NPVariantType_Object) Release(released.value.objectValue);
}

Value TestHost::Read(const NPVariant& variant) {
  const auto& [type, value] = variant;
  if (type == NPVariantType_Null) return nullptr;
  if (type == NPVariantType_Bool) return value.boolValue;
  if (type == NPVariantType_Int32) return value.intValue;
  if (type == NPVariantType_Double) return value.doubleValue;
  if (type == NPVariantType_Object) return value.objectValue;
  if (type != NPVariantType_String) return {};
  return std::string(value.stringValue.UTF8Characters, value.stringValue.UTF8Length);
}

NPIdentifier TestHost::Id(const Key& key) {
  const NPIdentifier id = const_cast<Key*>(&*keys.insert(key).first);
  identifiers.insert(id);
  return id;
}

const Key& TestHost::KeyOf(NPIdentifier id) const {
  static const Key none = std::string("no identifier");
  if (identifiers.contains(id)) return *static_cast<const Key*>(id);
  ADD_FAILURE() << "used an identifier that the host didn't give";
  return none;
}

NPObject* TestHost::CreateObject(NPP npp, NPClass* aClass) {
  CheckInstance(npp, "NPN_CreateObject");
  if (Fails(Fault::CreateObject)) return nullptr;
  NPObject* const object = aClass->allocate(npp, aClass);
  if (!object) return nullptr;
  object->_class = aClass;
  object->referenceCount = 1;
  if (Fails(Fault::CreateObjectLate)) {
    aClass->deallocate(object);
    return nullptr;
  }
  const InPlugin host(false);
  pluginObjects[object] = npp;
  return object;
}

bool TestHost::GetProperty(NPP npp, NPObject* object, NPIdentifier id, NPVariant* result) {
  EnterScript(npp, "NPN_GetProperty");
  const Getter* const known = Live(object)->Find(KeyOf(id));
  if (!known || Fails(Fault::GetProperty)) return false;
  const InPlugin page(false);
  const Getter getter = *known;  // The page may change the member from inside.
  *result = Make(getter());
  return true;
}

bool TestHost::Run(NPObject* object, const NPVariant* args, uint32_t count, NPVariant* result) {
  if (pluginObjects.contains(object)) return object->_class->invokeDefault(object, args, count, result);
  const InPlugin page(false);
  const Function function = Live(object)->function;
  if (!function) return false;
  std::vector<Value> values;
  std::transform(args, args + count, std::back_inserter(values), Read);
  Value answer;
  const bool answered = function(values, answer);
  *result = Make(answered ? answer : Value(nullptr));
  return answered;
}

bool TestHost::Enumerate(NPP npp, NPObject* object, NPIdentifier** ids, uint32_t* count) {
  EnterScript(npp, "NPN_Enumerate");
  if (Fails(Fault::Enumerate)) return false;
  if (pluginObjects.contains(object)) return object->_class->enumerate(object, ids, count);
  const InPlugin page(false);
  const auto& members = Live(object)->members;
  *count = static_cast<uint32_t>(members.size());
  *ids = static_cast<NPIdentifier*>(Allocate(members.size() * sizeof(NPIdentifier)));
  std::ranges::transform(members, *ids, [this](const auto& member) { return Id(member.first); });
  return true;
}

bool TestHost::Call(NPObject* object, const std::string& method, const std::vector<Value>& args, NPVariant* result) {
  std::vector<NPVariant> variants;
  std::ranges::transform(args, std::back_inserter(variants), [this](const Value& value) { return Make(value); });
  NPClass* const table = object->_class;
  const NPIdentifier id = Id(method);
  const auto call = [&] {
    const InPlugin called(true);
    return table->hasMethod(object, id) &&
           table->invoke(object, id, variants.data(), static_cast<uint32_t>(variants.size()), result);
  };
  const bool answered = call();
  for (NPVariant& variant : variants) Release(variant);
  return answered;
}

bool TestHost::Get(NPObject* object, const Key& key, NPVariant* result) {
  NPClass* const table = object->_class;
  const NPIdentifier id = Id(key);
  const InPlugin called(true);
  return table->hasProperty(object, id) && table->getProperty(object, id, result);
}

}  // namespace support
