// The settings: the log level, and the folder of the vendor's libraries.
#include "storage/settings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <tuple>

#include "tests/support/environment.h"

using namespace NorvoWebAPI;
using std::string;

namespace {

using WideText = std::basic_string<WCHAR>;

const string kEnd(1, '\0');

string Narrowed(const WCHAR* text) {
  string narrow;
  while (*text) narrow += static_cast<char>(*text++);
  return narrow;
}

string Fixed(const string& text, uint32_t capacity = 256) {
  const auto path = std::make_unique<WCHAR[]>(capacity);
  std::copy_n(text.begin(), std::min<size_t>(text.size(), capacity), path.get());
  EXPECT_EQ(FixLibraryFolder(path.get(), &capacity), 0);
  const string fixed = Narrowed(path.get());
  EXPECT_EQ(capacity, fixed.size());
  return fixed;
}

}  // namespace

class SettingsTest : public testing::Test {
 protected:
  void SetFolder(const string& text, DWORD type = REG_SZ) const {
    const WideText wide(text.begin(), text.end());
    world.SetSetting("FILELOCALE", type, {reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(WCHAR)});
  }

  support::Environment world;
};

TEST_F(SettingsTest, LogLevelIsFourBytesOfAnyType) {
  EXPECT_EQ(GetLogLevel(), -1) << "without the key";
  SetFolder("C:\\Norvo");
  EXPECT_EQ(GetLogLevel(), -1) << "without the value";
  const string one("\1\0\0\0", 4);
  const std::tuple<DWORD, string, int32_t> rows[] = {
      {REG_BINARY, one, 1}, {REG_DWORD, "\xFE\xFF\xFF\xFF", -2}, {REG_QWORD, one + one, -1}};
  for (const auto& [type, bytes, level] : rows) {
    world.SetSetting("KsvPluginLogLevel", type, bytes);
    EXPECT_EQ(GetLogLevel(), level) << type;
  }
}

TEST_F(SettingsTest, LibraryFolderIsTextOfAtMost127Characters) {
  const auto data = std::make_unique<WCHAR[]>(128);
  const auto read = [&](uint32_t length = 256) {
    std::fill_n(data.get(), 128, WCHAR{'#'});
    if (GetLibraryFolder(data.get(), &length) != 0) return string("refused");
    EXPECT_EQ(data[length], 0);
    return Narrowed(data.get());
  };
  EXPECT_EQ(read(), "refused") << "without the key";
  const string longest(127, 'a');
  for (const string& text : {"%TEMP%\\N" + kEnd, string("C:\\N"), longest + kEnd, longest, kEnd, string(),
                             "C:" + kEnd + "\\N" + kEnd, longest + "a", longest + "a" + kEnd}) {
    for (const DWORD type : {REG_SZ, REG_EXPAND_SZ, REG_BINARY, REG_MULTI_SZ}) {
      SetFolder(text, type);
      const bool isFolder = type <= REG_EXPAND_SZ && text.find('a', 127) == string::npos;
      EXPECT_EQ(read(), isFolder ? text.c_str() : "refused") << text << type;
    }
  }
  SetFolder("C:\\N" + kEnd);
  EXPECT_EQ(read(8), "refused") << "without room for the terminator";
  uint32_t length = 256;
  EXPECT_EQ(GetLibraryFolder(nullptr, &length) + GetLibraryFolder(data.get(), nullptr), -2);
  EXPECT_EQ(FixLibraryFolder(nullptr, &length) + FixLibraryFolder(data.get(), nullptr), -2);
}

TEST_F(SettingsTest, FixTrimsTheFolderAndNamesThe32BitPrograms) {
  for (const char* text : {"C:\\N", "C:\\N\\ ", "C:\\N \t\f\v\n\r\\"}) EXPECT_EQ(Fixed(text), "C:\\N");
  for (const char* text : {"", "\\", " \\ "}) EXPECT_EQ(Fixed(text), "");
  EXPECT_EQ(Fixed(" C:\\Norvo", 6), " C:\\N");
  const string programs = "C:\\Program Files\\";
  const string programs32 = "C:\\Program Files (x86)\\";
  BOOL is32On64 = FALSE;
  IsWow64Process(GetCurrentProcess(), &is32On64);
  EXPECT_EQ(Fixed(programs + "N"), (is32On64 ? programs32 : programs) + "N");
  if (!platform::kHasLayerSettings) return;
  const platform::Wow64Answer answer(true);
  EXPECT_EQ(Fixed(programs + programs + "N\\"), programs32 + programs + "N");
  EXPECT_EQ(Fixed(programs + "Norvo", 24), programs32);
  for (const string& kept : {programs32 + "N", string("C:\\program files\\N")}) EXPECT_EQ(Fixed(kept), kept);
  const platform::FailCall silent("IsWow64Process", ERROR_ACCESS_DENIED);
  EXPECT_EQ(Fixed(programs + "N"), programs + "N");
}

TEST_F(SettingsTest, LibraryPathIsCutAt255Characters) {
  LibraryPath path;
  EXPECT_FALSE(path.ReadFolder() || path.ReadLoadFolder());
  SetFolder("C:\\N\\ " + kEnd);
  ASSERT_TRUE(path.ReadFolder());
  EXPECT_EQ(Narrowed(path.c_str()), "C:\\N\\ ");
  ASSERT_TRUE(path.ReadLoadFolder());
  path.Append(KSV_WIDE("zub.dll"));
  path.Append(WideText(242, 'b').c_str());
  for (int i = 0; i < 2; ++i) path.Append(KSV_WIDE("cd"));
  EXPECT_EQ(Narrowed(path.c_str()), "C:\\N\\zub.dll" + string(242, 'b') + "c");
}
