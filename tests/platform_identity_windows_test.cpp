// The machine's identity from the management service, which an object of the test's own stands in for: COM finds a
// class that this process has registered before the system's.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "base/system_identity.h"
#include "base/text.h"

// Needs the general header before it.
#include <wbemidl.h>

using namespace NorvoWebAPI;

namespace {

using Give = std::function<HRESULT(VARIANT*)>;

// What the service answers at each step; the steps of the two queries by their class.
struct Service {
  std::map<std::string, HRESULT> results;
  std::map<std::wstring, Give> properties;
};
Service service;

// An object of any interface, made by hand: its calls in the interface's order. Those that nobody makes are null.
struct Object {
  explicit Object(void* third, void* place20 = nullptr, void* fourth = nullptr, std::string name = "");
  std::array<void*, 32>* calls = &table;
  std::array<void*, 32> table{};
  std::string name;
  int references = 0;
};

HRESULT WINAPI QueryInterface(Object* self, REFIID id, void** result) {
  *result = nullptr;
  if (id == IID_IDispatch || id == IID_IMarshal) return E_NOINTERFACE;
  ++self->references;
  *result = self;
  return S_OK;
}
ULONG WINAPI AddRef(Object* self) {
  return static_cast<ULONG>(++self->references);
}
ULONG WINAPI Release(Object* self) {
  return static_cast<ULONG>(--self->references);
}

Object::Object(void* third, void* place20, void* fourth, std::string objectName) : name(std::move(objectName)) {
  table[0] = reinterpret_cast<void*>(&QueryInterface);
  table[1] = reinterpret_cast<void*>(&AddRef);
  table[2] = reinterpret_cast<void*>(&Release);
  table[3] = third;
  table[4] = fourth;
  table[20] = place20;
}

HRESULT GiveObject(const std::string& step, Object& object, void** result) {
  if (const auto found = service.results.find(step); found != service.results.end()) return found->second;
  ++object.references;
  *result = &object;
  return S_OK;
}

HRESULT WINAPI Get(Object*, LPCWSTR name, LONG, VARIANT* value, CIMTYPE*, LONG*) {
  const auto found = service.properties.find(name);
  if (found == service.properties.end()) return E_FAIL;
  return found->second(value);
}
Object theInstance{nullptr, nullptr, reinterpret_cast<void*>(&Get)};

HRESULT WINAPI Next(Object* self, LONG timeOut, ULONG count, void** result, ULONG* given) {
  EXPECT_TRUE(timeOut == -1 && count == 1);
  const HRESULT answer = GiveObject("Next " + self->name, theInstance, result);
  *given = answer == S_OK;
  return answer;
}
Object theSystems{nullptr, nullptr, reinterpret_cast<void*>(&Next), "systems"};
Object theEnclosures{nullptr, nullptr, reinterpret_cast<void*>(&Next), "enclosures"};

HRESULT WINAPI ExecQuery(Object*, BSTR language, BSTR query, LONG flags, void*, void** result) {
  EXPECT_TRUE(std::wstring(L"WQL") == language && flags == 0x20);
  const bool isFirst = std::wstring(L"SELECT Model, Manufacturer FROM Win32_ComputerSystem") == query;
  EXPECT_TRUE(isFirst || std::wstring(L"SELECT * FROM Win32_SystemEnclosure") == query);
  return GiveObject(isFirst ? "Query systems" : "Query enclosures", isFirst ? theSystems : theEnclosures, result);
}
Object theServices{nullptr, reinterpret_cast<void*>(&ExecQuery)};

HRESULT WINAPI ConnectServer(Object*, BSTR space, BSTR user, BSTR password, BSTR locale, LONG flags, BSTR authority,
                             void* context, void** result) {
  EXPECT_TRUE(std::wstring(L"root\\cimv2") == space && flags == 0x80);
  EXPECT_FALSE(user || password || locale || authority || context);
  return GiveObject("Connect", theServices, result);
}
Object theLocator{reinterpret_cast<void*>(&ConnectServer)};

HRESULT WINAPI CreateInstance(Object*, IUnknown*, REFIID, void** result) {
  return GiveObject("Create", theLocator, result);
}
Object theFactory{reinterpret_cast<void*>(&CreateInstance)};

Give Text(const wchar_t* text) {
  return [text](VARIANT* value) {
    value->vt = VT_BSTR;
    value->bstrVal = text ? SysAllocString(text) : nullptr;
    return S_OK;
  };
}
Give Typed(VARTYPE type) {
  return [type](VARIANT* value) {
    value->vt = type;
    if (type == VT_I4) value->lVal = -1;
    if (type & VT_ARRAY) value->parray = SafeArrayCreateVector(VT_BSTR, 0, 2);
    if (type == VT_UNKNOWN) {
      value->punkVal = reinterpret_cast<IUnknown*>(&theInstance);
      ++theInstance.references;
    }
    return S_OK;
  };
}

// The outcome of one query on a thread of its own, which must be left without COM.
std::string Asked() {
  std::string outcome;
  std::thread([&outcome] {
    std::string maker = "-", model = "-", serial = "-";
    try {
      outcome = Platform::GetSystemIdentity(maker, model, serial) ? "yes" : "no";
    } catch (const _com_error& error) {
      outcome = error.Error() == DISP_E_TYPEMISMATCH ? "mismatch" : "other error";
    }
    outcome += " " + maker + " " + model + " " + serial;
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK) << "COM is still set up";
    CoUninitialize();
  }).join();
  return outcome;
}

}  // namespace

TEST(PlatformIdentityTest, EveryWayOutGivesAllBack) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  DWORD registration = 0;
  EXPECT_EQ(CoRegisterClassObject(CLSID_WbemAdministrativeLocator, reinterpret_cast<IUnknown*>(&theFactory),
                                  CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &registration),
            S_OK);
  const struct {
    std::map<std::string, HRESULT> results;
    std::map<std::wstring, Give> instead;
    const char* outcome;
  } rows[] = {
      {{}, {}, "yes Maker Model S1"},
      {{{"Create", REGDB_E_CLASSNOTREG}}, {}, "no - - -"},
      {{{"Connect", E_ACCESSDENIED}}, {}, "no - - -"},
      {{{"Query systems", E_FAIL}}, {}, "yes - - S1"},
      {{{"Next systems", S_FALSE}}, {}, "yes - - S1"},
      {{{"Query enclosures", E_FAIL}}, {}, "no Maker Model -"},
      {{{"Next enclosures", S_FALSE}}, {}, "no Maker Model -"},
      {{}, {{L"Model", {}}, {L"SerialNumber", Text(L"")}}, "yes Maker - "},
      {{}, {{L"Manufacturer", {}}, {L"SerialNumber", Text(nullptr)}}, "yes - Model "},
      {{}, {{L"SerialNumber", {}}}, "no Maker Model -"},
      {{}, {{L"SerialNumber", Typed(VT_I4)}}, "yes Maker Model -1"},
      {{}, {{L"SerialNumber", Typed(VT_EMPTY)}}, "yes Maker Model "},
      {{}, {{L"Model", Typed(VT_NULL)}}, "mismatch - - -"},
      {{}, {{L"Manufacturer", Typed(VT_ARRAY | VT_BSTR)}}, "mismatch - Model -"},
      {{}, {{L"SerialNumber", Typed(VT_UNKNOWN)}}, "mismatch Maker Model -"},
  };
  for (const auto& [results, instead, outcome] : rows) {
    service = {results,
               {{L"Model", Text(L"Model")}, {L"Manufacturer", Text(L"Maker")}, {L"SerialNumber", Text(L"S1")}}};
    for (const auto& [name, give] : instead) {
      service.properties.erase(name);
      if (give) service.properties.emplace(name, give);
    }
    EXPECT_EQ(Asked(), outcome);
    for (const Object* object : {&theLocator, &theServices, &theSystems, &theEnclosures, &theInstance}) {
      EXPECT_EQ(object->references, 0) << outcome << ", " << object->name;
    }
  }
  CoRevokeClassObject(registration);
  CoUninitialize();
}
