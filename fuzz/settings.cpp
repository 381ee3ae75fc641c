// The settings: a registry file of any bytes, and values of any type, size and text in a sound one.
#include "storage/settings.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "fuzz/support/fuzzing.h"

using namespace NorvoWebAPI;
using fuzz::Demand;

namespace {

void Store(fuzz::Input& input) {
  HKEY key = nullptr;
  Demand(RegCreateKeyExW(HKEY_LOCAL_MACHINE, kSettingsKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) ==
             ERROR_SUCCESS,
         "a sound file takes a key");
  for (const WCHAR* name : {kLogLevelValue, kLibraryFolderValue}) {
    const std::string bytes = input.Text();
    const DWORD type = input.ConsumeBool() ? input.ConsumeIntegralInRange<DWORD>(0, 4) : input.ConsumeIntegral<DWORD>();
    RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()));
  }
  RegCloseKey(key);
}

void CheckFix(fuzz::Input& input) {
  std::vector<WCHAR> path(input.ConsumeIntegralInRange<size_t>(0, 300));
  for (WCHAR& unit : path) unit = input.ConsumeIntegral<uint8_t>();
  auto length = static_cast<uint32_t>(path.size());
  FixLibraryFolder(path.data(), &length);
  if (path.empty()) return;
  Demand(length < path.size() && path[length] == 0, "a fixed folder is terminated, at the length told");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::World();
  fuzz::Input input(data, size);
  const std::filesystem::path file = std::getenv("KSV_REGISTRY");
  if (input.ConsumeBool()) {
    std::filesystem::remove(file);
    Store(input);
    CheckFix(input);
  } else {
    const std::string head = R"({"HKEY_LOCAL_MACHINE":{"Software":{"Norvo":{"Services":{"KSV":{"FILELOCALE":)";
    std::ofstream(file, std::ios::binary) << (input.ConsumeBool() ? head : "") << input.ConsumeRemainingBytesAsString();
  }
  GetLogLevel();
  // Each in a block of its exact size, so that a write beyond it shows.
  for (const uint32_t room : {0U, 1U, 2U, 3U, 4U, 17U, 256U}) {
    std::vector<WCHAR> folder((room + 1) / 2);
    uint32_t length = room;
    if (GetLibraryFolder(folder.data(), &length) != 0) continue;
    Demand(length < room / 2 && folder[length] == 0, "the folder is terminated, inside its room");
  }
  LibraryPath path;
  if (path.ReadLoadFolder()) path.Append(KSV_WIDE("a file with a name of some length.dll"));
  const WCHAR* const text = path.c_str();
  Demand(std::find(text, text + LibraryPath::kCapacity, WCHAR{0}) != text + LibraryPath::kCapacity, "the path ends");
  return 0;
}
