// What the platform's calls promise beyond what the product's tests ask through it: texts, paths, modules, the process.
#include <cstdlib>
#include <tuple>

#include "tests/support/layer_fixture.h"

using namespace platform;

using WideText = std::basic_string<WCHAR>;

class LayerFilesTest : public support::LayerTest {};

TEST_F(LayerFilesTest, PathsAndPatternsAreReadByTheirText) {
  const std::pair<std::string, std::string> paths[] = {{"/a/./b/", "\\a\\b\\"}, {"\\a\\..\\..\\b", "\\b"},
                                                       {"\\a\\\\b", "\\a\\b"},  {"\\a\\b\\..", "\\a"},
                                                       {"\\..", "\\"},          {"\\a\\..b", "\\a\\..b"}};
  for (const auto& [path, expected] : paths) {
    const DWORD needed = GetFullPathNameA(path.c_str(), 0, nullptr, nullptr);
    std::string full(needed, '+');
    EXPECT_EQ(GetFullPathNameA(path.c_str(), needed - 1, full.data(), nullptr), needed) << path;
    EXPECT_EQ(GetFullPathNameA(path.c_str(), needed, full.data(), nullptr), needed - 1) << path;
    full.pop_back();
    EXPECT_TRUE(full == expected || (full[1] == ':' && full.substr(2) == expected)) << path << " gave " << full;
  }
  for (const char* name : {"One.tok", "two.TOK", "[o]"}) Write(name, "x");
  const std::pair<const char*, std::string> patterns[] = {
      {"*.tok", "One.tok two.TOK "}, {"ONE.tok", "One.tok "}, {"[o]", "[o] "}};
  WIN32_FIND_DATAA found;
  for (const auto& [pattern, expected] : patterns) {
    std::string names;
    const HANDLE search = FindFirstFileA(Path(pattern).c_str(), &found);
    do names += std::string(found.cFileName) + " ";
    while (FindNextFileA(search, &found));
    EXPECT_LAST_ERROR(ERROR_NO_MORE_FILES);
    FindClose(search);
    EXPECT_EQ(names, expected);
  }
  for (const auto& [pattern, error] : {std::pair{"none*", ERROR_FILE_NOT_FOUND}, {"no\\*.*", ERROR_PATH_NOT_FOUND}}) {
    EXPECT_EQ(FindFirstFileA(Path(pattern).c_str(), &found), INVALID_HANDLE_VALUE);
    EXPECT_LAST_ERROR(error);
  }
}

TEST_F(LayerFilesTest, TextIsConvertedWholeOrRefused) {
  const std::tuple<std::string, WideText, bool> cases[] = {
      // Narrow, wide, and whether the narrow text is valid
      {"a\xC3\xA4\xE2\x82\xAC", KSV_WIDE("a\u00E4\u20AC"), true},
      {"\xF0\x9F\x98\x80", KSV_WIDE("\U0001F600"), true},
      {"\xC0\x80x", KSV_WIDE("\uFFFD\uFFFDx"), false},
      {"\xED\xA0\x80", KSV_WIDE("\uFFFD\uFFFD\uFFFD"), false},
      {"\xE0\x80\x80", KSV_WIDE("\uFFFD\uFFFD\uFFFD"), false},
      {"\xF4\x90\x80\x80", KSV_WIDE("\uFFFD\uFFFD\uFFFD\uFFFD"), false},
      {"\xF0\x80\x80\x80", KSV_WIDE("\uFFFD\uFFFD\uFFFD\uFFFD"), false},
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
  const WCHAR unpaired[] = {0xDC00, 'x', 0};
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, unpaired, -1, text, 8, nullptr, nullptr), 0);
  EXPECT_LAST_ERROR(ERROR_NO_UNICODE_TRANSLATION);
}

TEST_F(LayerFilesTest, MissingAndBrokenModulesAreTwoErrors) {
  Write("text.dll", "no module");
  for (const auto& [name, error] : {std::pair{"none.dll", ERROR_MOD_NOT_FOUND}, {"text.dll", ERROR_BAD_EXE_FORMAT}}) {
    EXPECT_EQ(LoadLibraryW(support::PlatformPath<WCHAR>(folder_ / name).c_str()), nullptr);
    EXPECT_LAST_ERROR(error);
  }
  EXPECT_EQ(GetProcAddress(GetModuleHandleA("kernel32"), "NoSuchEntry"), nullptr);
  const ScopedVariable variable("KsvProbe", "value");
  char* value = nullptr;
  EXPECT_EQ(_dupenv_s(&value, nullptr, "KSVPROBE"), 0);
  EXPECT_STREQ(value, "value");
  std::free(value);
}
