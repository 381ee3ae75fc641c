#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <locale>
#include <memory>
#include <new>

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
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

using WideText = std::basic_string<WCHAR>;

WideText Widen(const string& text) {
  return {text.begin(), text.end()};
}
string Narrowed(const WCHAR* text) {
  string narrow;
  for (; *text; ++text) narrow += static_cast<char>(*text);
  return narrow;
}

// The error's text or code, or nothing when there is none.
string ErrorOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const KSV::CPluginException& error) {
    return std::to_string(error.pluginRetCode);
  } catch (const _com_error& error) {
    return "HRESULT " + std::to_string(static_cast<uint32_t>(error.Error()) & 0xFFFF);
  } catch (const std::exception& error) {
    return error.what();
  }
  return "";
}

class FoundationTest : public testing::Test {
 protected:
  // A unit behind the bytes keeps the system from finding, and storing, a terminator there.
  static void SetValue(const char* name, DWORD type, string bytes) {
    const auto size = static_cast<DWORD>(bytes.size());
    const WideText wideName = Widen(name);
    bytes += "##";
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, "Software\\Norvo\\Services\\KSV", 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, &key, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExW(key, wideName.c_str(), 0, type, reinterpret_cast<const BYTE*>(bytes.data()), size),
              ERROR_SUCCESS);
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

string Decode(const string& text) {
  // Exactly as long as the text, so that a read behind it is noticed.
  const auto exact = std::make_unique<char[]>(text.size());
  std::ranges::copy(text, exact.get());
  const ByteBuffer decoded = DecodeBase64(exact.get(), static_cast<int32_t>(text.size()));
  return {reinterpret_cast<const char*>(decoded.bytes.get()), decoded.size};
}

string Encode(const string& bytes) {
  return EncodeBase64(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

TEST_F(FoundationTest, LogLevelIsFourBytesOfAnyType) {
  EXPECT_EQ(GetLogLevel(), -1) << "without the key";
  SetFolder("C:\\Norvo");
  EXPECT_EQ(GetLogLevel(), -1) << "without the value";
  const struct {
    DWORD type;
    string bytes;
    int32_t level;
  } rows[] = {{REG_DWORD, {0, 0, 0, 0}, 0},
              {REG_DWORD, {1, 0, 0, 0}, 1},
              {REG_DWORD, "\xFF\xFF\xFF\x7F", 0x7FFFFFFF},
              {REG_DWORD, "\xFF\xFF\xFF\xFE", -0x1000001},
              {REG_BINARY, {2, 0, 0, 0}, 2},
              {REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0}, -1}};
  for (const auto& row : rows) {
    SetValue("KsvPluginLogLevel", row.type, row.bytes);
    EXPECT_EQ(GetLogLevel(), row.level);
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
  const string ended("\0", 1);
  const struct {
    DWORD type;
    string stored;
    int32_t length;  // Below 0: refused.
  } rows[] = {{REG_SZ, "C:\\Norvo" + ended, 8},
              {REG_EXPAND_SZ, "%ProgramFiles%\\N" + ended, 16},
              {REG_SZ, "C:\\Norvo", 8},
              {REG_SZ, "C:" + ended + "\\N" + ended, 2},
              {REG_SZ, string(127, 'a') + ended, 127},
              {REG_SZ, string(127, 'a'), 127},
              {REG_SZ, string(128, 'a') + ended, -1},
              {REG_SZ, string(128, 'a'), -1},
              {REG_SZ, ended, 0},
              {REG_SZ, "", 0},
              {REG_MULTI_SZ, "C:\\N" + ended + ended, -1},
              {REG_BINARY, "C:\\N" + ended, -1},
              {REG_DWORD, "12", -1}};
  const auto data = std::make_unique<WCHAR[]>(128);
  uint32_t length = 256;
  EXPECT_EQ(GetLibraryFolder(data.get(), &length), -1) << "without the key";
  for (const auto& row : rows) {
    SetFolder(row.stored, row.type);
    std::fill_n(data.get(), 128, WCHAR{'#'});
    length = 256;
    ASSERT_EQ(GetLibraryFolder(data.get(), &length), row.length < 0 ? -1 : 0) << row.stored;
    if (row.length < 0) continue;
    EXPECT_EQ(length, static_cast<uint32_t>(row.length));
    EXPECT_EQ(Narrowed(data.get()), row.stored.substr(0, length));
  }
  SetFolder("C:\\N" + ended);
  length = 8;  // One unit short of the terminator.
  EXPECT_EQ(GetLibraryFolder(data.get(), &length), -1);
  EXPECT_EQ(GetLibraryFolder(nullptr, &length), -1);
  EXPECT_EQ(GetLibraryFolder(data.get(), nullptr), -1);
}

TEST_F(FoundationTest, LibraryFolderIsTrimmedAndLedToThe32BitPrograms) {
  const struct {
    string text, fixed, fixedFor32Bits;
    uint32_t capacity = 256;
  } rows[] = {{"C:\\N\\ ", "C:\\N", "C:\\N"},
              {" C:\\N \t\f\v\n\r\\", " C:\\N", " C:\\N"},
              {"\\ \\", "", ""},
              {"", "", ""},
              {"C:\\Program Files\\N\\", "C:\\Program Files\\N", "C:\\Program Files (x86)\\N"},
              {"C:\\Program Files (x86)\\N", "C:\\Program Files (x86)\\N", "C:\\Program Files (x86)\\N"},
              {"\\Program Files\\Program Files\\N", "\\Program Files\\Program Files\\N",
               "\\Program Files (x86)\\Program Files\\N"},
              {"C:\\program files\\N", "C:\\program files\\N", "C:\\program files\\N"},
              {"C:\\Program Files\\", "C:\\Program Files", "C:\\Program Files"},
              {"C:\\Norvo", "C:\\N", "C:\\N", 5},
              {"Program Files\\Norvo", "Program Files\\Norvo", "Program Files (x86)", 20}};
  BOOL system = FALSE;
  IsWow64Process(GetCurrentProcess(), &system);
  for (const bool answer : {false, true}) {
    std::unique_ptr<platform::Wow64Answer> set;
    if (kHasLayerSettings) {
      set = std::make_unique<platform::Wow64Answer>(answer);
    } else if (answer != (system != FALSE)) {
      continue;
    }
    for (const auto& row : rows) {
      const auto path = std::make_unique<WCHAR[]>(row.capacity);
      std::copy_n(Widen(row.text).c_str(), std::min<size_t>(row.text.size() + 1, row.capacity), path.get());
      uint32_t length = row.capacity;
      ASSERT_EQ(FixLibraryFolder(path.get(), &length), 0);
      const string& expected = answer ? row.fixedFor32Bits : row.fixed;
      EXPECT_EQ(Narrowed(path.get()), expected);
      EXPECT_EQ(length, expected.size());
    }
  }
  uint32_t length = 0;
  EXPECT_EQ(FixLibraryFolder(nullptr, &length), -1);
  EXPECT_EQ(FixLibraryFolder(std::make_unique<WCHAR[]>(1).get(), nullptr), -1);
}

TEST_F(FoundationTest, LibraryPathIsCutAt256Units) {
  LibraryPath path;
  EXPECT_FALSE(path.ReadFolder());
  EXPECT_FALSE(path.ReadLoadFolder());
  SetFolder(string("C:\\N\\ ") + '\0');
  ASSERT_TRUE(path.ReadFolder());
  EXPECT_EQ(Narrowed(path.c_str()), "C:\\N\\ ");
  ASSERT_TRUE(path.ReadLoadFolder());
  path.Append(KSV_WIDE("zub.dll"));
  EXPECT_EQ(Narrowed(path.c_str()), "C:\\N\\zub.dll");

  SetFolder(string(127, 'a') + '\0');
  ASSERT_TRUE(path.ReadLoadFolder());
  path.Append(Widen(string(126, 'b')).c_str());
  EXPECT_EQ(Narrowed(path.c_str()), string(127, 'a') + "\\" + string(126, 'b'));
  for (int i = 0; i < 2; ++i) path.Append(KSV_WIDE("cd"));
  EXPECT_EQ(Narrowed(path.c_str()), string(127, 'a') + "\\" + string(126, 'b') + "c");
}

TEST(Base64Test, TextHasTheFormThatPagesRead) {
  const std::pair<string, string> vectors[] = {{"", ""},
                                               {"f", "Zg=="},
                                               {"fo", "Zm8="},
                                               {"foo", "Zm9v"},
                                               {"foob", "Zm9vYg=="},
                                               {"fooba", "Zm9vYmE="},
                                               {"foobar", "Zm9vYmFy"},
                                               {"\xFB\xFF\xBF", "+/+/"}};
  for (const auto& [bytes, text] : vectors) EXPECT_EQ(Encode(bytes), text + "\n");

  string line;
  for (int i = 0; i < 18; ++i) line += "YWFh";
  EXPECT_EQ(Encode(string(54, 'a')), line + "\n\n");
  EXPECT_EQ(Encode(string(55, 'a')), line + "\nYQ==\n");
  EXPECT_EQ(Encode(string(109, 'a')), line + "\n" + line + "\nYQ==\n");
  for (size_t size = 0; size < 400; ++size) {
    string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 89 + size);
    const string text = Encode(bytes);
    EXPECT_EQ(text.size(), (size + 2) / 3 * 4 + size / 54 + 1);
    EXPECT_EQ(Decode(text), bytes);
  }
}

TEST(Base64Test, DecodingSkipsWhatIsNotInTheAlphabet) {
  const std::pair<string, string> rows[] = {
      {"", ""},
      {"=", ""},
      {"{", ""},
      {"Z", ""},
      {"Zg", "f"},
      {"Zm8", "fo"},
      {"Zh", "f"},
      {"-_", ""},
      {"====Z==m9v", "foo"},
      {"Zg==Zg==", "f\x06`"},
      {"Z\r\ng\r\n=\r\n=\r\n", "f"},
  };
  for (const auto& [text, bytes] : rows) EXPECT_EQ(Decode(text), bytes) << text;
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
  for (const string text : {"", "a", "com.norvo.time"}) {
    const Bstr wide = BstrFromNarrow(text.c_str());
    ASSERT_TRUE(wide);
    EXPECT_EQ(WideText(wide.Get()), Widen(text));
    EXPECT_EQ(NarrowFromBstr(wide.Get()), text);
  }
  const WCHAR accented[] = {0xE9, 0xDF, 0};  // In every western code page, one byte each or two.
  const Bstr wide(SysAllocString(accented));
  EXPECT_EQ(WideText(BstrFromNarrow(NarrowFromBstr(wide.Get()).value().c_str()).Get()), accented);
  EXPECT_EQ(NarrowFromBstr(Bstr(SysAllocStringLen(KSV_WIDE("a\0b"), 3)).Get()), "a");
}

TEST(TextTest, FailedConversionCarriesTheSystemsError) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the system's own calls can't be made to fail";
  const Bstr wide = BstrFromNarrow("a");
  for (const int nth : {1, 2}) {
    const FailCall narrowing("WideCharToMultiByte", 1113, nth);
    const FailCall widening("MultiByteToWideChar", 1113, nth);
    EXPECT_EQ(ErrorOf([&] { NarrowFromBstr(wide.Get()); }), "HRESULT 1113");
    EXPECT_EQ(ErrorOf([] { BstrFromNarrow("a"); }), "HRESULT 1113");
  }
  const FailCall allocating("SysAllocString", ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(ErrorOf([] { BstrFromNarrow("a"); }), "HRESULT 14");
}

TEST(TextTest, OriginIsSchemeHostAndPort) {
  const std::pair<string, string> rows[] = {
      {"https://norvo.example/a/b?c=d:e", "https_norvo.example"},
      {"http://127.0.0.1:8080/a", "http_127.0.0.1_8080"},
      {"https://norvo.example?q=1", "https_norvo.example?q=1"},
      {"https://a:b@c:1/", "https_a_b@c:1"},
      {"file:///home/a.html", "file_"},
      {"http://a://b/c", "http_a_"},
      {"about:blank:x", "about_blank:x"},
      {"a/b/c", "a/b/c"},
      {"://", "_"},
      {"", ""},
  };
  for (const auto& [address, origin] : rows) {
    string url = address;
    NormalizeOrigin(url);
    EXPECT_EQ(url, origin) << address;
  }
}

TEST(GuardedMemoryTest, CopiesOrClearsTheWholeRoom) {
  const struct {
    bool hasSource;
    size_t size, count;
    string left;  // What the eight bytes of room then hold.
    string error;
  } rows[] = {{true, 8, 8, "12345678", ""},
              {true, 4, 2, "12______", ""},
              {true, 4, 5, {0, 0, 0, 0, '_', '_', '_', '_'}, "Platform::memcpy failed"},
              {false, 2, 1, {0, 0, '_', '_', '_', '_', '_', '_'}, "Platform::memcpy failed"},
              {false, 8, 0, "________", ""},
              {true, 0, 1, "________", "Platform::memcpy failed"}};
  for (const auto& row : rows) {
    string room = "________";
    EXPECT_EQ(
        ErrorOf([&] { Platform::memcpy(room.data(), row.size, row.hasSource ? "12345678" : nullptr, row.count); }),
        row.error);
    EXPECT_EQ(room, row.left);
  }
  EXPECT_EQ(ErrorOf([] { Platform::memcpy(nullptr, 0, nullptr, 0); }), "");
  EXPECT_EQ(ErrorOf([] { Platform::memcpy(nullptr, 4, "1", 1); }), "Platform::memcpy failed");
}

TEST_F(FoundationTest, PathsAreHeldInsideTheBasePath) {
  const string outside = "Platform operation attempted outside of base path";
  const string bare = base.substr(0, base.size() - 1);
  string otherCase = base;
  otherCase[base.size() - 2] = 'I';  // "webapi"
  const std::pair<string, string> rows[] = {
      {base, ""},
      {At("a"), ""},
      {At(".\\a\\..\\b"), ""},
      {At("..\\webapi\\a"), ""},
      {bare + "/a", ""},
      {bare, outside},
      {bare + "2\\a", outside},
      {At(".."), outside},
      {At("a\\..\\..\\b"), outside},
      {At("a/../../b"), outside},
      {otherCase + "a", outside},
      {"a", outside},
      {"", "Failed to canonicalize path"},
  };
  for (const auto& [path, error] : rows) EXPECT_EQ(ErrorOf([&] { Platform::CheckPath(path); }), error) << path;

  fs::create_directories(world.Scratch() / "folder");
  const string folder = At("..\\..\\..\\scratch\\folder");
  std::unique_ptr<uint8_t[]> buffer;
  std::vector<string> names;
  const std::function<void()> operations[] = {
      [&] { Platform::CreateDirectories(folder + "\\new"); },
      [&] { Platform::WriteFile(folder + "\\new", nullptr, 0); },
      [&] { Platform::DeleteFile(folder); },
      [&] { Platform::ReadFile(folder, &buffer); },
      [&] { Platform::FileExists(folder, "a"); },
      [&] { Platform::ListDirectory(folder, names); },
  };
  for (const auto& operation : operations) EXPECT_EQ(ErrorOf(operation), outside);
  EXPECT_TRUE(fs::is_empty(world.Scratch() / "folder"));
}

TEST_F(FoundationTest, FoldersAreMadeFromTheTop) {
  fs::remove_all(fs::path(world.Path("")).parent_path().parent_path().parent_path());  // A profile's first time.
  for (const char* path : {"a\\b\\c", "a\\b\\c", "a\\b\\c\\", "a\\\\d"}) {
    EXPECT_EQ(ErrorOf([&] { Platform::CreateDirectories(At(path)); }), "") << path;
  }
  EXPECT_TRUE(fs::is_directory(world.Path("a/b/c")) && fs::is_directory(world.Path("a/d")));
  world.Write("file", "");
  EXPECT_EQ(ErrorOf([&] { Platform::CreateDirectories(At("file\\a")); }), "Failed to create directory");
}

TEST_F(FoundationTest, FilesAreFoundByTheirExactName) {
  world.Write("t/a.bin", "");
  world.Write("t/noend", "");
  world.Write("t/.hidden", "");
  world.Write("t/same/same", "");
  world.Write("t/deep/deep/deep", "");
  world.Write("t/other/below", "");
  fs::create_directories(world.Path("t/empty/empty"));
  const std::pair<string, bool> rows[] = {
      {"a.bin", true},         {"A.bin", false}, {"a.*", false},          {"*", false},     {".hidden", false},
      {"same", true},          {"deep", true},   {"SAME", false},         {"empty", false}, {"below", false},
      {"..\\t\\a.bin", false}, {"", false},      {"other\\below", false},
  };
  for (const auto& [name, found] : rows) EXPECT_EQ(Platform::FileExists(At("t"), name), found) << name;
  EXPECT_FALSE(Platform::FileExists(At("missing"), "a.bin"));

  std::vector<string> names{"before"};
  EXPECT_FALSE(Platform::ListDirectory(At("missing"), names));
  EXPECT_THAT(names, ElementsAre("before"));
  EXPECT_TRUE(Platform::ListDirectory(At("t"), names));
  EXPECT_EQ(names.front(), "before");
  EXPECT_THAT(names, UnorderedElementsAre("before", "a.bin", "noend", "same", "deep", "other", "empty"));
  if (!kHasLayerSettings) return;
  names.clear();
  const FailCall broken("FindNextFileA", ERROR_ACCESS_DENIED, 4);  // Behind ".", ".." and ".hidden".
  EXPECT_FALSE(Platform::ListDirectory(At("t"), names));
  EXPECT_THAT(names, ElementsAre("a.bin"));
}

TEST_F(FoundationTest, FilesKeepTheirBytes) {
  for (const string& bytes : {string(65535, '\x1A'), string("a\0\r\n\n\x1A\xFF", 7), string()}) {
    Platform::WriteFile(At("f"), reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<uint16_t>(bytes.size()));
    EXPECT_EQ(world.Read("f"), bytes);
    std::unique_ptr<uint8_t[]> buffer;
    const uint32_t length = Platform::ReadFile(At("f"), &buffer);
    EXPECT_EQ(string(reinterpret_cast<const char*>(buffer.get()), length), bytes);
  }
  Platform::DeleteFile(At("f"));
  EXPECT_FALSE(world.Read("f"));

  fs::create_directories(world.Path("folder"));
  std::unique_ptr<uint8_t[]> buffer;
  EXPECT_EQ(ErrorOf([&] { Platform::DeleteFile(At("f")); }), "Failed to delete file");
  EXPECT_EQ(ErrorOf([&] { Platform::ReadFile(At("f"), &buffer); }), "20");
  EXPECT_EQ(ErrorOf([&] { Platform::ReadFile(At("folder"), &buffer); }), "20");
  EXPECT_EQ(ErrorOf([&] { Platform::WriteFile(At("missing\\f"), nullptr, 0); }), "21");
  EXPECT_EQ(ErrorOf([&] { Platform::WriteFile(At("folder"), nullptr, 0); }), "21");
  EXPECT_FALSE(fs::exists(world.Path("missing")));
  std::error_code noLinks;
  fs::create_symlink("/dev/full", world.Path("full"), noLinks);
  if (noLinks) return;
  const uint8_t byte = 0;
  EXPECT_EQ(ErrorOf([&] { Platform::WriteFile(At("full"), &byte, 1); }), "13");
}

TEST_F(FoundationTest, TemporaryFilesAreNewAndEmpty) {
  const string first = Platform::GetTempFileName();
  const string second = Platform::GetTempFileName();
  EXPECT_NE(first, second);
  EXPECT_TRUE(first.starts_with(base + "NWA") && first.find('\\', base.size()) == string::npos) << first;
  EXPECT_EQ(world.Read(first.substr(base.size())), "");
  fs::remove_all(world.Path(""));
  EXPECT_EQ(ErrorOf([] { Platform::GetTempFileName(); }), "Unable to create temporary filename");
}

TEST_F(FoundationTest, UpdateGateShutsAfter48Hours) {
  const struct {
    int64_t age;
    string before, behind;
    bool overdue;
  } rows[] = {{0, "", "", false},          {172'799, "", "", false},   {172'800, "", "", true},
              {-1'000'000, "", "", false}, {0, "", "\nby x", false},   {0, " \t\r\n", "\r\n", false},
              {0, "x", "", true},          {0, "0x", "", true},        {0, "9999999999", "", true},
              {0, "-", "", true},          {172'799, "+", ".9", false}};
  const string file = "lastUpdatetest";
  EXPECT_TRUE(Platform::IsUpdateOverdue("test")) << "without the file";
  for (const auto& row : rows) {
    bool overdue = false;
    __time64_t now = 0;
    do {  // Again when the second has changed meanwhile.
      now = _time64(nullptr);
      world.Write(file, row.before + std::to_string(now - row.age) + row.behind);
      overdue = Platform::IsUpdateOverdue("test");
    } while (_time64(nullptr) != now);
    EXPECT_EQ(overdue, row.overdue) << row.before << row.age << row.behind;
  }
  for (const char* text : {"", "\n", "soon", "-9223372036854775808"}) {
    world.Write(file, text);
    EXPECT_TRUE(Platform::IsUpdateOverdue("test")) << text;
  }
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
      {"\\p\\roaming", "\\p\\roaming\\LocalLow\\Norvo\\webapi\\|"},
      {"\\p\\a\\..\\q", "\\p\\q\\LocalLow\\Norvo\\webapi\\|"},
  };
  for (const auto& [appData, basePath] : rows) {
    EXPECT_EXIT(
        {
          const platform::ScopedVariable none("AppData", nullptr);
          const string failure = ErrorOf([] { Platform::GetBasePath(); });
          if (failure != "Failed to find AppData environment variable") std::exit(2);
          if (!Platform::IsUpdateOverdue("test")) std::exit(3);
          const platform::ScopedVariable set("AppData", appData);
          std::fprintf(stderr, "%s|", Platform::GetBasePath().c_str());
          std::exit(0);
        },
        testing::ExitedWithCode(0), testing::HasSubstr(basePath))
        << appData;
  }
}
