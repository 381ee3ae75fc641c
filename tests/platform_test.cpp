#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/system_path.h"
#include "platform/testing.h"

using namespace platform;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

using WideText = std::basic_string<WCHAR>;
constexpr const char* kKey = "Software\\Norvo\\PlatformTest";
constexpr UINT kMessage = WM_USER + 42;

#define EXPECT_LAST_ERROR(error) EXPECT_EQ(static_cast<LONG>(GetLastError()), error)

// A folder of its own for each test, and on Linux the registry's file in it.
class PlatformLayerTest : public testing::Test {
 protected:
  ~PlatformLayerTest() override { fs::remove_all(folder_); }

  static fs::path MakeFolder() {
    const auto name = "ksv_platform_"s + testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::create_directories(fs::temp_directory_path() / name);
    return fs::temp_directory_path() / name;
  }
  std::string Path(const std::string& name) const {
    std::string path = (folder_ / "").string() + name;
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
  }
  void Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(SystemPath(Path(name))) << bytes;
  }

  fs::path folder_ = MakeFolder();
  ScopedVariable registry_{"KSV_REGISTRY", (folder_ / "registry.json").string().c_str()};
};

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

TEST_F(PlatformLayerTest, RegistryGivesBackWhatWasWritten) {
  const std::pair<DWORD, std::vector<std::string>> values[] = {
      {REG_SZ, {"a\0b\0\0\0"s, "a\0b\0"s, "", "a\0b"s, "\0\xD8\0\0"s, "\0\0\0\0"s}},
      {REG_EXPAND_SZ, {"%\0\0\0"s}},
      {REG_DWORD, {"\xFF\xFF\xFF\xFF", "\1"}},
      {REG_MULTI_SZ, {"a\0\0\0"s}},
      {77, {"x"}},
  };
  const HKEY key = MakeKey(kKey);
  const auto check = [key](const WCHAR* name, DWORD type, const std::string& bytes) {
    const std::string padded = bytes + "++";  // Windows counts a terminator that it finds behind the text.
    const auto size = static_cast<DWORD>(bytes.size());
    EXPECT_EQ(RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(padded.data()), size), ERROR_SUCCESS);
    DWORD readType = 0;
    std::string read;
    EXPECT_EQ(Read(key, name, size, read, &readType), ERROR_SUCCESS);
    EXPECT_TRUE(read == bytes && readType == type) << testing::PrintToString(bytes) << testing::PrintToString(read);
    EXPECT_TRUE(size == 0 || Read(key, name, size - 1, read) == ERROR_MORE_DATA);
    EXPECT_EQ(read.size(), size) << "the size needed";
  };
  for (const auto& [type, texts] : values) {
    for (const std::string& bytes : texts) {
      for (const WCHAR* name : {KSV_WIDE("Value"), KSV_WIDE("type")}) check(name, type, bytes);
    }
  }
  EXPECT_EQ(RegCloseKey(key) + RegDeleteKeyA(HKEY_CURRENT_USER, kKey), ERROR_SUCCESS);
}

TEST_F(PlatformLayerTest, RegistryKeysAreATree) {
  const std::string longName = "@a.example/b;version=1";
  const HKEY key = MakeKey(kKey);
  for (const std::string& name : {longName, "Z"s}) RegCloseKey(MakeKey(kKey + "\\"s + name));
  HKEY again = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, KSV_WIDE("SOFTWARE\\norvo\\PLATFORMtest"), 0, KEY_READ, &again), 0);
  DWORD count = 0, longest = 0;
  RegQueryInfoKeyA(again, nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr, nullptr, nullptr, nullptr,
                   nullptr);
  EXPECT_TRUE(count == 2 && longest == longName.size()) << count << ' ' << longest;
  for (const auto& [index, size, result] :
       {std::tuple<DWORD, DWORD, LSTATUS>{0, longest, ERROR_MORE_DATA}, {0, longest + 1, 0}, {2, 99, 259}}) {
    char name[99];
    DWORD length = size;
    EXPECT_EQ(RegEnumKeyExA(again, index, name, &length, nullptr, nullptr, nullptr, nullptr), result);
    EXPECT_TRUE(result != 0 || std::string(name, length) == longName);
  }
  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, kKey), ERROR_ACCESS_DENIED) << "a key with keys in it stays";
  for (const char* name : {longName.c_str(), "Z", ""}) EXPECT_EQ(RegDeleteKeyA(key, name), ERROR_SUCCESS);
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &again), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegSetValueExA(key, "V", 0, REG_SZ, reinterpret_cast<const BYTE*>("x"), 1), ERROR_KEY_DELETED);
}

TEST_F(PlatformLayerTest, RegistryFileWrittenByHand) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the system's registry is no file";
  const auto wrap = [](const std::string& key) { return R"({"hkey_current_user": {"Software": {"K": )" + key + "}}}"; };
  const std::tuple<std::string, bool, std::string> cases[] = {
      // The file; is the key there; the value, if there
      {wrap(R"({"v": "ab"})"), true, "a\0b\0\0\0"s},
      {wrap(R"({"V": -1})"), true, "\xFF\xFF\xFF\xFF"},
      {wrap(R"({"V": {"type": "REG_SZ", "data": "a", "terminated": false}})"), true, "a\0"s},
      {wrap(R"({"V": {"type": 9, "hex": "00Ff"}})"), true, "\0\xFF"s},
      {wrap(R"({"V": {"a": 1}})"), true, ""},
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
  EXPECT_EQ(fs::file_size(folder_ / "registry.json"), 6u) << "a file that is not understood is not written over";
}

TEST_F(PlatformLayerTest, FullPathsAreResolvedByTheTextAlone) {
  const std::pair<std::string, std::string> cases[] = {
      {"\\a\\b", "\\a\\b"},   {"/a/./b/", "\\a\\b\\"}, {"\\a\\..\\..\\b", "\\b"},
      {"\\a\\\\b", "\\a\\b"}, {"\\a\\b\\..", "\\a"},   {"\\a\\b\\..\\", "\\a\\"},
      {"\\..", "\\"},         {"x\\..\\y", Path("y")}, {"\\a\\..b", "\\a\\..b"},
  };
  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  for (const auto& [path, expected] : cases) {
    const DWORD needed = GetFullPathNameA(path.c_str(), 0, nullptr, nullptr);
    std::string full(needed, '+');
    EXPECT_EQ(GetFullPathNameA(path.c_str(), needed - 1, full.data(), nullptr), needed) << path;
    EXPECT_EQ(GetFullPathNameA(path.c_str(), needed, full.data(), nullptr), needed - 1) << path;
    full.pop_back();
    EXPECT_TRUE(full == expected || (full[1] == ':' && full.substr(2) == expected)) << path << " gave " << full;
  }
  fs::current_path(before);
  EXPECT_EQ(GetFullPathNameA("", 0, nullptr, nullptr), 0u);
}

TEST_F(PlatformLayerTest, FilesAreListedByPattern) {
  fs::create_directories(folder_ / "Sub");
  for (const char* name : {"One.tok", "two.TOK", "three", ".hidden"}) Write(name, "x");
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"*.*", {".", "..", ".hidden", "One.tok", "Sub", "three", "two.TOK"}},
      {"*.tok", {"One.tok", "two.TOK"}},
      {"ONE.tok", {"One.tok"}},
      {"t?o*k", {"two.TOK"}},
      {"sub", {"Sub"}},
  };
  WIN32_FIND_DATAA found;
  for (const auto& [pattern, expected] : cases) {
    std::vector<std::string> names;
    const HANDLE search = FindFirstFileA(Path(pattern).c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE) << pattern;
    do {
      names.emplace_back(found.cFileName);
      EXPECT_EQ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0, fs::is_directory(folder_ / names.back()));
    } while (FindNextFileA(search, &found));
    EXPECT_LAST_ERROR(ERROR_NO_MORE_FILES);
    FindClose(search);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, expected) << pattern;
  }
  for (const auto& [pattern, error] : {std::pair{"none*", ERROR_FILE_NOT_FOUND}, {"no\\*.*", ERROR_PATH_NOT_FOUND}}) {
    EXPECT_EQ(FindFirstFileA(Path(pattern).c_str(), &found), INVALID_HANDLE_VALUE);
    EXPECT_LAST_ERROR(error);
  }
}

TEST_F(PlatformLayerTest, FilesAndFoldersComeAndGo) {
  char temp[MAX_PATH], other[MAX_PATH];
  for (char* path : {temp, other}) ASSERT_NE(GetTempFileNameA(Path("").c_str(), "NWAxx", 0, path), 0u);
  EXPECT_STRNE(temp, other);
  EXPECT_EQ(std::string(temp).rfind(Path("NWA"), 0), 0u) << temp;
  EXPECT_EQ(fs::file_size(SystemPath(temp)), 0u);
  EXPECT_EQ(GetTempFileNameA(Path("none").c_str(), "NWA", 0, other), 0u);
  EXPECT_TRUE(DeleteFileA(temp) && CreateDirectoryA(Path("new").c_str(), nullptr));
  const std::tuple<const char*, LONG, LONG> failures[] = {// What deleting and what making it gives
                                                          {"none\\x", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
                                                          {"new", ERROR_ACCESS_DENIED, ERROR_ALREADY_EXISTS}};
  for (const auto& [name, deleteError, makeError] : failures) {
    EXPECT_FALSE(DeleteFileA(Path(name).c_str()));
    EXPECT_LAST_ERROR(deleteError) << name;
    EXPECT_FALSE(CreateDirectoryA(Path(name).c_str(), nullptr));
    EXPECT_LAST_ERROR(makeError) << name;
  }
  EXPECT_FALSE(DeleteFileA(temp));
  EXPECT_LAST_ERROR(ERROR_FILE_NOT_FOUND);
}

TEST_F(PlatformLayerTest, TextConversion) {
  const std::tuple<std::string, WideText, bool> cases[] = {
      // Narrow, wide, and whether the narrow text is valid
      {"a\xC3\xA4\xE2\x82\xAC", KSV_WIDE("a\u00E4\u20AC"), true},
      {"\xF0\x9F\x98\x80", KSV_WIDE("\U0001F600"), true},
      {"\xC0\x80x", KSV_WIDE("\uFFFD\uFFFDx"), false},
      {"\xED\xA0\x80", KSV_WIDE("\uFFFD\uFFFD\uFFFD"), false},
      {"\xE2\x82x\xF0\x9F", KSV_WIDE("\uFFFDx\uFFFD"), false},
  };
  char text[128];
  for (const auto& [narrow, wide, isValid] : cases) {
    // Into how many characters a broken sequence falls is each system's own.
    if (!isValid && !kHasLayerSettings) continue;
    const int narrowSize = static_cast<int>(narrow.size()) + 1, wideSize = static_cast<int>(wide.size()) + 1;
    WCHAR widened[8] = {};
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, narrow.data(), narrowSize - 1, nullptr, 0), wideSize - 1);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, narrow.c_str(), -1, widened, wideSize), wideSize);
    EXPECT_TRUE(widened == wide) << narrow;
    if (!isValid) continue;
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), -1, text, narrowSize, nullptr, nullptr), narrowSize);
    EXPECT_EQ(text, narrow);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), -1, text, narrowSize - 1, nullptr, nullptr), 0);
    EXPECT_LAST_ERROR(ERROR_INSUFFICIENT_BUFFER);
  }
  const WCHAR unpaired[] = {0xDC00, 'x', 0};
  WideCharToMultiByte(CP_UTF8, 0, unpaired, -1, text, 8, nullptr, nullptr);
  EXPECT_STREQ(text, "\xEF\xBF\xBDx");
  MultiByteToWideChar(CP_ACP, 0, "x", 0, nullptr, 0);
  EXPECT_LAST_ERROR(ERROR_INVALID_PARAMETER);
  for (const auto& [length, result] : {std::pair<size_t, errno_t>{0, 0}, {127, 0}, {128, ERANGE}, {600, ERANGE}}) {
    EXPECT_EQ(wcstombs_s(nullptr, text, sizeof(text), WideText(length, 'x').c_str(), 512), result) << length;
    EXPECT_EQ(std::strlen(text), result == 0 ? length : 0);
  }
  const BSTR counted = SysAllocStringLen(KSV_WIDE("a\0bc"), 3);  // "a", 0, "b"
  EXPECT_TRUE(SysStringLen(counted) == 3 && counted[2] == 'b' && counted[3] == 0);
  SysFreeString(counted);
}

TEST_F(PlatformLayerTest, ModulesAndTheProcess) {
  HMODULE self = nullptr;
  EXPECT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                 reinterpret_cast<LPCWSTR>(&MakeKey), &self));
  EXPECT_EQ(self, GetModuleHandleA(nullptr));
  Write("text.dll", "no module");
  for (const auto& [name, error] : {std::pair{"none.dll", ERROR_MOD_NOT_FOUND}, {"text.dll", ERROR_BAD_EXE_FORMAT}}) {
    const std::string path = Path(name);
    EXPECT_EQ(LoadLibraryW(WideText(path.begin(), path.end()).c_str()), nullptr);
    EXPECT_LAST_ERROR(error);
  }
  const HMODULE kernel = GetModuleHandleA("kernel32");
  BOOL answer = 77;
  EXPECT_EQ(GetProcAddress(kernel, "NoSuchEntry"), nullptr);
  EXPECT_TRUE(GetProcAddress(kernel, "IsWow64Process") && IsWow64Process(GetCurrentProcess(), &answer) && answer != 77);
  const ScopedVariable variable("KsvProbe", "value");
  for (const auto& [name, expected] :
       {std::pair<const char*, const char*>{"KSVPROBE", "value"}, {"KsvProb", nullptr}}) {
    char* value = nullptr;
    EXPECT_EQ(_dupenv_s(&value, nullptr, name), 0);
    EXPECT_STREQ(value, expected);
    std::free(value);
  }
  const DebugOutputCapture capture;
  std::thread([] { OutputDebugStringA("one\n"); }).join();
  OutputDebugStringA("two");
  EXPECT_EQ(capture.lines(), (std::vector{"one\n"s, "two"s}));
}

TEST_F(PlatformLayerTest, MutexesBelongToTheThreadThatTookThem) {
  const HANDLE mutex = CreateMutexA(nullptr, FALSE, nullptr);
  EXPECT_EQ(WaitForSingleObject(mutex, 0) + WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "twice by its owner";
  for (const DWORD wait : {0u, 20u}) {
    std::thread([mutex, wait] {
      EXPECT_EQ(WaitForSingleObject(mutex, wait), static_cast<DWORD>(WAIT_TIMEOUT));
      EXPECT_FALSE(ReleaseMutex(mutex));
    }).join();
    EXPECT_TRUE(wait != 0 || ReleaseMutex(mutex)) << "once is not enough";
  }
  int guarded = 1;
  std::thread waiting([mutex, &guarded] {
    EXPECT_EQ(WaitForSingleObject(mutex, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(guarded, 2);
    ReleaseMutex(mutex);
  });
  guarded = 2;
  EXPECT_TRUE(ReleaseMutex(mutex));
  waiting.join();
  EXPECT_FALSE(ReleaseMutex(mutex));
  EXPECT_LAST_ERROR(ERROR_NOT_OWNER);
  EXPECT_TRUE(CloseHandle(mutex) && WaitForSingleObject(mutex, 0) == WAIT_FAILED);
}

namespace {

std::string trace;  // What the hooks below saw, a letter a call.
HHOOK hooks[3];
bool unhookInside, swallow;

template <char kLetter>
LRESULT CALLBACK Take(int code, WPARAM wParam, LPARAM lParam) {
  if (reinterpret_cast<MSG*>(lParam)->message != kMessage) return CallNextHookEx(nullptr, code, wParam, lParam);
  trace += kLetter;
  if (unhookInside && UnhookWindowsHookEx(hooks[1])) {
    hooks[1] = SetWindowsHookExA(WH_GETMESSAGE, Take<'n'>, GetModuleHandleA(nullptr), 0);
    unhookInside = false;
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

TEST_F(PlatformLayerTest, HooksRunNewestFirstOnTheTakingThread) {
  hooks[0] = SetWindowsHookExA(WH_GETMESSAGE, Take<'o'>, GetModuleHandleA(nullptr), 0);
  hooks[1] = SetWindowsHookExA(WH_GETMESSAGE, Take<'n'>, GetModuleHandleA(nullptr), 0);
  hooks[2] = SetWindowsHookExA(WH_CALLWNDPROC, Sent, nullptr, GetCurrentThreadId());
  TestWindow window;
  const auto traceOfPost = [&window](bool unhook, bool stop) {
    trace.clear();
    unhookInside = unhook;
    swallow = stop;
    std::thread([&] { EXPECT_TRUE(PostMessageA(window.handle(), kMessage, 0, 0)); }).join();
    PumpMessages();
    return trace;
  };
  EXPECT_EQ(traceOfPost(false, false), "no");
  EXPECT_EQ(traceOfPost(false, true), "n");
  EXPECT_EQ(traceOfPost(true, false), "no") << "a hook that takes itself away passes on all the same";
  SendMessageA(window.handle(), kMessage, 0, 0);
  EXPECT_EQ(trace, "nos");
  for (const HHOOK hook : hooks) EXPECT_TRUE(UnhookWindowsHookEx(hook));
  // A system keeps a hook for all threads as long as another process is just in it, and can be asked twice.
  if (kHasLayerSettings) {
    EXPECT_FALSE(UnhookWindowsHookEx(hooks[0]));
  }
  EXPECT_EQ(traceOfPost(false, false), "");
  EXPECT_EQ(std::ranges::count(window.received(), kMessage), 5) << "no such hook keeps a message from its window";

  const HHOOK mouse = SetWindowsHookExA(WH_MOUSE, Mouse, GetModuleHandleA(nullptr), 0);
  window.PressLeft(7, 9);
  EXPECT_TRUE(PumpUntil([] { return trace == "d7009"; })) << trace;
  swallow = true;
  window.ReleaseLeft(8, 9);
  EXPECT_TRUE(PumpUntil([] { return trace == "d7009u8009"; })) << trace;
  EXPECT_TRUE(window.HasReceived(WM_LBUTTONDOWN) && !window.HasReceived(WM_LBUTTONUP));
  EXPECT_TRUE(UnhookWindowsHookEx(mouse));
}

TEST_F(PlatformLayerTest, MessagesNeedALivingWindow) {
  HWND dead = nullptr;
  std::thread([&dead] {
    TestWindow window;
    dead = window.handle();
    PostMessageA(dead, kMessage, 1, 2);
    window.Destroy();
    MSG message;
    EXPECT_FALSE(PeekMessageA(&message, nullptr, kMessage, kMessage, PM_REMOVE)) << "gone with its window";
  }).join();
  EXPECT_FALSE(IsWindow(dead) || PostMessageA(dead, kMessage, 0, 0));
  EXPECT_LAST_ERROR(ERROR_INVALID_WINDOW_HANDLE);
}

TEST_F(PlatformLayerTest, ACallFailsWhenATestSaysSo) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the calls are the system's own";
  const TestWindow window;
  const FailCall fail("PostMessageA", 5, 2);
  EXPECT_TRUE(PostMessageA(window.handle(), kMessage, 0, 0) && !fail.fired());
  EXPECT_TRUE(!PostMessageA(window.handle(), kMessage, 0, 0) && fail.fired());
  EXPECT_LAST_ERROR(5);
  for (int count = 1; count < 10'000; ++count) ASSERT_TRUE(PostMessageA(window.handle(), kMessage, 0, 0));
  EXPECT_FALSE(PostMessageA(window.handle(), kMessage, 0, 0));
  EXPECT_LAST_ERROR(ERROR_NOT_ENOUGH_QUOTA);
  EXPECT_THROW(FailCall("NoSuchCall", 5), std::invalid_argument);
}
