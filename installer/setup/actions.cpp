// The package's own actions, as the installer calls them: both run in its elevated process.
#include <stdexcept>
#include <string>

#include "installer/setup/browser_settings.h"
#include "platform/win32.h"

namespace NorvoWebAPI::KSV::Setup {
namespace {

// A deferred action has no other property.
std::wstring ReadActionData(MSIHANDLE installation) {
  static constexpr wchar_t kProperty[] = L"CustomActionData";
  wchar_t none[] = L"";
  DWORD length = 0;
  if (MsiGetPropertyW(installation, kProperty, none, &length) != ERROR_MORE_DATA) {
    throw std::runtime_error("The installer gives the action no data");
  }
  // The reported length is without the terminator, for which the buffer needs one more.
  std::wstring data(size_t{length} + 1, L'\0');
  length = static_cast<DWORD>(data.size());
  if (MsiGetPropertyW(installation, kProperty, data.data(), &length) != ERROR_SUCCESS) {
    throw std::runtime_error("The action's data can't be read");
  }
  data.resize(data.find(L'\0'));
  return data;
}

// Shows the text to the user, unless the installation is silent, and writes it to the log.
void Report(MSIHANDLE installation, const char* text) {
  PMSIHANDLE record = MsiCreateRecord(1);
  MsiRecordSetStringA(record, 0, "[1]");
  MsiRecordSetStringA(record, 1, text);
  MsiProcessMessage(installation, INSTALLMESSAGE_ERROR, record);
}

}  // namespace
}  // namespace NorvoWebAPI::KSV::Setup

using namespace NorvoWebAPI::KSV;

extern "C" UINT __stdcall SetUpBridge(MSIHANDLE installation) {
  try {
    Setup::Apply(Setup::ReadChoices(Setup::ReadActionData(installation)));
    return ERROR_SUCCESS;
  } catch (const std::exception& error) {
    Setup::Report(installation, error.what());
    return ERROR_INSTALL_FAILURE;
  }
}

extern "C" UINT __stdcall WithdrawBridge(MSIHANDLE /*installation*/) {
  try {
    Setup::Withdraw();
    return ERROR_SUCCESS;
  } catch (const std::exception&) {
    return ERROR_INSTALL_FAILURE;
  }
}
