#include "installer/setup/browser_settings.h"

#include <algorithm>
#include <array>
#include <limits>
#include <regex>
#include <stdexcept>
#include <string_view>

#include "base/owner.h"
#include "base/registry_key.h"
#include "platform/win32.h"

// After the system's main header.
#include <shlwapi.h>

namespace NorvoWebAPI::KSV::Setup {
namespace {

constexpr std::wstring_view kPolicies = L"SOFTWARE\\Policies";
constexpr std::wstring_view kAll = L"*";
constexpr char kSitesTaken[] = "; it takes origins such as https://bank.example, separated by semicolons, or *";

struct Browser {
  std::wstring_view name;
  std::wstring_view policies;    ///< Its key below `kPolicies`.
  std::wstring_view sites;       ///< The key of the extension's list of sites, below that.
  std::wstring_view extensions;  ///< The key of the list of extensions to install, below that; empty: there is none.
};

// Firefox has no list of extensions to install whose values can be told apart: its policy is one text for all of them.
constexpr wchar_t kForceList[] = L"\\ExtensionInstallForcelist";
constexpr wchar_t kChromiumSites[] = L"\\3rdparty\\extensions\\" KSV_CHROMIUM_ID L"\\policy\\sites";
constexpr wchar_t kFirefoxSites[] = L"\\3rdparty\\Extensions\\" KSV_FIREFOX_ID L"\\sites";
constexpr std::array<Browser, 4> kBrowsers{{{L"chrome", L"\\Google\\Chrome", kChromiumSites, kForceList},
                                            {L"chromium", L"\\Chromium", kChromiumSites, kForceList},
                                            {L"edge", L"\\Microsoft\\Edge", kChromiumSites, kForceList},
                                            {L"firefox", L"\\Mozilla\\Firefox", kFirefoxSites, {}}}};

// In the registry a list's values are named by numbers, and browsers read all of them. Administrators number from 1, so
// these begin at 2,000,000,000, within 32 bits. Both widths share the key, so each package has its own range.
constexpr unsigned kFirstNumber = 2'000'000'000U + sizeof(void*) * 8 * 1'000'000U;
constexpr unsigned kNumbers = 1000;
static_assert(kFirstNumber + kNumbers < std::numeric_limits<int>::max());

std::wstring NameOf(unsigned index) {
  return std::to_wstring(kFirstNumber + index);
}

std::vector<std::wstring> Split(std::wstring_view text, std::wstring_view separators) {
  std::vector<std::wstring> parts;
  for (size_t begin = 0; begin <= text.size();) {
    const size_t end = std::min(text.find_first_of(separators, begin), text.size());
    parts.emplace_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

std::vector<std::wstring> SplitList(std::wstring_view text) {
  std::vector<std::wstring> items = Split(text, L",; ");
  std::erase(items, L"");
  return items;
}

// The names are for the installer's log, which has a question mark where the code page has no such character.
std::string Narrow(std::wstring_view text) {
  std::string narrow;
  for (const wchar_t character : text) narrow += character < 0x80 ? static_cast<char>(character) : '?';
  return narrow;
}

// Accepts what `matches` in bridge/extension/background.js can match, and nothing else.
bool IsOrigin(const std::wstring& text) {
  static const std::wregex kForm(LR"(https?://([a-z0-9._-]+|\[[0-9a-f:.]+\])(:([0-9]{1,5}))?)", std::regex::icase);
  // A host's name has at most 253 characters. The expression recurses for each: a longer text could exhaust the stack.
  constexpr size_t kLongest = 300;
  std::wsmatch parts;
  return text.size() <= kLongest && std::regex_match(text, parts, kForm) &&
         (!parts[3].matched || std::stoul(parts[3]) <= 65535);
}

std::vector<std::wstring> ReadSites(const std::wstring& property) {
  if (property == kAll) return {};
  std::vector<std::wstring> sites = SplitList(property);
  // Variables of a script that were empty, perhaps: they must not allow all sites.
  if (sites.empty() && !property.empty()) throw std::invalid_argument(std::string("SITES has no origin") + kSitesTaken);
  for (const std::wstring& site : sites) {
    if (!IsOrigin(site)) {
      throw std::invalid_argument("SITES has \"" + Narrow(site) + "\"" + kSitesTaken);
    }
  }
  if (sites.size() >= kNumbers) throw std::invalid_argument("SITES has more than 999 origins");
  return sites;
}

void WriteValue(const std::wstring& key, const std::wstring& name, const std::wstring& text) {
  RegistryKey opened;
  if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE, nullptr,
                      opened.Put(), nullptr) != ERROR_SUCCESS ||
      RegSetValueExW(opened.Get(), name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                     static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) != ERROR_SUCCESS) {
    throw std::runtime_error("A policy can't be written: HKEY_LOCAL_MACHINE\\" + Narrow(key));
  }
}

bool IsEmptyKey(const std::wstring& key) {
  RegistryKey opened;
  DWORD keys = 1;
  DWORD values = 1;
  return RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_QUERY_VALUE, opened.Put()) == ERROR_SUCCESS &&
         RegQueryInfoKeyW(opened.Get(), nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr,
                          nullptr, nullptr) == ERROR_SUCCESS &&
         keys == 0 && values == 0;
}

void WithdrawList(std::wstring key) {
  RegistryKey opened;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_SET_VALUE, opened.Put()) != ERROR_SUCCESS) return;
  for (unsigned index = 0; index < kNumbers; ++index) RegDeleteValueW(opened.Get(), NameOf(index).c_str());
  opened.Reset();
  for (; key.size() > kPolicies.size() && IsEmptyKey(key); key.resize(key.rfind(L'\\'))) {
    if (RegDeleteKeyW(HKEY_LOCAL_MACHINE, key.c_str()) != ERROR_SUCCESS) return;
  }
}

std::wstring UrlOf(const std::wstring& path) {
  std::array<wchar_t, 2084> url{};
  auto length = static_cast<DWORD>(url.size());
  if (FAILED(UrlCreateFromPathW(path.c_str(), url.data(), &length, 0))) {
    throw std::runtime_error("The folder has no address: " + Narrow(path));
  }
  return {url.data()};
}

// As the value of an attribute of an XML file in UTF-8.
std::string ForXml(std::wstring url) {
  for (size_t at = 0; (at = url.find(L'&', at)) != url.npos; ++at) url.insert(at + 1, L"amp;");
  std::string text(url.size() * 3, '\0');
  text.resize(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, url.data(), static_cast<int>(url.size()), text.data(),
                                                      static_cast<int>(text.size()), nullptr, nullptr)));
  return text;
}

// The package's manifest has the place of the extension's package empty: only now is the folder known.
void CompleteUpdateManifest(const std::wstring& folder) {
  const std::wstring path = folder + L"bridge\\update.xml";
  // A virus scanner may be reading it.
  constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  // Open a link itself, not its target: this runs as SYSTEM, and a user could have put a link there.
  const HANDLE opened = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, kShared, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  const Owner<HANDLE, CloseHandle> file(opened == INVALID_HANDLE_VALUE ? nullptr : opened);
  std::string text(4096, '\0');
  DWORD length = 0;
  if (!file || !ReadFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &length, nullptr)) {
    throw std::runtime_error("The update manifest can't be read: " + Narrow(path));
  }
  text.resize(length);
  static constexpr std::string_view kBefore = "codebase=\"";
  const size_t begin = text.find(kBefore) + kBefore.size();
  const size_t end = text.find('"', begin);
  if (begin < kBefore.size() || end == text.npos) {
    throw std::runtime_error("The update manifest has no address: " + Narrow(path));
  }
  text.replace(begin, end - begin, ForXml(UrlOf(folder + L"bridge\\ksv.crx")));
  if (SetFilePointer(file.Get(), 0, nullptr, FILE_BEGIN) != 0 ||
      !WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &length, nullptr) ||
      !SetEndOfFile(file.Get())) {
    throw std::runtime_error("The update manifest can't be written: " + Narrow(path));
  }
}

}  // namespace

Choices ReadChoices(const std::wstring& properties) {
  // No folder's name has a bar; in another property it is refused here or as part of a name.
  const std::vector<std::wstring> fields = Split(properties, L"|");
  if (fields.size() != 4) throw std::invalid_argument("SITES or FORCEINSTALL has a bar");
  if (fields[0].empty()) throw std::invalid_argument("INSTALLFOLDER is empty");
  if (!fields[3].empty() && fields[3] != L"0" && fields[3] != L"1") {
    throw std::invalid_argument("FORCEINSTALL is \"" + Narrow(fields[3]) + "\"; it takes 0 or 1");
  }
  return {fields[0], SplitList(fields[1]), ReadSites(fields[2]), fields[3] == L"1"};
}

void Apply(const Choices& choices) {
  Withdraw();
  for (const Browser& browser : kBrowsers) {
    if (std::ranges::find(choices.browsers, browser.name) == choices.browsers.end()) continue;
    const std::wstring key = std::wstring(kPolicies).append(browser.policies);
    if (choices.forceInstall && !browser.extensions.empty()) {
      WriteValue(std::wstring(key).append(browser.extensions), NameOf(0),
                 KSV_CHROMIUM_ID L";" + UrlOf(choices.folder + L"bridge\\update.xml"));
    }
    unsigned index = 0;
    for (const std::wstring& site : choices.sites)
      WriteValue(std::wstring(key).append(browser.sites), NameOf(++index), site);
  }
  // Last, because any user can keep the file from being written: the list of sites must be in force all the same.
  CompleteUpdateManifest(choices.folder);
}

void Withdraw() {
  for (const Browser& browser : kBrowsers) {
    const std::wstring key = std::wstring(kPolicies).append(browser.policies);
    WithdrawList(std::wstring(key).append(browser.sites));
    if (!browser.extensions.empty()) WithdrawList(std::wstring(key).append(browser.extensions));
  }
}

}  // namespace NorvoWebAPI::KSV::Setup
