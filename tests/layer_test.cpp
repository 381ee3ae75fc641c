// What the platform's calls promise beyond what the product's tests ask through it: texts of UTF-8, mutexes, calls that
// fail on demand, the limit of a queue, the file behind the registry.
#include <gtest/gtest.h>

#include <fstream>
#include <thread>
#include <tuple>

#include "platform/desktop.h"
#include "tests/support/environment.h"

#define EXPECT_LAST_ERROR(error) EXPECT_EQ(static_cast<LONG>(GetLastError()), error)

using namespace platform;
using namespace std::string_literals;

TEST(LayerTest, TextIsConvertedWholeOrRefused) {
  const std::tuple<std::string, std::basic_string<WCHAR>, bool> cases[] = {
      // Narrow, wide, and whether the narrow text is valid
      {"a\xC3\xA4\xE2\x82\xAC", KSV_WIDE("a\u00E4\u20AC"), true},
      {"\xF0\x9F\x98\x80", KSV_WIDE("\U0001F600"), true},
      {"\xC0\x80x", KSV_WIDE("\uFFFD\uFFFDx"), false},
      {"\xED\xA0\x80", KSV_WIDE("\uFFFD\uFFFD\uFFFD"), false},
      {"\xE0\x80\x80", KSV_WIDE("\uFFFD\uFFFD\uFFFD"), false},
      {"\xF0\x8F\xBF\xBF", KSV_WIDE("\uFFFD\uFFFD\uFFFD\uFFFD"), false},
      {"\xF4\x90\x80\x80", KSV_WIDE("\uFFFD\uFFFD\uFFFD\uFFFD"), false},
      {"\xE2\x82x\xF0\x9F", KSV_WIDE("\uFFFDx\uFFFD"), false}};
  char text[16];
  for (const auto& [narrow, wide, isValid] : cases) {
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, narrow.c_str(), -1, nullptr, 0) > 0, isValid);
    // Into how many characters a broken sequence falls is each system's own.
    if (!isValid && !kHasLayerSettings) continue;
    const int narrowSize = static_cast<int>(narrow.size()) + 1, wideSize = static_cast<int>(wide.size()) + 1;
    WCHAR widened[8] = {};
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, narrow.c_str(), -1, widened, wideSize), wideSize);
    EXPECT_TRUE(widened == wide) << narrow;
    if (!isValid) continue;
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), -1, text, narrowSize, nullptr, nullptr), narrowSize);
    EXPECT_EQ(text, narrow);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), -1, text, narrowSize - 1, nullptr, nullptr), 0);
    EXPECT_LAST_ERROR(ERROR_INSUFFICIENT_BUFFER);
  }
  text[3] = 'x';
  EXPECT_EQ(wcstombs_s(nullptr, text, 4, KSV_WIDE("abcdef"), _TRUNCATE), STRUNCATE);
  EXPECT_STREQ(text, "abc");
  const WCHAR unpaired[] = {0xDC00, 'x', 0};
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, unpaired, -1, text, 8, nullptr, nullptr), 0);
  EXPECT_LAST_ERROR(ERROR_NO_UNICODE_TRANSLATION);
}

TEST(LayerTest, MutexesBelongToTheThreadThatTookThem) {
  const HANDLE mutex = CreateMutexA(nullptr, FALSE, nullptr);
  EXPECT_EQ(WaitForSingleObject(mutex, 0) + WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "twice by its owner";
  EXPECT_TRUE(ReleaseMutex(mutex));
  std::thread([mutex] {
    EXPECT_EQ(WaitForSingleObject(mutex, 0), static_cast<DWORD>(WAIT_TIMEOUT)) << "once is not enough";
    EXPECT_FALSE(ReleaseMutex(mutex));
  }).join();
  EXPECT_TRUE(ReleaseMutex(mutex) && !ReleaseMutex(mutex));
  EXPECT_LAST_ERROR(ERROR_NOT_OWNER);
  EXPECT_TRUE(CloseHandle(mutex) && WaitForSingleObject(mutex, 0) == WAIT_FAILED);
}

TEST(LayerTest, ACallFailsWhenATestSaysSo) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the calls are the system's own";
  constexpr UINT kMessage = WM_USER + 42;
  TestWindow window;
  const FailCall fail("PostMessageA", 5, 2);
  EXPECT_TRUE(PostMessageA(window.handle(), kMessage, 0, 0) && !fail.fired());
  EXPECT_TRUE(!PostMessageA(window.handle(), kMessage, 0, 0) && fail.fired());
  EXPECT_LAST_ERROR(5);
  for (int count = 1; count < 10'000; ++count) ASSERT_TRUE(PostMessageA(window.handle(), kMessage, 0, 0));
  EXPECT_FALSE(PostMessageA(window.handle(), kMessage, 0, 0));
  EXPECT_LAST_ERROR(ERROR_NOT_ENOUGH_QUOTA);
  EXPECT_THROW(FailCall("NoSuchCall", 5), std::invalid_argument);
}

TEST(LayerTest, RegistryKeepsWhatTwoThreadsWrite) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the registry is the system's own";
  const support::Environment environment;
  const auto name = [](char thread, int number) { return thread + std::to_string(number); };
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "K", 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), ERROR_SUCCESS);
  const auto write = [&](char thread) {
    for (int i = 0; i < 50; ++i) RegSetValueExA(key, name(thread, i).c_str(), 0, REG_SZ, nullptr, 0);
  };
  std::thread other(write, 'b');
  write('a');
  other.join();
  for (int i = 0; i < 100; ++i) {
    const std::string value = name(i < 50 ? 'a' : 'b', i % 50);
    EXPECT_EQ(RegQueryValueExA(key, value.c_str(), nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS) << value;
  }
}

TEST(LayerTest, RegistryFileWrittenByHand) {
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
  const support::Environment environment;
  const auto place = environment.Scratch() / "registry.json";
  const ScopedVariable variable("KSV_REGISTRY", place.string().c_str());
  HKEY key = nullptr;
  // The bytes of the value V, or the error's number.
  const auto read = [&key]() -> std::string {
    std::string bytes(16, '\0');
    auto size = static_cast<DWORD>(bytes.size());
    LSTATUS error = RegOpenKeyExA(HKEY_CURRENT_USER, "SOFTWARE\\k\\", 0, KEY_READ, &key);
    if (error) return "no key, " + std::to_string(error);
    error = RegQueryValueExW(key, KSV_WIDE("V"), nullptr, nullptr, reinterpret_cast<BYTE*>(bytes.data()), &size);
    return error ? "no value, " + std::to_string(error) : bytes.substr(0, size);
  };
  for (const auto& [file, told] : cases) {
    std::ofstream(place) << file;
    EXPECT_EQ(read(), told) << file.substr(0, 120);
  }
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "K", 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), ERROR_BADDB);
  EXPECT_EQ(std::filesystem::file_size(place), 6u) << "a file that is not understood is not written over";
}
