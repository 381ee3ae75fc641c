#include "tests/support/environment.h"

#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <sstream>

#include "platform/system_path.h"
#include "storage/platform_files.h"
#include "tests/support/paths.h"

namespace fs = std::filesystem;
using NorvoWebAPI::Platform::GetBasePath;

namespace support {
namespace {

using WideText = std::basic_string<WCHAR>;

constexpr char kRegistryFile[] = "registry.json";
constexpr char kSettings[] = "Software\\Norvo\\Services\\KSV";

// Set before any test can ask for the base path, which is then kept: a test must never reach the user's own files.
struct ProcessFolder {
  ~ProcessFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
  fs::path path = fs::temp_directory_path() / ("ksv_tests_" + std::to_string(GetCurrentProcessId()));
  platform::ScopedVariable appData{"AppData", (PlatformPath(path) + "\\Roaming").c_str()};
};
const ProcessFolder processFolder;

fs::path Base() {
  return SystemPath(GetBasePath());
}

std::string ShowInput(const uint8_t* bytes, int32_t length) {
  if (!bytes) return length == 0 ? "<null" : "<null:" + std::to_string(length);
  if (length > 64) return "<" + std::to_string(length) + " bytes";
  return "<'" + std::string(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length)) + "'";
}

}  // namespace

Environment::Environment() : registry("KSV_REGISTRY", (processFolder.path / kRegistryFile).string().c_str()) {
  const auto ours = std::ranges::mismatch(Base(), processFolder.path);
  if (ours.in2 != processFolder.path.end()) {
    ADD_FAILURE() << "another base folder than the tests' is in use: " << Base();
    return;
  }
  fs::create_directories(Base());
  fs::create_directories(Scratch());
  RegDeleteKeyA(HKEY_LOCAL_MACHINE, kSettings);
  SetLastUpdate(0);
}

Environment::~Environment() {
  RegDeleteKeyA(HKEY_LOCAL_MACHINE, kSettings);
  std::error_code ignored;
  for (const fs::path& left : {Base(), Scratch(), processFolder.path / kRegistryFile}) fs::remove_all(left, ignored);
}

fs::path Environment::Scratch() const {
  return processFolder.path / "scratch";
}
fs::path Environment::Path(const std::string& name) const {
  return Base() / name;
}

void Environment::SetLastUpdate(std::optional<int64_t> secondsAgo) const {
  const std::string name = "lastUpdatewin32-npapi";
  if (secondsAgo) {
    Write(name, std::to_string(std::time(nullptr) - *secondsAgo));
  } else {
    fs::remove(Path(name));
  }
}

void Environment::SetSetting(const std::string& name, DWORD type, std::string bytes) const {
  const auto size = static_cast<DWORD>(bytes.size());
  bytes += "##";  // Else the system may find a terminator behind the bytes and store it with them.
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, kSettings, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), 0);
  const WideText wide(name.begin(), name.end());
  EXPECT_EQ(RegSetValueExW(key, wide.c_str(), 0, type, reinterpret_cast<const BYTE*>(bytes.data()), size), 0);
  RegCloseKey(key);
}

void Environment::SetLogLevel(uint32_t level) const {
  SetSetting("KsvPluginLogLevel", REG_DWORD, {reinterpret_cast<const char*>(&level), sizeof level});
}

void Environment::SetLibraryFolder(const fs::path& folder) const {
  const auto wide = PlatformPath<WCHAR>(folder);
  EXPECT_LE(wide.size(), 127u) << "the settings can't hold this folder: build in a shorter one";
  SetSetting("FILELOCALE", REG_SZ, {reinterpret_cast<const char*>(wide.c_str()), (wide.size() + 1) * sizeof(WCHAR)});
}

void Environment::Write(const std::string& name, const std::string& bytes) const {
  fs::create_directories(Path(name).parent_path());
  std::ofstream(Path(name), std::ios::binary) << bytes;
}

std::optional<std::string> Environment::Read(const std::string& name) const {
  std::ifstream file(Path(name), std::ios::binary);
  if (!file) return {};
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

std::string Show(const AgentCall& call) {
  std::vector<std::string> parts;
  if (call.hasTarget && call.byInstance) parts.push_back("#" + std::to_string(call.instance));
  if (call.hasTarget && !call.byInstance) parts.push_back(call.name ? "'" + std::string(call.name) + "'" : "null");
  for (int32_t i = 0; i < call.numberCount; ++i) parts.push_back(std::to_string(call.numbers[i]));
  for (int32_t i = 0; i < call.inputCount; ++i) parts.push_back(ShowInput(call.input[i], call.inputLength[i]));
  for (int32_t i = 0; i < call.outputCount; ++i) {
    parts.push_back(">" + std::to_string(*call.outputLength[i]) + (call.output[i] ? "" : "/null"));
  }
  std::string shown = call.entry;
  for (size_t i = 0; i < parts.size(); ++i) shown += (i == 0 ? "(" : ", ") + parts[i];
  return shown + (parts.empty() ? "()" : ")");
}

std::string Show(const DisplayCall& call) {
  return call.shown;
}

void GiveNothing(AgentCall& call) {
  for (int32_t i = 0; i < call.outputCount; ++i) *call.outputLength[i] = 0;
}

void GiveNothing(DisplayCall& call) {
  if (call.length) *call.length = 0;
}

void Lie(AgentCall& call) {
  for (int32_t i = 0; i < call.outputCount; ++i) *call.outputLength[i] = 0xFFFF;
  if (call.value) *call.value = 0xFFFFFFFF;
}

void Lie(DisplayCall& call) {
  if (call.length) *call.length = 0xFFFFFFFF;
  if (call.value) *call.value = 0xFFFFFFFF;
  if (call.bytes && !call.length) std::fill_n(call.bytes, call.size, uint8_t{0xFF});
  if (call.text) std::fill_n(call.text, call.size, static_cast<WCHAR>(0xFFFF));
}

HMODULE LoadStub(const Environment& environment, const fs::path& path) {
  environment.SetLibraryFolder(path.parent_path());
  const HMODULE library = LoadLibraryW(PlatformPath<WCHAR>(path).c_str());
  if (!library) throw std::runtime_error("no stub library at " + path.string());
  return library;
}

namespace {

// The folder of a variant, or one that has the variant's file under another name.
fs::path FolderWith(const Environment& environment, const std::string& variant, const std::string& file) {
  const fs::path folder = fs::path(KSV_STUBS) / variant;
  if (file == "zub.dll") return folder;
  fs::copy_file(folder / "zub.dll", environment.Scratch() / file);
  return environment.Scratch();
}

}  // namespace

AgentStub::AgentStub(const Environment& environment, const std::string& variant, const std::string& file)
    : LibraryStub(environment, FolderWith(environment, variant, file), file, "AgentStub_Control") {}

void AgentStub::SetVersion(uint32_t version) {
  On("ZUB_GetVersion", [version](AgentCall& call) { *call.value = version; });
  On("ZUB3_StartInstance", [this](AgentCall& call) { *call.value = ++started; });
}

std::vector<std::string> AgentStub::TakeCalls(bool withVersion) {
  auto taken = std::exchange(calls, {});
  if (!withVersion) std::erase(taken, "ZUB_GetVersion()");
  return taken;
}

DisplayStub::DisplayStub(const Environment& environment, const std::string& variant)
    : LibraryStub(environment, fs::path(KSV_STUBS) / variant, "ksvWys.dll", "DisplayStub_Control") {}

void DisplayStub::Refuse(const std::string& entry, int32_t status) {
  On(entry, [status](DisplayCall& call) { call.status = status; });
}

AgentStub::Answer Gives(const std::string& bytes, std::optional<uint16_t> length, int32_t status) {
  return [=](AgentCall& call) {
    if (call.output[0])
      std::copy_n(bytes.begin(), std::min<size_t>(bytes.size(), *call.outputLength[0]), call.output[0]);
    *call.outputLength[0] = length.value_or(static_cast<uint16_t>(bytes.size()));
    call.status = status;
  };
}

AgentStub::Answer Refuses(int32_t status) {
  return [=](AgentCall& call) { call.status = status; };
}

}  // namespace support
