#include "base/automation_variant.h"
#include "base/owner.h"
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

// COM on the calling thread, for one query. What the set-up calls answer doesn't matter to the query: a host that has
// made other arrangements has them kept, and they will do. Only what was set up here is taken down again.
class ComScope {
 public:
  ComScope() : isOurs(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {
    CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                         EOAC_NONE, nullptr);
  }
  ~ComScope() {
    if (isOurs) CoUninitialize();
  }
  ComScope(const ComScope&) = delete;
  ComScope& operator=(const ComScope&) = delete;

 private:
  bool isOurs;
};

Bstr Text(const wchar_t* text) {
  Bstr made(SysAllocString(text));
  if (!made) throw _com_error(E_OUTOFMEMORY);
  return made;
}

Com<IWbemLocator> MakeLocator() {
  void* made = nullptr;
  const HRESULT result =
      CoCreateInstance(CLSID_WbemAdministrativeLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator, &made);
  return Com<IWbemLocator>(FAILED(result) ? nullptr : static_cast<IWbemLocator*>(made));
}

Com<IWbemServices> Connect(IWbemLocator& locator) {
  IWbemServices* services = nullptr;
  const HRESULT result = locator.ConnectServer(Text(L"root\\cimv2").Get(), nullptr, nullptr, nullptr,
                                               WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr, &services);
  return Com<IWbemServices>(FAILED(result) ? nullptr : services);
}

Com<IEnumWbemClassObject> Query(IWbemServices& services, const wchar_t* query) {
  IEnumWbemClassObject* objects = nullptr;
  const HRESULT result =
      services.ExecQuery(Text(L"WQL").Get(), Text(query).Get(), WBEM_FLAG_FORWARD_ONLY, nullptr, &objects);
  return Com<IEnumWbemClassObject>(FAILED(result) ? nullptr : objects);
}

Com<IWbemClassObject> FirstObject(const Com<IEnumWbemClassObject>& objects) {
  IWbemClassObject* first = nullptr;
  ULONG count = 0;
  if (objects && FAILED(objects.Get()->Next(static_cast<LONG>(WBEM_INFINITE), 1, &first, &count))) first = nullptr;
  return Com<IWbemClassObject>(first);
}

bool ReadProperty(const Com<IWbemClassObject>& object, const wchar_t* name, std::string& text) {
  OwnedVariant value;
  if (!object || FAILED(object.Get()->Get(name, 0, &value.Get(), nullptr, nullptr))) return false;
  text = NarrowFromVariant(value.Get());
  return true;
}

}  // namespace

bool GetSystemIdentity(std::string& manufacturer, std::string& model, std::string& serialNumber) {
  const ComScope com;
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
