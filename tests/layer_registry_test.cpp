// The file behind the registry on Linux. The tests of settings and registration ask for the calls.
#include <string>
#include <utility>

#include "tests/support/layer_fixture.h"

using namespace platform;
using namespace std::string_literals;

namespace {

// The bytes of the value V, or the error's number.
std::string Read() {
  HKEY key = nullptr;
  std::string bytes(16, '\0');
  auto size = static_cast<DWORD>(bytes.size());
  LSTATUS error = RegOpenKeyExA(HKEY_CURRENT_USER, "SOFTWARE\\k\\", 0, KEY_READ, &key);
  if (error) return "no key, " + std::to_string(error);
  error = RegQueryValueExW(key, KSV_WIDE("V"), nullptr, nullptr, reinterpret_cast<BYTE*>(bytes.data()), &size);
  return error ? "no value, " + std::to_string(error) : bytes.substr(0, size);
}

}  // namespace

class LayerRegistryTest : public support::LayerTest {};

TEST_F(LayerRegistryTest, RegistryFileWrittenByHand) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the system's registry is no file";
  const auto wrap = [](const std::string& key) { return R"({"hkey_current_user": {"Software": {"K": )" + key + "}}}"; };
  const std::pair<std::string, std::string> cases[] = {
      {wrap(R"({"v": "ab"})"), "a\0b\0\0\0"s},
      {wrap(R"({"V": -1})"), "\xFF\xFF\xFF\xFF"},
      {wrap(R"({"V": {"type": "REG_SZ", "data": "a", "terminated": false}})"), "a\0"s},
      {wrap(R"({"V": {"type": 9, "hex": "00Ff"}})"), "\0\xFF"s},
      {wrap(R"({"V": 4294967296})"), "no value, 2"},
      {wrap(R"({"V": {"type": "REG_SZ", "hex": "0"}})"), "no value, 2"},
      {wrap("7"), "no key, 2"},
      {wrap(std::string(900'000, '[')), "no key, 2"},
      {wrap("{}") + std::string(1u << 20, ' '), "no key, 2"},
      {"{ half", "no key, 2"},
  };
  for (const auto& [file, told] : cases) {
    Write("registry.json", file);
    EXPECT_EQ(Read(), told) << file.substr(0, 120);
  }
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "K", 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), ERROR_BADDB);
  EXPECT_EQ(std::filesystem::file_size(folder_ / "registry.json"), 6u)
      << "a file that is not understood is not written over";
}
