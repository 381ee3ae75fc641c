/// The platform's calls under their published names: the only way to them. On Windows they are the system's own.
/// Elsewhere this header declares the subset in use, and the other files of this folder implement it: names, types,
/// constants and errors as published, as far as callers rely on them. An argument outside the subset fails with
/// `ERROR_CALL_NOT_IMPLEMENTED`.
///
/// On Linux the ANSI code page (`CP_ACP`) is UTF-8, and a file name is the system's path with backslashes in place of
/// slashes. Wide text has 16-bit units on every system.
#pragma once

#include "platform/wide_text.h"

#ifdef _WIN32

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif

// The order matters: the socket header has to come before the general one.
// clang-format off
#include <winsock2.h>
#include <windows.h>
#include <ole2.h>
#include <oleauto.h>
#include <comdef.h>
#include <msi.h>
#include <msiquery.h>
// clang-format on

#include <cstdlib>
#include <ctime>

// These macros would rename our functions of the same names.
#undef CreateDirectory
#undef DeleteFile
#undef GetMessage
#undef GetTempFileName
#undef PostMessage
#undef SendMessage

#else

#include <arpa/inet.h>

#include <cstddef>
#include <cstdint>

// A program that exports its copy of the layer shares it with the modules that it loads: they have the same windows,
// hooks and faults.
#pragma GCC visibility push(default)

// --- Plain types ------------------------------------------------------------------------------------------------

#define WINAPI
#define CALLBACK
#define TRUE 1
#define FALSE 0

using BOOL = int;
using BYTE = unsigned char;
using DWORD = uint32_t;
using UINT = unsigned int;
using LONG = int32_t;
using INT_PTR = intptr_t;
using UINT_PTR = uintptr_t;
using LONG_PTR = intptr_t;
using ULONG_PTR = uintptr_t;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using HRESULT = LONG;
using LSTATUS = LONG;
using REGSAM = DWORD;
using MSIHANDLE = unsigned long;
using errno_t = int;
using __time64_t = long long;

using CHAR = char;
using OLECHAR = WCHAR;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using BSTR = OLECHAR*;

using HANDLE = void*;
using HINSTANCE = struct HINSTANCE__*;
using HMODULE = HINSTANCE;
using HWND = struct HWND__*;
using HHOOK = struct HHOOK__*;
using HDC = struct HDC__*;
using HRGN = struct HRGN__*;
using HKEY = struct HKEY__*;
using PHKEY = HKEY*;
using FARPROC = INT_PTR (*)();

struct SECURITY_ATTRIBUTES;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct POINT {
  LONG x;
  LONG y;
};

struct RECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};

inline constexpr DWORD MAX_PATH = 260;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(static_cast<INT_PTR>(-1));

// --- Errors -----------------------------------------------------------------------------------------------------

inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_PATH_NOT_FOUND = 3;
inline constexpr LONG ERROR_ACCESS_DENIED = 5;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr LONG ERROR_INVALID_DATA = 13;
inline constexpr LONG ERROR_OUTOFMEMORY = 14;
inline constexpr LONG ERROR_NO_MORE_FILES = 18;
inline constexpr LONG ERROR_GEN_FAILURE = 31;
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_CALL_NOT_IMPLEMENTED = 120;
inline constexpr LONG ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr LONG ERROR_INVALID_NAME = 123;
inline constexpr LONG ERROR_MOD_NOT_FOUND = 126;
inline constexpr LONG ERROR_PROC_NOT_FOUND = 127;
inline constexpr LONG ERROR_ALREADY_EXISTS = 183;
inline constexpr LONG ERROR_BAD_EXE_FORMAT = 193;
inline constexpr LONG ERROR_MORE_DATA = 234;
inline constexpr LONG ERROR_NO_MORE_ITEMS = 259;
inline constexpr LONG ERROR_NOT_OWNER = 288;
inline constexpr LONG ERROR_BADDB = 1009;
inline constexpr LONG ERROR_REGISTRY_IO_FAILED = 1016;
inline constexpr LONG ERROR_KEY_DELETED = 1018;
inline constexpr LONG ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr LONG ERROR_INVALID_WINDOW_HANDLE = 1400;
inline constexpr LONG ERROR_INVALID_HOOK_HANDLE = 1404;
inline constexpr LONG ERROR_NOT_ENOUGH_QUOTA = 1816;

inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);

inline constexpr HRESULT HRESULT_FROM_WIN32(DWORD error) {
  return static_cast<HRESULT>(error) <= 0 ? static_cast<HRESULT>(error)
                                          : static_cast<HRESULT>((error & 0xFFFFu) | 0x80070000u);
}

/// Thrown by text conversion, with the failure as an HRESULT.
class _com_error {
 public:
  explicit _com_error(HRESULT result) : result(result) {}
  HRESULT Error() const { return result; }

 private:
  HRESULT result;
};

DWORD GetLastError();
void SetLastError(DWORD error);

// --- Modules ----------------------------------------------------------------------------------------------------

inline constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT = 2;
inline constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS = 4;

/// Takes full paths only.
HMODULE LoadLibraryW(LPCWSTR path);
FARPROC GetProcAddress(HMODULE module, LPCSTR name);
BOOL FreeLibrary(HMODULE module);
/// Knows "kernel32", which has `IsWow64Process`, and null for the program itself.
HMODULE GetModuleHandleA(LPCSTR name);
/// Finds the module that an address lies in. Needs both flags above.
BOOL GetModuleHandleExA(DWORD flags, LPCSTR address, HMODULE* module);

// --- Registry ---------------------------------------------------------------------------------------------------

// Macros, because a constant expression can't hold a pointer made from a number.
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000002u)))

inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_MULTI_SZ = 7;
inline constexpr DWORD REG_QWORD = 11;
inline constexpr REGSAM KEY_SET_VALUE = 0x2;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_WRITE = 0x20006;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;
inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0;

LSTATUS RegOpenKeyExA(HKEY parent, LPCSTR subKey, DWORD options, REGSAM access, PHKEY key);
LSTATUS RegOpenKeyExW(HKEY parent, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY key);
/// `disposition` must be null.
LSTATUS RegCreateKeyExA(HKEY parent, LPCSTR subKey, DWORD reserved, LPSTR className, DWORD options, REGSAM access,
                        const SECURITY_ATTRIBUTES* security, PHKEY key, DWORD* disposition);
LSTATUS RegCreateKeyExW(HKEY parent, LPCWSTR subKey, DWORD reserved, LPWSTR className, DWORD options, REGSAM access,
                        const SECURITY_ATTRIBUTES* security, PHKEY key, DWORD* disposition);
LSTATUS RegCloseKey(HKEY key);
LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size);
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size);
LSTATUS RegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size);
LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size);
/// Writes `subKeys` and `longestSubKey` (bytes, without terminator). The other results must be null.
LSTATUS RegQueryInfoKeyA(HKEY key, LPSTR className, DWORD* classLength, DWORD* reserved, DWORD* subKeys,
                         DWORD* longestSubKey, DWORD* longestClass, DWORD* values, DWORD* longestValueName,
                         DWORD* longestValue, DWORD* securitySize, FILETIME* lastWrite);
/// `className`, `classLength` and `lastWrite` must be null.
LSTATUS RegEnumKeyExA(HKEY key, DWORD index, LPSTR name, DWORD* nameLength, DWORD* reserved, LPSTR className,
                      DWORD* classLength, FILETIME* lastWrite);
LSTATUS RegDeleteKeyA(HKEY parent, LPCSTR subKey);

// --- Installer --------------------------------------------------------------------------------------------------

/// A property of the running installation. No installer runs here, so only a test sets one.
UINT MsiGetPropertyA(MSIHANDLE installation, LPCSTR name, LPSTR value, DWORD* length);

// --- Files, environment, time -----------------------------------------------------------------------------------

inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_DEVICE = 0x40;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;

/// Only the attributes and the name are filled; the rest is 0.
struct WIN32_FIND_DATAA {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD dwReserved0;
  DWORD dwReserved1;
  CHAR cFileName[MAX_PATH];
  CHAR cAlternateFileName[14];
};

/// `filePart` must be null.
DWORD GetFullPathNameA(LPCSTR path, DWORD size, LPSTR buffer, LPSTR* filePart);
/// `unique` must be 0.
UINT GetTempFileNameA(LPCSTR folder, LPCSTR prefix, UINT unique, LPSTR path);
BOOL CreateDirectoryA(LPCSTR path, LPSECURITY_ATTRIBUTES security);
BOOL DeleteFileA(LPCSTR path);
/// Follows links. Tells folders, plain files and devices (all else).
DWORD GetFileAttributesA(LPCSTR path);
/// Lists by name, ignoring case; "*.*" matches every name.
HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* found);
BOOL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* found);
BOOL FindClose(HANDLE search);

/// The caller frees the copy with `free`. Ignores the case of the name.
errno_t _dupenv_s(char** value, size_t* size, const char* name);
__time64_t _time64(__time64_t* now);

// --- Text -------------------------------------------------------------------------------------------------------

inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_UTF8 = 65001;
/// Refuse ill-formed text (ERROR_NO_UNICODE_TRANSLATION) instead of replacing it. The second is for CP_UTF8 alone.
inline constexpr DWORD MB_ERR_INVALID_CHARS = 0x08;
inline constexpr DWORD WC_ERR_INVALID_CHARS = 0x80;
inline constexpr size_t _TRUNCATE = static_cast<size_t>(-1);
inline constexpr errno_t STRUNCATE = 80;

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int wideLength, LPSTR narrow, int narrowSize,
                        LPCSTR defaultChar, BOOL* usedDefaultChar);
int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR narrow, int narrowLength, LPWSTR wide, int wideSize);
/// `count` must be `_TRUNCATE`.
errno_t wcstombs_s(size_t* converted, char* narrow, size_t size, const WCHAR* wide, size_t count);

BSTR SysAllocString(const OLECHAR* text);
BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
void SysFreeString(BSTR text);
UINT SysStringLen(BSTR text);

// --- Process ----------------------------------------------------------------------------------------------------

DWORD GetCurrentThreadId();
DWORD GetCurrentProcessId();
HANDLE GetCurrentProcess();
/// Answers FALSE unless a test wants otherwise. Callers find it through `GetProcAddress`.
BOOL IsWow64Process(HANDLE process, BOOL* answer);
/// Appends to the file that the environment variable KSV_DEBUG_OUTPUT names, or else "DebugOutput" in the registry's
/// file; writes to standard error if that is "stderr". Without either the text is dropped.
void OutputDebugStringA(LPCSTR text);

// --- Mutexes ----------------------------------------------------------------------------------------------------

inline constexpr DWORD INFINITE = 0xFFFFFFFF;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_ABANDONED = 0x80;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;

/// Unnamed mutexes only, made without an owner. The owner may take its mutex again.
HANDLE CreateMutexA(LPSECURITY_ATTRIBUTES security, BOOL initialOwner, LPCSTR name);
DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);
BOOL ReleaseMutex(HANDLE mutex);
BOOL CloseHandle(HANDLE object);

#pragma GCC visibility pop

#include "platform/win32_desktop.h"

#endif
