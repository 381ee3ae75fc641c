// What the platform's calls promise beyond what the product's tests ask through it: texts of UTF-8.
#include <tuple>

#include "tests/support/layer_fixture.h"

using namespace platform;

using WideText = std::basic_string<WCHAR>;

class LayerFilesTest : public support::LayerTest {};

TEST_F(LayerFilesTest, TextIsConvertedWholeOrRefused) {
  const std::tuple<std::string, WideText, bool> cases[] = {
      // Narrow, wide, and whether the narrow text is valid
      {"a\xC3\xA4\xE2\x82\xAC", KSV_WIDE("a\u00E4\u20AC"), true},
      {"\xF0\x9F\x98\x80", KSV_WIDE("\U0001F600"), true},
      {"\xC0\x80x", KSV_WIDE("\uFFFD\uFFFDx"), false},
      {"\xED\xA0\x80", KSV_WIDE("\uFFFD\uFFFD\uFFFD"), false},
      {"\xE0\x80\x80", KSV_WIDE("\uFFFD\uFFFD\uFFFD"), false},
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
  const WCHAR unpaired[] = {0xDC00, 'x', 0};
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, unpaired, -1, text, 8, nullptr, nullptr), 0);
  EXPECT_LAST_ERROR(ERROR_NO_UNICODE_TRANSLATION);
}
