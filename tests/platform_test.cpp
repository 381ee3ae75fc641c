#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/system_path.h"
#include "platform/testing.h"

using namespace platform;
namespace fs = std::filesystem;

namespace {

using WideText = std::basic_string<WCHAR>;
constexpr const char* kKey = "Software\\Norvo\\PlatformTest";

LONG LastError() {
  return static_cast<LONG>(GetLastError());
}

// A folder of its own for each test, and on Linux the registry's file in it.
class PlatformTest : public testing::Test {
 protected:
  PlatformTest() : registry_("KSV_REGISTRY", (folder_ / "registry.json").string().c_str()) {}
  ~PlatformTest() override { fs::remove_all(folder_); }

  static fs::path MakeFolder() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    fs::path folder = fs::temp_directory_path() / ("ksv_platform_" + std::string(test->name()));
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
  }
  std::string Path(const std::string& name) const {
    std::string path = (folder_ / "").string() + name;
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
  }
  void Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(SystemPath(Path(name)), std::ios::binary) << bytes;
  }

  fs::path folder_ = MakeFolder();
  ScopedVariable registry_;
};

HKEY MakeKey(const std::string& path) {
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), 0);
  return key;
}

LSTATUS Open(const char* path, HKEY* key) {
  return RegOpenKeyExA(HKEY_CURRENT_USER, path, 0, KEY_READ, key);
}

}  // namespace

TEST_F(PlatformTest, RegistryGivesBackWhatWasWritten) {
  const std::pair<DWORD, std::string> values[] = {
      {REG_SZ, std::string("a\0b\0\0\0", 6)},
      {REG_SZ, std::string("a\0b\0", 4)},
      {REG_SZ, ""},
      {REG_SZ, std::string("a\0b", 3)},
      {REG_SZ, std::string("\0\xD8"
                           "a\0\0\0",
                           6)},
      {REG_EXPAND_SZ, std::string("%\0\0\0", 4)},
      {REG_DWORD, "\xFF\xFF\xFF\xFF"},
      {REG_DWORD, "\x01"},
      {REG_BINARY, std::string("\0\x7F\xFF", 3)},
      {REG_MULTI_SZ, std::string("a\0\0\0\0\0", 6)},
      {77, "x"},
  };
  const HKEY key = MakeKey(kKey);
  for (const WCHAR* name : {KSV_WIDE("Value"), KSV_WIDE("type")}) {
    for (const auto& [type, bytes] : values) {
      SCOPED_TRACE(testing::PrintToString(bytes) + std::to_string(type));
      const auto* data = reinterpret_cast<const BYTE*>(bytes.data());
      ASSERT_EQ(RegSetValueExW(key, name, 0, type, data, static_cast<DWORD>(bytes.size())), ERROR_SUCCESS);
      BYTE read[16];
      std::memset(read, 0xAA, sizeof(read));
      DWORD readType = 0;
      if (!bytes.empty()) {
        auto size = static_cast<DWORD>(bytes.size() - 1);
        EXPECT_EQ(RegQueryValueExW(key, name, nullptr, &readType, read, &size), ERROR_MORE_DATA);
        EXPECT_EQ(size, bytes.size());
        EXPECT_EQ(read[bytes.size() - 1], 0xAA);
      }
      DWORD size = sizeof(read);
      ASSERT_EQ(RegQueryValueExW(key, name, nullptr, &readType, read, &size), ERROR_SUCCESS);
      EXPECT_EQ(readType, type);
      EXPECT_EQ(std::string(reinterpret_cast<char*>(read), size), bytes);
      EXPECT_EQ(read[size], 0xAA);
    }
  }
  EXPECT_EQ(RegQueryValueExW(key, KSV_WIDE("None"), nullptr, nullptr, nullptr, nullptr), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, kKey), ERROR_SUCCESS);
}

TEST_F(PlatformTest, RegistryKeysAreATree) {
  const std::string longName = "@a.example/b;version=1";
  const HKEY key = MakeKey(kKey);
  RegCloseKey(MakeKey(std::string(kKey) + "\\" + longName));
  RegCloseKey(MakeKey(std::string(kKey) + "\\Z"));
  HKEY again = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, KSV_WIDE("SOFTWARE\\norvo\\PLATFORMtest"), 0, KEY_READ, &again), 0);
  DWORD count = 0, longest = 0;
  EXPECT_EQ(RegQueryInfoKeyA(again, nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr, nullptr, nullptr,
                             nullptr, nullptr),
            ERROR_SUCCESS);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(longest, longName.size());
  std::vector<char> name(longest + 1);
  DWORD length = longest;
  EXPECT_EQ(RegEnumKeyExA(again, 0, name.data(), &length, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
  length = longest + 1;
  EXPECT_EQ(RegEnumKeyExA(again, 0, name.data(), &length, nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
  EXPECT_EQ(name.data(), longName);
  EXPECT_EQ(length, longName.size());
  EXPECT_EQ(RegEnumKeyExA(again, 2, name.data(), &length, nullptr, nullptr, nullptr, nullptr), ERROR_NO_MORE_ITEMS);
  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, kKey), ERROR_ACCESS_DENIED) << "a key with keys in it stays";
  for (const char* subKey : {longName.c_str(), "Z", ""}) EXPECT_EQ(RegDeleteKeyA(key, subKey), ERROR_SUCCESS);
  HKEY gone = nullptr;
  EXPECT_EQ(Open(kKey, &gone), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegSetValueExA(key, "V", 0, REG_SZ, reinterpret_cast<const BYTE*>("x"), 1), ERROR_KEY_DELETED);
  EXPECT_EQ(RegCloseKey(key) + RegCloseKey(again), 0);
}

TEST_F(PlatformTest, RegistryFileWrittenByHand) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the system's registry is no file";
  const auto wrap = [](const std::string& key) { return R"({"hkey_current_user": {"Software": {"K": )" + key + "}}}"; };
  struct {
    std::string file;
    LSTATUS opened, read;
    std::string bytes;
  } const cases[] = {
      {wrap(R"({"v": "ab"})"), 0, 0, std::string("a\0b\0\0\0", 6)},
      {wrap(R"({"V": -1})"), 0, 0, "\xFF\xFF\xFF\xFF"},
      {wrap(R"({"V": {"type": "REG_SZ", "data": "a", "terminated": false}})"), 0, 0, std::string("a\0", 2)},
      {wrap(R"({"V": {"type": 9, "hex": "00Ff"}})"), 0, 0, std::string("\0\xFF", 2)},
      {wrap(R"({"V": {"a": 1}})"), 0, ERROR_FILE_NOT_FOUND, ""},
      {wrap(R"({"V": 4294967296})"), 0, ERROR_FILE_NOT_FOUND, ""},
      {wrap(R"({"V": [1], "W": null})"), 0, ERROR_FILE_NOT_FOUND, ""},
      {wrap(R"({"V": {"type": "REG_SZ", "hex": "0"}})"), 0, ERROR_FILE_NOT_FOUND, ""},
      {wrap("7"), ERROR_FILE_NOT_FOUND, 0, ""},
      {"[1]", ERROR_FILE_NOT_FOUND, 0, ""},
      {"{\"hkey_current_user\": ", ERROR_FILE_NOT_FOUND, 0, ""},
      {wrap(std::string(900'000, '[')), ERROR_FILE_NOT_FOUND, 0, ""},
      {wrap("{}") + std::string(1u << 20, ' '), ERROR_FILE_NOT_FOUND, 0, ""},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.file.substr(0, 120));
    Write("registry.json", row.file);
    HKEY key = nullptr;
    EXPECT_EQ(Open("SOFTWARE\\k\\", &key), row.opened);
    if (key == nullptr) continue;
    BYTE data[16];
    DWORD size = sizeof(data);
    EXPECT_EQ(RegQueryValueExW(key, KSV_WIDE("V"), nullptr, nullptr, data, &size), row.read);
    if (row.read == 0) {
      EXPECT_EQ(std::string(reinterpret_cast<char*>(data), size), row.bytes);
    }
    RegCloseKey(key);
  }
  Write("registry.json", "{ half");
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "K", 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), ERROR_BADDB);
  EXPECT_EQ(fs::file_size(folder_ / "registry.json"), 6u) << "a file that is not understood is not written over";
}

TEST_F(PlatformTest, FullPathsAreResolvedByTheTextAlone) {
  const std::pair<const char*, const char*> cases[] = {
      {"\\a\\b", "\\a\\b"},   {"/a/./b/", "\\a\\b\\"}, {"\\a\\..\\..\\b", "\\b"},
      {"\\a\\\\b", "\\a\\b"}, {"\\a\\b\\..", "\\a"},   {"\\a\\b\\..\\", "\\a\\"},
      {"\\..", "\\"},         {"\\a\\.", "\\a"},       {"\\a\\..b", "\\a\\..b"},
  };
  for (const auto& [path, expected] : cases) {
    char full[64] = {};
    const DWORD needed = GetFullPathNameA(path, 0, nullptr, nullptr);
    EXPECT_EQ(GetFullPathNameA(path, needed - 1, full, nullptr), needed) << path;
    EXPECT_EQ(full[0], '\0') << "too small a buffer is left alone";
    EXPECT_EQ(GetFullPathNameA(path, needed, full, nullptr), needed - 1) << path;
    EXPECT_STREQ(full[1] == ':' ? full + 2 : full, expected) << path;
  }
  EXPECT_EQ(GetFullPathNameA("", 0, nullptr, nullptr), 0u);
  fs::current_path(folder_);
  std::string full(GetFullPathNameA("x\\..\\y", 0, nullptr, nullptr), '\0');
  GetFullPathNameA("x\\..\\y", static_cast<DWORD>(full.size()), full.data(), nullptr);
  fs::current_path(folder_.parent_path());
  EXPECT_STREQ(full.c_str(), Path("y").c_str());
  EXPECT_GT(GetFullPathNameA(std::string(5000, 'n').c_str(), 0, nullptr, nullptr), 5000u);
}

TEST_F(PlatformTest, FilesAreListedByPattern) {
  fs::create_directories(folder_ / "Sub" / "deep");
  for (const char* name : {"One.tok", "two.TOK", "three", ".hidden"}) Write(name, "x");
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"*.*", {".", "..", ".hidden", "One.tok", "Sub", "three", "two.TOK"}},
      {"*.tok", {"One.tok", "two.TOK"}},
      {"ONE.tok", {"One.tok"}},
      {"t*", {"three", "two.TOK"}},
      {"t?o*k", {"two.TOK"}},
      {"sub", {"Sub"}},
  };
  for (const auto& [pattern, expected] : cases) {
    WIN32_FIND_DATAA found;
    std::vector<std::string> names;
    const HANDLE search = FindFirstFileA(Path(pattern).c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE) << pattern;
    do {
      names.emplace_back(found.cFileName);
      const bool isFolder = names.back()[0] == 'S' || names.back() == "." || names.back() == "..";
      EXPECT_EQ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0, isFolder) << names.back();
    } while (FindNextFileA(search, &found));
    EXPECT_EQ(LastError(), ERROR_NO_MORE_FILES);
    EXPECT_TRUE(FindClose(search));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, expected) << pattern;
  }
  const std::pair<std::string, LONG> failures[] = {{"none*", ERROR_FILE_NOT_FOUND},
                                                   {"no\\*.*", ERROR_PATH_NOT_FOUND},
                                                   {std::string(200, 'n') + "?", ERROR_FILE_NOT_FOUND}};
  for (const auto& [pattern, error] : failures) {
    WIN32_FIND_DATAA found;
    EXPECT_EQ(FindFirstFileA(Path(pattern).c_str(), &found), INVALID_HANDLE_VALUE);
    EXPECT_EQ(LastError(), error) << pattern;
  }
}

TEST_F(PlatformTest, FilesAndFoldersComeAndGo) {
  char temp[MAX_PATH], other[MAX_PATH];
  ASSERT_NE(GetTempFileNameA(Path("").c_str(), "NWAxx", 0, temp), 0u);
  ASSERT_NE(GetTempFileNameA(Path("").c_str(), "NWA", 0, other), 0u);
  EXPECT_STRNE(temp, other);
  EXPECT_EQ(std::string(temp).rfind(Path("NWA"), 0), 0u) << temp;
  EXPECT_EQ(fs::file_size(SystemPath(temp)), 0u);
  EXPECT_EQ(GetTempFileNameA(Path("none").c_str(), "NWA", 0, other), 0u);
  EXPECT_EQ(GetTempFileNameA((Path(std::string(240, 'n'))).c_str(), "NWA", 0, other), 0u);
  EXPECT_TRUE(DeleteFileA(temp));
  EXPECT_TRUE(CreateDirectoryA(Path("new").c_str(), nullptr));
  struct {
    BOOL (*call)(const std::string&);
    const char* path;
    LONG error;
  } const cases[] = {
      {[](const std::string& path) -> BOOL { return DeleteFileA(path.c_str()); }, "none", ERROR_FILE_NOT_FOUND},
      {[](const std::string& path) -> BOOL { return DeleteFileA(path.c_str()); }, "no\\none", ERROR_PATH_NOT_FOUND},
      {[](const std::string& path) -> BOOL { return DeleteFileA(path.c_str()); }, "new", ERROR_ACCESS_DENIED},
      {[](const std::string& path) { return CreateDirectoryA(path.c_str(), nullptr); }, "new", ERROR_ALREADY_EXISTS},
      {[](const std::string& path) { return CreateDirectoryA(path.c_str(), nullptr); }, "no\\x", ERROR_PATH_NOT_FOUND},
  };
  for (const auto& row : cases) {
    EXPECT_FALSE(row.call(Path(row.path)));
    EXPECT_EQ(LastError(), row.error) << row.path;
  }
}

TEST_F(PlatformTest, TextConversion) {
  const std::tuple<std::string, WideText, bool> cases[] = {
      // narrow, wide, and whether wide gives narrow again
      {"a\xC3\xA4\xE2\x82\xAC", KSV_WIDE("a\u00E4\u20AC"), true},
      {"\xF0\x9F\x98\x80", KSV_WIDE("\U0001F600"), true},
      {"\xC0\x80x", KSV_WIDE("\uFFFD\uFFFDx"), false},
      {"\xED\xA0\x80", KSV_WIDE("\uFFFD\uFFFD\uFFFD"), false},
      {"\xE2\x82x\xF0\x9F", KSV_WIDE("\uFFFDx\uFFFD"), false},
  };
  for (const auto& [narrow, wide, isValid] : cases) {
    const int length = static_cast<int>(narrow.size());
    WCHAR widened[8] = {};
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, narrow.data(), length, nullptr, 0), static_cast<int>(wide.size()));
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, narrow.c_str(), -1, widened, 8), static_cast<int>(wide.size()) + 1);
    EXPECT_TRUE(widened == wide) << narrow;
    char text[8] = {};
    if (!isValid) continue;
    EXPECT_EQ(
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), text, length, nullptr, nullptr),
        length);
    EXPECT_EQ(text, narrow);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), -1, text, length, nullptr, nullptr), 0);
    EXPECT_EQ(LastError(), ERROR_INSUFFICIENT_BUFFER) << "no room for the terminator";
  }
  const WCHAR unpaired[] = {0xDC00, 'x'};
  char text[8] = {};
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, unpaired, 2, text, 8, nullptr, nullptr), 4);
  EXPECT_STREQ(text, "\xEF\xBF\xBDx");
  EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "x", 0, nullptr, 0), 0);
  EXPECT_EQ(LastError(), ERROR_INVALID_PARAMETER);

  size_t converted = 0;
  char buffer[128];
  for (const auto& [length, result] : {std::pair<size_t, errno_t>{0, 0}, {127, 0}, {128, ERANGE}, {600, ERANGE}}) {
    EXPECT_EQ(wcstombs_s(&converted, buffer, sizeof(buffer), WideText(length, 'x').c_str(), 512), result) << length;
    EXPECT_EQ(std::strlen(buffer), result == 0 ? length : 0);
  }
  const BSTR counted = SysAllocStringLen(KSV_WIDE("a\0bc"), 3);
  EXPECT_EQ(SysStringLen(counted), 3u);
  EXPECT_EQ(counted[2], 'b');
  EXPECT_EQ(counted[3], 0);
  SysFreeString(counted);
  SysFreeString(nullptr);
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
}

TEST_F(PlatformTest, ModulesAndTheProcess) {
  HMODULE self = nullptr;
  EXPECT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                 reinterpret_cast<LPCWSTR>(&MakeKey), &self));
  EXPECT_EQ(self, GetModuleHandleA(nullptr));
  Write("text.dll", "no module");
  for (const auto& [name, error] : {std::pair{"none.dll", ERROR_MOD_NOT_FOUND}, {"text.dll", ERROR_BAD_EXE_FORMAT}}) {
    const std::string path = Path(name);
    EXPECT_EQ(LoadLibraryW(WideText(path.begin(), path.end()).c_str()), nullptr);
    EXPECT_EQ(LastError(), error);
  }
  const HMODULE kernel = GetModuleHandleA("kernel32");
  EXPECT_EQ(GetProcAddress(kernel, "NoSuchEntry"), nullptr);
  EXPECT_EQ(LastError(), ERROR_PROC_NOT_FOUND);
  auto* const isWow64 =
      reinterpret_cast<BOOL(WINAPI*)(HANDLE, BOOL*)>(reinterpret_cast<void*>(GetProcAddress(kernel, "IsWow64Process")));
  BOOL answer = 77;
  EXPECT_TRUE(isWow64(GetCurrentProcess(), &answer));
  EXPECT_NE(answer, 77);

  const ScopedVariable variable("KsvProbe", "value");
  char* value = nullptr;
  EXPECT_EQ(_dupenv_s(&value, nullptr, "KSVPROBE"), 0);
  EXPECT_STREQ(value, "value");
  std::free(value);
  EXPECT_EQ(_dupenv_s(&value, nullptr, "KsvProb"), 0);
  EXPECT_EQ(value, nullptr);

  const ScopedVariable sink("KSV_DEBUG_OUTPUT", Path("debug").c_str());
  const DebugOutputCapture capture;
  std::thread([] { OutputDebugStringA("one\n"); }).join();
  OutputDebugStringA("two");
  EXPECT_EQ(capture.lines(), (std::vector<std::string>{"one\n", "two"}));
}

TEST_F(PlatformTest, MutexesBelongToTheThreadThatTookThem) {
  const HANDLE mutex = CreateMutexA(nullptr, FALSE, nullptr);
  EXPECT_EQ(WaitForSingleObject(mutex, 0) + WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "twice by its owner";
  const auto elsewhere = [mutex](DWORD wait) {
    DWORD result = 0;
    std::thread([&] {
      EXPECT_FALSE(ReleaseMutex(mutex));
      result = WaitForSingleObject(mutex, wait);
      if (result == WAIT_OBJECT_0) ReleaseMutex(mutex);
    }).join();
    return result;
  };
  EXPECT_EQ(elsewhere(0), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_TRUE(ReleaseMutex(mutex));
  EXPECT_EQ(elsewhere(20), static_cast<DWORD>(WAIT_TIMEOUT)) << "once is not enough";
  int guarded = 0;
  std::thread waiting([&] {
    WaitForSingleObject(mutex, INFINITE);
    ++guarded;
    ReleaseMutex(mutex);
  });
  ++guarded;
  EXPECT_TRUE(ReleaseMutex(mutex));
  waiting.join();
  EXPECT_EQ(guarded, 2);
  EXPECT_FALSE(ReleaseMutex(mutex));
  EXPECT_EQ(LastError(), ERROR_NOT_OWNER);
  EXPECT_TRUE(CloseHandle(mutex));
  EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_FAILED);
  EXPECT_EQ(LastError(), ERROR_INVALID_HANDLE);
}

namespace {

constexpr UINT kMessage = WM_USER + 42;
std::string trace;  // What the hooks below did, a letter a call.
HHOOK hooks[3];
bool unhookInside, swallow;

LRESULT CALLBACK Older(int code, WPARAM wParam, LPARAM lParam) {
  if (reinterpret_cast<MSG*>(lParam)->message == kMessage) trace += 'o';
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

LRESULT CALLBACK Newer(int code, WPARAM wParam, LPARAM lParam) {
  if (reinterpret_cast<MSG*>(lParam)->message != kMessage) return CallNextHookEx(nullptr, code, wParam, lParam);
  trace += 'n';
  if (unhookInside) {
    UnhookWindowsHookEx(hooks[1]);
    hooks[1] = SetWindowsHookExA(WH_GETMESSAGE, Newer, GetModuleHandleA(nullptr), 0);
  }
  return swallow ? 0 : CallNextHookEx(nullptr, code, wParam, lParam);
}

LRESULT CALLBACK Sent(int code, WPARAM wParam, LPARAM lParam) {
  if (reinterpret_cast<CWPSTRUCT*>(lParam)->message == kMessage) trace += 's';
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

LRESULT CALLBACK Mouse(int code, WPARAM wParam, LPARAM lParam) {
  POINT at = reinterpret_cast<MOUSEHOOKSTRUCT*>(lParam)->pt;
  ScreenToClient(reinterpret_cast<MOUSEHOOKSTRUCT*>(lParam)->hwnd, &at);
  if (wParam != WM_MOUSEMOVE) trace += (wParam == WM_LBUTTONDOWN ? "d" : "u") + std::to_string(at.x * 1000 + at.y);
  return swallow ? 1 : CallNextHookEx(nullptr, code, wParam, lParam);
}

}  // namespace

TEST_F(PlatformTest, HooksRunNewestFirstOnTheTakingThread) {
  hooks[0] = SetWindowsHookExA(WH_GETMESSAGE, Older, GetModuleHandleA(nullptr), 0);
  hooks[1] = SetWindowsHookExA(WH_GETMESSAGE, Newer, GetModuleHandleA(nullptr), 0);
  hooks[2] = SetWindowsHookExA(WH_CALLWNDPROC, Sent, nullptr, GetCurrentThreadId());
  TestWindow window;
  const auto traceOf = [&](bool unhook, bool stop, const std::function<void()>& act) {
    trace.clear();
    unhookInside = unhook;
    swallow = stop;
    act();
    PumpMessages();
    return trace;
  };
  const auto post = [&] { std::thread([&] { PostMessageA(window.handle(), kMessage, 0, 0); }).join(); };
  EXPECT_EQ(traceOf(false, false, post), "no");
  EXPECT_EQ(traceOf(false, true, post), "n");
  EXPECT_EQ(traceOf(true, false, post), "no") << "a hook that takes itself away passes on all the same";
  EXPECT_EQ(traceOf(false, false, [&] { SendMessageA(window.handle(), kMessage, 0, 0); }), "s");
  EXPECT_EQ(window.received().size() - std::ranges::count(window.received(), WM_NULL), window.received().size());
  for (const HHOOK hook : hooks) EXPECT_TRUE(UnhookWindowsHookEx(hook));
  EXPECT_FALSE(UnhookWindowsHookEx(hooks[0]));
  EXPECT_EQ(traceOf(false, false, post), "");

  const HHOOK mouse = SetWindowsHookExA(WH_MOUSE, Mouse, GetModuleHandleA(nullptr), 0);
  trace.clear();
  window.PressLeft(7, 9);
  EXPECT_TRUE(PumpUntil([] { return trace == "d7009"; })) << trace;
  EXPECT_TRUE(window.HasReceived(WM_LBUTTONDOWN));
  swallow = true;
  window.ReleaseLeft(8, 9);
  EXPECT_TRUE(PumpUntil([] { return trace == "d7009u8009"; })) << trace;
  EXPECT_FALSE(window.HasReceived(WM_LBUTTONUP));
  EXPECT_TRUE(UnhookWindowsHookEx(mouse));
}

TEST_F(PlatformTest, MessagesNeedALivingWindow) {
  HWND dead = nullptr;
  std::thread([&] {
    TestWindow window;
    dead = window.handle();
    PostMessageA(dead, kMessage, 1, 2);
    MSG message;
    EXPECT_TRUE(GetMessageA(&message, dead, kMessage, kMessage));
    EXPECT_EQ(message.lParam, 2);
    PostMessageA(dead, WM_QUIT, 0, 0);
    EXPECT_FALSE(GetMessageA(&message, nullptr, WM_QUIT, WM_QUIT));
    PostMessageA(dead, kMessage, 0, 0);
    window.Destroy();
    EXPECT_FALSE(PeekMessageA(&message, nullptr, kMessage, kMessage, PM_REMOVE)) << "gone with its window";
  }).join();
  EXPECT_FALSE(IsWindow(dead));
  EXPECT_FALSE(PostMessageA(dead, kMessage, 0, 0));
  EXPECT_EQ(LastError(), ERROR_INVALID_WINDOW_HANDLE);
}

TEST_F(PlatformTest, ACallFailsWhenATestSaysSo) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the calls are the system's own";
  const FailCall fail("GetFullPathNameA", 5, 2);
  EXPECT_NE(GetFullPathNameA("x", 0, nullptr, nullptr), 0u);
  EXPECT_FALSE(fail.fired());
  EXPECT_EQ(GetFullPathNameA("x", 0, nullptr, nullptr), 0u);
  EXPECT_EQ(LastError(), 5);
  EXPECT_TRUE(fail.fired());
  EXPECT_NE(GetFullPathNameA("x", 0, nullptr, nullptr), 0u);
  EXPECT_THROW(FailCall("NoSuchCall", 5), std::invalid_argument);
  const TestWindow window;
  for (int count = 0; count < 10'000; ++count) ASSERT_TRUE(PostMessageA(window.handle(), kMessage, 0, 0));
  EXPECT_FALSE(PostMessageA(window.handle(), kMessage, 0, 0));
  EXPECT_EQ(LastError(), ERROR_NOT_ENOUGH_QUOTA);
}
