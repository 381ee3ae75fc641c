#include "base/automation_variant.h"
#include "base/owner.h"
#include "base/scope_exit.h"
#include "base/system_identity.h"
#include "base/text.h"
#include "platform/win32.h"

// Needs the general header before it.
#include <wbemidl.h>

namespace NorvoWebAPI::Platform {
namespace {

template <typename Interface>
void ReleaseInterface(Interface* held) {
  held->Release();
}
template <typename Interface>
using Com = Owner<Interface*, ReleaseInterface<Interface>>;

Bstr Text(const wchar_t* text) {
  Bstr made(SysAllocString(text));
  if (!made) throw _com_error(E_OUTOFMEMORY);
  return made;
}

// These return null if the call fails.
Com<IWbemLocator> MakeLocator() {
  Com<IWbemLocator> locator;
  CoCreateInstance(CLSID_WbemAdministrativeLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                   reinterpret_cast<void**>(locator.Put()));
  return locator;
}

Com<IWbemServices> Connect(IWbemLocator& locator) {
  Com<IWbemServices> services;
  locator.ConnectServer(Text(L"root\\cimv2").Get(), nullptr, nullptr, nullptr, WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr,
                        nullptr, services.Put());
  return services;
}

Com<IEnumWbemClassObject> Query(IWbemServices& services, const wchar_t* query) {
  Com<IEnumWbemClassObject> objects;
  services.ExecQuery(Text(L"WQL").Get(), Text(query).Get(), WBEM_FLAG_FORWARD_ONLY, nullptr, objects.Put());
  return objects;
}

Com<IWbemClassObject> FirstObject(const Com<IEnumWbemClassObject>& objects) {
  Com<IWbemClassObject> first;
  ULONG count = 0;
  if (objects) objects.Get()->Next(static_cast<LONG>(WBEM_INFINITE), 1, first.Put(), &count);
  return first;
}

bool ReadProperty(const Com<IWbemClassObject>& object, const wchar_t* name, std::string& text) {
  OwnedVariant value;
  if (!object || FAILED(object.Get()->Get(name, 0, &value.Get(), nullptr, nullptr))) return false;
  text = NarrowFromVariant(value.Get());
  return true;
}

}  // namespace

bool GetSystemIdentity(std::string& manufacturer, std::string& model, std::string& serialNumber) {
  // A host that has set up COM in another way keeps it, and that serves too. Only what is set up here is undone.
  const bool isOurs = SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
  const ScopeExit takeDown([isOurs] {
    if (isOurs) CoUninitialize();
  });
  CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                       EOAC_NONE, nullptr);
  const Com<IWbemLocator> locator = MakeLocator();
  if (!locator) return false;
  const Com<IWbemServices> services = Connect(*locator.Get());
  if (!services) return false;
  const auto systems = Query(*services.Get(), L"SELECT Model, Manufacturer FROM Win32_ComputerSystem");
  {
    const auto system = FirstObject(systems);
    ReadProperty(system, L"Model", model);
    ReadProperty(system, L"Manufacturer", manufacturer);
  }
  const auto enclosures = Query(*services.Get(), L"SELECT * FROM Win32_SystemEnclosure");
  return ReadProperty(FirstObject(enclosures), L"SerialNumber", serialNumber);
}

}  // namespace NorvoWebAPI::Platform
