#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

#include "foundation/base64.h"
#include "foundation/debug_log.h"
#include "foundation/guarded_memory.h"
#include "foundation/platform_files.h"
#include "foundation/result_codes.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "foundation/update_gate.h"
#include "tests/support/environment.h"

using namespace NorvoWebAPI;
using platform::FailCall;
using platform::kHasLayerSettings;
using std::string;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

using WideText = std::basic_string<WCHAR>;

const string kEnd(1, '\0');

WideText Widen(const string& text) {
  return {text.begin(), text.end()};
}

string Narrowed(const WCHAR* text) {
  string narrow;
  while (*text) narrow += static_cast<char>(*text++);
  return narrow;
}

const uint8_t* Data(const string& bytes) {
  return reinterpret_cast<const uint8_t*>(bytes.data());
}

// The error's text or code; empty when there is none.
string ErrorOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const KSV::CPluginException& error) {
    return std::to_string(error.pluginRetCode);
  } catch (const _com_error& error) {
    return std::to_string(static_cast<uint32_t>(error.Error()) - 0x80070000u);
  } catch (const std::exception& error) {
    return error.what();
  }
  return "";
}

class FoundationTest : public testing::Test {
 protected:
  static void SetValue(const char* name, DWORD type, string bytes) {
    const auto size = static_cast<DWORD>(bytes.size());
    bytes += "##";  // Else the system may find a terminator behind the bytes and store it with them.
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, "Software\\Norvo\\Services\\KSV", 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, &key, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExW(key, Widen(name).c_str(), 0, type, Data(bytes), size), ERROR_SUCCESS);
    RegCloseKey(key);
  }
  static void SetFolder(const string& text, DWORD type = REG_SZ) {
    const WideText wide = Widen(text);
    SetValue("FILELOCALE", type, {reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(WCHAR)});
  }
  string At(const string& name) const { return base + name; }

  support::Environment world;
  const string base = Platform::GetBasePath();
};

string Fixed(const string& text, uint32_t capacity = 256) {
  const auto path = std::make_unique<WCHAR[]>(capacity);
  std::copy_n(text.begin(), std::min<size_t>(text.size(), capacity), path.get());
  EXPECT_EQ(FixLibraryFolder(path.get(), &capacity), 0);
  const string fixed = Narrowed(path.get());
  EXPECT_EQ(capacity, fixed.size());
  return fixed;
}

string Encode(const string& bytes) {
  return EncodeBase64(Data(bytes), bytes.size());
}

string Decode(const string& text) {
  // Exactly as long as the text, so that a read behind it is noticed.
  const auto exact = std::make_unique<char[]>(text.size());
  std::ranges::copy(text, exact.get());
  const ByteBuffer decoded = DecodeBase64(exact.get(), static_cast<int32_t>(text.size()));
  return {reinterpret_cast<const char*>(decoded.bytes.get()), decoded.size};
}

}  // namespace

TEST_F(FoundationTest, LogLevelIsFourBytesOfAnyType) {
  EXPECT_EQ(GetLogLevel(), -1) << "without the key";
  SetFolder("C:\\Norvo");
  EXPECT_EQ(GetLogLevel(), -1) << "without the value";
  const string one("\1\0\0\0", 4);
  const std::tuple<DWORD, string, int32_t> rows[] = {
      {REG_DWORD, one, 1}, {REG_BINARY, one, 1}, {REG_DWORD, "\xFE\xFF\xFF\xFF", -2}, {REG_QWORD, one + one, -1}};
  for (const auto& [type, bytes, level] : rows) {
    SetValue("KsvPluginLogLevel", type, bytes);
    EXPECT_EQ(GetLogLevel(), level) << type;
  }
}

TEST_F(FoundationTest, LogLineHasItsHeadAndItsLimit) {
  const platform::DebugOutputCapture output;
  DebugLog(false, "pZUB", "off\n");
  DebugLog(true, "pZUB", "%s:%d, %d\n", "Init", 0, -1);
  DebugLog(true, "pZUB", "%s", string(3000, 'x').c_str());
  const string head = "[" + std::to_string(static_cast<int>(GetCurrentThreadId())) + "] [pZUB] ";
  EXPECT_THAT(output.lines(), ElementsAre(head + "Init:0, -1\n", head + string(2047 - head.size(), 'x')));
}

TEST_F(FoundationTest, LibraryFolderIsTextOfAtMost127Units) {
  const auto data = std::make_unique<WCHAR[]>(128);
  const auto read = [&](uint32_t length = 256) {
    std::fill_n(data.get(), 128, WCHAR{'#'});
    if (GetLibraryFolder(data.get(), &length) != 0) return string("refused");
    EXPECT_EQ(data[length], 0);
    return Narrowed(data.get());
  };
  EXPECT_EQ(read(), "refused") << "without the key";
  const string longest(127, 'a');
  for (const DWORD type : {REG_SZ, REG_EXPAND_SZ}) {
    for (const string& text :
         {"%TEMP%\\N" + kEnd, string("C:\\N"), longest + kEnd, longest, kEnd, string(), "C:" + kEnd + "\\N" + kEnd}) {
      SetFolder(text, type);
      EXPECT_EQ(read(), text.c_str());
    }
  }
  for (const string& text : {longest + "a", longest + "a" + kEnd, string(1000, 'a')}) {
    SetFolder(text);
    EXPECT_EQ(read(), "refused") << text.size();
  }
  SetFolder("C:\\N" + kEnd);
  EXPECT_EQ(read(8), "refused") << "without room for the terminator";
  for (const DWORD type : {REG_BINARY, REG_DWORD, REG_MULTI_SZ}) {
    SetFolder("C:\\N" + kEnd, type);
    EXPECT_EQ(read(), "refused") << type;
  }
}

TEST_F(FoundationTest, LibraryFolderIsTrimmedAndLedToThe32BitPrograms) {
  for (const char* text : {"C:\\N", "C:\\N\\ ", "C:\\N \t\f\v\n\r\\"}) EXPECT_EQ(Fixed(text), "C:\\N");
  for (const char* text : {"", "\\", " \\ "}) EXPECT_EQ(Fixed(text), "");
  EXPECT_EQ(Fixed(" C:\\Norvo", 6), " C:\\N");
  const string programs = "C:\\Program Files\\";
  const string programs32 = "C:\\Program Files (x86)\\";
  BOOL is32On64 = FALSE;
  IsWow64Process(GetCurrentProcess(), &is32On64);
  EXPECT_EQ(Fixed(programs + "N"), (is32On64 ? programs32 : programs) + "N");
  if (!kHasLayerSettings) return;
  const platform::Wow64Answer answer(true);
  EXPECT_EQ(Fixed(programs + programs + "N\\"), programs32 + programs + "N");
  EXPECT_EQ(Fixed(programs + "Norvo", 24), programs32);
  for (const string& kept : {programs32 + "N", string("C:\\program files\\N"), string("C:\\Program Files")}) {
    EXPECT_EQ(Fixed(kept), kept);
  }
  const FailCall silent("IsWow64Process", ERROR_ACCESS_DENIED);
  EXPECT_EQ(Fixed(programs + "N"), programs + "N");
}

TEST_F(FoundationTest, LibraryPathIsCutAt256Units) {
  LibraryPath path;
  EXPECT_FALSE(path.ReadFolder() || path.ReadLoadFolder());
  SetFolder("C:\\N\\ " + kEnd);
  ASSERT_TRUE(path.ReadFolder());
  EXPECT_EQ(Narrowed(path.c_str()), "C:\\N\\ ");
  ASSERT_TRUE(path.ReadLoadFolder());
  path.Append(KSV_WIDE("zub.dll"));
  EXPECT_EQ(Narrowed(path.c_str()), "C:\\N\\zub.dll");
  path.Append(Widen(string(242, 'b')).c_str());
  for (int i = 0; i < 2; ++i) path.Append(KSV_WIDE("cd"));
  EXPECT_EQ(Narrowed(path.c_str()), "C:\\N\\zub.dll" + string(242, 'b') + "c");
}

TEST(Base64Test, TextHasTheFormThatPagesRead) {
  const char* const texts[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
  for (size_t size = 0; size < std::size(texts); ++size) {
    EXPECT_EQ(Encode(string("foobar", size)), texts[size] + string("\n"));
  }
  string line;
  for (int i = 0; i < 18; ++i) line += "+/+/";
  string bytes;
  for (int i = 0; i < 18; ++i) bytes += "\xFB\xFF\xBF";
  EXPECT_EQ(Encode(bytes), line + "\n\n");
  EXPECT_EQ(Encode(bytes + "f"), line + "\nZg==\n");
  EXPECT_EQ(Encode(bytes + bytes + "f"), line + "\n" + line + "\nZg==\n");
  for (bytes = ""; bytes.size() < 200; bytes += static_cast<char>(bytes.size() * 89)) {
    EXPECT_EQ(Decode(Encode(bytes)), bytes);
  }
}

TEST(Base64Test, DecodingSkipsWhatIsNotInTheAlphabet) {
  for (const char* text : {"", "=", "Z", "=Z=", "-_"}) EXPECT_EQ(Decode(text), "") << text;
  for (const char* text : {"Zg", "Zh", "Zg==\n", "Z\r\ng\r\n=\r\n=\r\n"}) EXPECT_EQ(Decode(text), "f") << text;
  EXPECT_EQ(Decode("Zm8"), "fo");
  EXPECT_EQ(Decode("Zg==Zg=="), "f\x06`");
  const string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (int byte = 0; byte < 256; ++byte) {
    const auto c = static_cast<char>(byte);
    if (alphabet.find(c) != string::npos) continue;
    EXPECT_EQ(Decode({c, 'Z', c, 'm', c, c, '9', 'v', c}), "foo") << byte;
  }
  EXPECT_EQ(DecodeBase64(nullptr, 8).size, 0u);
  EXPECT_THROW(DecodeBase64("Zm9v", -1), std::bad_alloc);
}

TEST(TextTest, ConversionKeepsTextAndTellsNullFromEmpty) {
  EXPECT_FALSE(BstrFromNarrow(nullptr));
  EXPECT_EQ(NarrowFromBstr(nullptr), std::nullopt);
  const WCHAR accented[] = {'a', 0xE9, 0xDF, 0};  // One byte each or two, as the code page has it.
  for (const WideText& text : {WideText(), Widen("com.norvo.time"), WideText(accented)}) {
    const Bstr wide(SysAllocString(text.c_str()));
    const Bstr back = BstrFromNarrow(NarrowFromBstr(wide.Get()).value().c_str());
    ASSERT_TRUE(back);
    EXPECT_EQ(back.Get(), text);
  }
  const Bstr cut = BstrOfExactLength("a" + kEnd + "b");
  EXPECT_EQ(WideText(cut.Get(), SysStringLen(cut.Get())), WideText(KSV_WIDE("a\0b"), 3));
  EXPECT_EQ(NarrowFromBstr(cut.Get()), "a");
}

TEST(TextTest, OriginIsSchemeHostAndPort) {
  const std::pair<const char*, const char*> rows[] = {
      {"https://norvo.example:8443/a/b?c=d:e", "https_norvo.example_8443"},
      {"http://norvo.example?q=1", "http_norvo.example?q=1"},
      {"https://a:b@c:1/", "https_a_b@c:1"},
      {"file:///home/a.html", "file_"},
      {"http://a://b/c", "http_a_"},
      {"about:blank:x", "about_blank:x"},
      {"a/b/c", "a/b/c"},
      {"", ""},
  };
  for (const auto& [address, origin] : rows) {
    string url = address;
    NormalizeOrigin(url);
    EXPECT_EQ(url, origin);
  }
}

TEST(GuardedMemoryTest, CopiesOrClearsTheWholeRoom) {
  const auto copy = [](size_t size, const char* source, size_t count) {
    string room = "____";
    const string error = ErrorOf([&] { Platform::memcpy(room.data(), size, source, count); });
    std::ranges::replace(room, '\0', '0');
    return room + error;
  };
  EXPECT_EQ(copy(4, "1234", 4), "1234");
  EXPECT_EQ(copy(3, "1234", 2), "12__");
  EXPECT_EQ(copy(2, nullptr, 0), "____");
  EXPECT_EQ(copy(3, "1234", 4), "000_Platform::memcpy failed");
  EXPECT_EQ(copy(2, nullptr, 1), "00__Platform::memcpy failed");
  EXPECT_EQ(ErrorOf([] { Platform::memcpy(nullptr, 0, nullptr, 0); }), "");
  EXPECT_EQ(ErrorOf([] { Platform::memcpy(nullptr, 4, "1", 1); }), "Platform::memcpy failed");
}

TEST_F(FoundationTest, PathsAreHeldInsideTheBasePath) {
  const string refused = "Platform operation attempted outside of base path";
  const string bare = base.substr(0, base.size() - 1);
  const string otherCase = bare.substr(0, bare.size() - 1) + "I\\a";
  for (const string& path : {base, At("a"), At(".\\a\\..\\b"), At("..\\webapi\\a"), bare + "/a"}) {
    EXPECT_EQ(ErrorOf([&] { Platform::CheckPath(path); }), "") << path;
  }
  for (const string& path :
       {bare, bare + "2\\a", At(".."), At("a\\..\\..\\b"), At("a/../../b"), otherCase, string("a")}) {
    EXPECT_EQ(ErrorOf([&] { Platform::CheckPath(path); }), refused) << path;
  }
  EXPECT_EQ(ErrorOf([] { Platform::CheckPath(""); }), "Failed to canonicalize path");

  const fs::path there = world.Scratch() / "folder";
  fs::create_directories(there);
  const string folder = At("..\\..\\..\\scratch\\folder");
  std::unique_ptr<uint8_t[]> buffer;
  std::vector<string> names;
  const std::function<void()> operations[] = {[&] { Platform::CreateDirectories(folder + "\\new"); },
                                              [&] { Platform::WriteFile(folder + "\\new", nullptr, 0); },
                                              [&] { Platform::DeleteFile(folder); },
                                              [&] { Platform::ReadFile(folder, &buffer); },
                                              [&] { Platform::FileExists(folder, "a"); },
                                              [&] { Platform::ListDirectory(folder, names); }};
  for (const auto& operation : operations) EXPECT_EQ(ErrorOf(operation), refused);
  EXPECT_TRUE(fs::is_empty(there));
}

TEST_F(FoundationTest, FoldersAreMadeFromTheTop) {
  fs::remove_all(world.Scratch().parent_path() / "LocalLow");  // A profile's first time.
  for (const char* path : {"a\\b\\c", "a\\b\\c", "a\\b\\c\\", "a\\\\d"}) {
    EXPECT_EQ(ErrorOf([&] { Platform::CreateDirectories(At(path)); }), "") << path;
  }
  EXPECT_TRUE(fs::is_directory(world.Path("a/b/c")) && fs::is_directory(world.Path("a/d")));
  world.Write("file", "");
  EXPECT_EQ(ErrorOf([&] { Platform::CreateDirectories(At("file\\a")); }), "Failed to create directory");
}

TEST_F(FoundationTest, FilesAreFoundByTheirExactName) {
  for (const char* file : {"a.bin", "noend", ".hidden", "same/same", "deep/deep/deep", "other/below"}) {
    world.Write(string("t/") + file, "");
  }
  fs::create_directories(world.Path("t/empty/empty"));
  for (const char* name : {"a.bin", "noend", "same", "deep"}) EXPECT_TRUE(Platform::FileExists(At("t"), name)) << name;
  for (const char* name :
       {"A.bin", "SAME", "a.*", "*", ".hidden", "empty", "below", "other\\below", "..\\t\\a.bin", ""}) {
    EXPECT_FALSE(Platform::FileExists(At("t"), name)) << name;
  }
  EXPECT_FALSE(Platform::FileExists(At("missing"), "a.bin"));

  std::vector<string> names{"before"};
  EXPECT_FALSE(Platform::ListDirectory(At("missing"), names));
  EXPECT_TRUE(Platform::ListDirectory(At("t"), names));
  EXPECT_EQ(names.front(), "before");
  EXPECT_THAT(names, testing::UnorderedElementsAre("before", "a.bin", "noend", "same", "deep", "other", "empty"));
}

TEST_F(FoundationTest, FilesKeepTheirBytes) {
  std::unique_ptr<uint8_t[]> buffer;
  for (const string& bytes : {string(65535, '\x1A'), string("a\0\r\n\n\x1A\xFF", 7), string()}) {
    Platform::WriteFile(At("f"), Data(bytes), static_cast<uint16_t>(bytes.size()));
    EXPECT_EQ(world.Read("f"), bytes);
    const uint32_t length = Platform::ReadFile(At("f"), &buffer);
    EXPECT_EQ(string(reinterpret_cast<const char*>(buffer.get()), length), bytes);
  }
  Platform::DeleteFile(At("f"));
  EXPECT_FALSE(world.Read("f"));

  fs::create_directories(world.Path("folder"));
  EXPECT_EQ(ErrorOf([&] { Platform::DeleteFile(At("f")); }), "Failed to delete file");
  for (const char* name : {"f", "folder"}) {
    EXPECT_EQ(ErrorOf([&] { Platform::ReadFile(At(name), &buffer); }), "20") << name;
  }
  for (const char* name : {"missing\\f", "folder"}) {
    EXPECT_EQ(ErrorOf([&] { Platform::WriteFile(At(name), nullptr, 0); }), "21") << name;
  }
  std::error_code noLinks;
  fs::create_symlink("/dev/full", world.Path("full"), noLinks);
  if (noLinks) return;
  EXPECT_EQ(ErrorOf([&] { Platform::WriteFile(At("full"), Data("1"), 1); }), "13");
}

TEST_F(FoundationTest, TemporaryFilesAreNewAndEmpty) {
  const string first = Platform::GetTempFileName();
  EXPECT_NE(first, Platform::GetTempFileName());
  EXPECT_TRUE(first.starts_with(base + "NWA") && first.find('\\', base.size()) == string::npos) << first;
  EXPECT_EQ(world.Read(first.substr(base.size())), "");
  fs::remove_all(world.Scratch().parent_path() / "LocalLow");
  EXPECT_EQ(ErrorOf([] { Platform::GetTempFileName(); }), "Unable to create temporary filename");
}

TEST_F(FoundationTest, UpdateGateShutsAfter48Hours) {
  const string file = "lastUpdatetest";
  EXPECT_TRUE(Platform::IsUpdateOverdue("test")) << "without the file";
  std::vector<string> wrong;
  __time64_t now = 0;
  do {  // Again when the second has changed meanwhile.
    wrong.clear();
    now = _time64(nullptr);
    const auto ago = [now](int64_t seconds) { return std::to_string(now - seconds); };
    const auto check = [&](const string& text, bool overdue) {
      world.Write(file, text);
      if (Platform::IsUpdateOverdue("test") != overdue) wrong.push_back(text);
    };
    for (const string& text : {ago(0), ago(172'799), ago(-1'000'000), " \t\r\n+" + ago(0) + ".9\nby x"}) {
      check(text, false);
    }
    for (const string& text : {ago(172'800), "x" + ago(0), "0x" + ago(0), "-" + ago(0), "9999999999" + ago(0), string(),
                               string("\n"), string("-9223372036854775808")}) {
      check(text, true);
    }
  } while (_time64(nullptr) != now);
  EXPECT_THAT(wrong, testing::IsEmpty());
  fs::remove(world.Path(file));
  fs::create_directories(world.Path(file));
  EXPECT_TRUE(Platform::IsUpdateOverdue("test")) << "with a folder in its place";
}

// The base path is kept for the life of a process, so each form of the variable is read by one of its own.
TEST(BasePathDeathTest, LiesBesideTheRoamingProfile) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::pair<const char*, const char*> rows[] = {
      {"\\p\\AppData\\Roaming", "\\p\\AppData\\LocalLow\\Norvo\\webapi\\|"},
      {"\\p\\Roaming\\Roaming", "\\p\\Roaming\\LocalLow\\Norvo\\webapi\\|"},
      {"\\p\\Roaming\\", "\\p\\Roaming\\LocalLow\\Norvo\\webapi\\|"},
      {"\\p\\x\\..\\roaming", "\\p\\roaming\\LocalLow\\Norvo\\webapi\\|"},
  };
  const auto child = [](const char* appData) {
    string without;
    for (const char* none : {"", static_cast<const char*>(nullptr)}) {
      const platform::ScopedVariable unset("AppData", none);
      without = ErrorOf([] { Platform::GetBasePath(); }) + (Platform::IsUpdateOverdue("test") ? ", shut" : ", open");
      if (without != "Failed to find AppData environment variable, shut") break;
    }
    const platform::ScopedVariable set("AppData", appData);
    std::fprintf(stderr, "%s|%s|", without.c_str(), Platform::GetBasePath().c_str());
    std::exit(0);
  };
  for (const auto& [appData, basePath] : rows) {
    EXPECT_EXIT(child(appData), testing::ExitedWithCode(0),
                testing::AllOf(testing::HasSubstr("Failed to find AppData environment variable, shut|"),
                               testing::HasSubstr(basePath)));
  }
}
