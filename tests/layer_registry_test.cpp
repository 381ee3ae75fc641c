// The registry's calls, on Linux over a file.
#include <string>
#include <tuple>

#include "tests/support/layer_fixture.h"

using namespace platform;
using namespace std::string_literals;

namespace {

constexpr const char* kKey = "Software\\Norvo\\PlatformTest";

HKEY MakeKey(const std::string& path) {
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), 0);
  return key;
}

LSTATUS Read(HKEY key, const WCHAR* name, DWORD capacity, std::string& bytes, DWORD* type = nullptr) {
  bytes.assign(16, '\xAA');
  DWORD size = capacity;
  const LSTATUS result = RegQueryValueExW(key, name, nullptr, type, reinterpret_cast<BYTE*>(bytes.data()), &size);
  EXPECT_EQ(bytes.find_first_not_of('\xAA', capacity), std::string::npos) << "written past the buffer";
  if (result != ERROR_FILE_NOT_FOUND) bytes.resize(size);
  return result;
}

}  // namespace

class LayerRegistryTest : public support::LayerTest {};

TEST_F(LayerRegistryTest, RegistryGivesBackWhatWasWritten) {
  const std::pair<DWORD, std::string> values[] = {
      {REG_SZ, "a\0b\0\0\0"s}, {REG_SZ, "a\0b\0"s},         {REG_SZ, ""},
      {REG_SZ, "\0\xD8\0\0"s}, {REG_EXPAND_SZ, "%\0\0\0"s}, {REG_DWORD, "\xFF\xFF\xFF\xFF"},
      {REG_DWORD, "\1"},       {REG_MULTI_SZ, "a\0\0\0"s},  {77, "x"}};
  const HKEY key = MakeKey(kKey);
  for (const auto& [type, bytes] : values) {
    for (const WCHAR* name : {KSV_WIDE("Value"), KSV_WIDE("type")}) {
      const std::string padded = bytes + "++";  // Windows counts a terminator that it finds behind the text.
      const auto size = static_cast<DWORD>(bytes.size());
      EXPECT_EQ(RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(padded.data()), size), ERROR_SUCCESS);
      DWORD readType = 0;
      std::string read;
      EXPECT_EQ(Read(key, name, size, read, &readType), ERROR_SUCCESS);
      EXPECT_TRUE(read == bytes && readType == type) << testing::PrintToString(bytes) << testing::PrintToString(read);
      EXPECT_TRUE(size == 0 || Read(key, name, size - 1, read) == ERROR_MORE_DATA);
      EXPECT_EQ(read.size(), size) << "the size needed";
    }
  }
  RegCloseKey(MakeKey(kKey + "\\sub"s));
  if (kHasLayerSettings) {
    EXPECT_EQ(RegSetValueExA(key, "sub", 0, 77, nullptr, 0), ERROR_INVALID_PARAMETER)
        << "a name is a key's or a value's";
  }
  for (const auto& [size, result] : {std::pair<DWORD, LSTATUS>{3, ERROR_MORE_DATA}, {4, 0}}) {
    char name[4];
    DWORD length = size;
    EXPECT_EQ(RegEnumKeyExA(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr), result);
  }
  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, kKey), ERROR_ACCESS_DENIED) << "a key with keys in it stays";
  for (const char* name : {"SUB", ""}) EXPECT_EQ(RegDeleteKeyA(key, name), ERROR_SUCCESS);
  EXPECT_EQ(RegSetValueExA(key, "V", 0, REG_SZ, reinterpret_cast<const BYTE*>("x"), 1), ERROR_KEY_DELETED);
}

TEST_F(LayerRegistryTest, RegistryFileWrittenByHand) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the system's registry is no file";
  const auto wrap = [](const std::string& key) { return R"({"hkey_current_user": {"Software": {"K": )" + key + "}}}"; };
  const std::tuple<std::string, bool, std::string> cases[] = {
      // The file; is the key there; the value, if there
      {wrap(R"({"v": "ab"})"), true, "a\0b\0\0\0"s},
      {wrap(R"({"V": -1})"), true, "\xFF\xFF\xFF\xFF"},
      {wrap(R"({"V": {"type": "REG_SZ", "data": "a", "terminated": false}})"), true, "a\0"s},
      {wrap(R"({"V": {"type": 9, "hex": "00Ff"}})"), true, "\0\xFF"s},
      {wrap(R"({"V": 4294967296})"), true, ""},
      {wrap(R"({"V": {"type": "REG_SZ", "hex": "0"}})"), true, ""},
      {wrap("7"), false, ""},
      {wrap(std::string(900'000, '[')), false, ""},
      {wrap("{}") + std::string(1u << 20, ' '), false, ""},
      {"{ half", false, ""},
  };
  HKEY key = nullptr;
  for (const auto& [file, isThere, bytes] : cases) {
    SCOPED_TRACE(file.substr(0, 120));
    Write("registry.json", file);
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "SOFTWARE\\k\\", 0, KEY_READ, &key), isThere ? 0 : ERROR_FILE_NOT_FOUND);
    std::string read;
    if (!isThere) continue;
    EXPECT_EQ(Read(key, KSV_WIDE("V"), 16, read), bytes.empty() ? ERROR_FILE_NOT_FOUND : 0);
    EXPECT_TRUE(bytes.empty() || read == bytes) << testing::PrintToString(read);
  }
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "K", 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), ERROR_BADDB);
  EXPECT_EQ(std::filesystem::file_size(folder_ / "registry.json"), 6u)
      << "a file that is not understood is not written over";
}
