/// Windows, messages, hooks and painting: the part of win32.h that this layer does on Linux for the desktop.
///
/// A window has no pixels until its thread shows it. Then it is on the X display that DISPLAY names, if the program
/// links `ksv_x11` and that display answers; otherwise it stays as it was, and `IsWindowVisible` tells so. No window
/// has a frame of its own here (a window manager may add one), so the window and its client area are one.
#pragma once

#ifndef _WIN32

#include "platform/win32.h"

#pragma GCC visibility push(default)

// --- Messages and hooks -----------------------------------------------------------------------------------------

inline constexpr UINT WM_NULL = 0x0000;
inline constexpr UINT WM_MOVE = 0x0003;
inline constexpr UINT WM_SIZE = 0x0005;
inline constexpr UINT WM_PAINT = 0x000F;
inline constexpr UINT WM_CLOSE = 0x0010;
inline constexpr UINT WM_KEYDOWN = 0x0100;
inline constexpr UINT WM_KEYUP = 0x0101;
inline constexpr UINT WM_LBUTTONDOWN = 0x0201;
inline constexpr UINT WM_LBUTTONUP = 0x0202;
inline constexpr UINT WM_USER = 0x0400;
inline constexpr UINT PM_NOREMOVE = 0;
inline constexpr UINT PM_REMOVE = 1;
inline constexpr WPARAM MK_LBUTTON = 1;

inline constexpr int WH_GETMESSAGE = 3;
inline constexpr int WH_CALLWNDPROC = 4;
inline constexpr int WH_MOUSE = 7;
inline constexpr int HC_ACTION = 0;
inline constexpr int HC_NOREMOVE = 3;

struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};

struct MOUSEHOOKSTRUCT {
  POINT pt;
  HWND hwnd;
  UINT wHitTestCode;
  ULONG_PTR dwExtraInfo;
};

struct CWPSTRUCT {
  LPARAM lParam;
  WPARAM wParam;
  UINT message;
  HWND hwnd;
};

using HOOKPROC = LRESULT(CALLBACK*)(int code, WPARAM wParam, LPARAM lParam);
using WNDPROC = LRESULT(CALLBACK*)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

/// A hook for all threads (`thread` 0) needs `module`. A thread's hooks are removed when it ends, and run before those
/// for all threads.
HHOOK SetWindowsHookExA(int type, HOOKPROC procedure, HINSTANCE module, DWORD thread);
BOOL UnhookWindowsHookEx(HHOOK hook);
/// Continues after the procedure that the calling thread is in. Ignores `hook`.
LRESULT CallNextHookEx(HHOOK hook, int code, WPARAM wParam, LPARAM lParam);

/// Appends to the queue of the window's thread, which holds 10,000 at most.
BOOL PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
/// The window has to belong to the calling thread.
LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
/// First reads what the display has to say of the calling thread's windows.
BOOL PeekMessageA(MSG* message, HWND window, UINT first, UINT last, UINT remove);
LRESULT DispatchMessageA(const MSG* message);

// --- Windows ----------------------------------------------------------------------------------------------------

inline constexpr int SW_HIDE = 0;
inline constexpr int SW_SHOWNORMAL = 1;
inline constexpr int SW_SHOWNOACTIVATE = 4;
inline constexpr int SW_SHOW = 5;
inline constexpr int SW_SHOWNA = 8;

inline constexpr UINT SWP_NOSIZE = 0x0001;
inline constexpr UINT SWP_NOMOVE = 0x0002;
inline constexpr UINT SWP_NOZORDER = 0x0004;
inline constexpr UINT SWP_NOACTIVATE = 0x0010;
inline constexpr UINT SWP_SHOWWINDOW = 0x0040;
inline constexpr UINT SWP_HIDEWINDOW = 0x0080;
// Macros, because a constant expression can't hold a pointer made from a number.
#define HWND_TOP (reinterpret_cast<HWND>(static_cast<LONG_PTR>(0)))
#define HWND_TOPMOST (reinterpret_cast<HWND>(static_cast<LONG_PTR>(-1)))
#define HWND_NOTOPMOST (reinterpret_cast<HWND>(static_cast<LONG_PTR>(-2)))

inline constexpr int GWLP_USERDATA = -21;

BOOL IsWindow(HWND window);
BOOL DestroyWindow(HWND window);
/// Ignores `process`, which may be null.
DWORD GetWindowThreadProcessId(HWND window, DWORD* process);

/// The calling thread's own windows only, with one of the commands above. Where no display answers, the window stays
/// invisible.
BOOL ShowWindow(HWND window, int command);
BOOL IsWindowVisible(HWND window);
/// Posts no WM_MOVE and no WM_SIZE before the display has moved the window.
BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags);
BOOL SetWindowTextW(HWND window, LPCWSTR title);
/// The user's data (`GWLP_USERDATA`) alone.
LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value);
LONG_PTR GetWindowLongPtrW(HWND window, int index);

BOOL GetWindowRect(HWND window, RECT* place);
BOOL GetClientRect(HWND window, RECT* client);
BOOL ClientToScreen(HWND window, POINT* point);
BOOL ScreenToClient(HWND window, POINT* point);

// --- The keyboard -----------------------------------------------------------------------------------------------

inline constexpr int VK_BACK = 0x08;
inline constexpr int VK_RETURN = 0x0D;
inline constexpr int VK_CONTROL = 0x11;
inline constexpr int VK_MENU = 0x12;
inline constexpr int VK_ESCAPE = 0x1B;
inline constexpr int VK_DELETE = 0x2E;
inline constexpr int VK_NUMPAD0 = 0x60;
inline constexpr int VK_NUMPAD9 = 0x69;

/// Of the keys above and the digits: these alone are reported. As of the last key that the calling thread took from its
/// queue: negative while it is held.
short GetKeyState(int key);
/// The calling thread's window that has the keyboard, or null.
HWND GetFocus();
/// Returns null. The keyboard is the window's once the display says so.
HWND SetFocus(HWND window);

// --- Painting, and what is visible of a window ------------------------------------------------------------------

inline constexpr DWORD DCX_CACHE = 0x2;
inline constexpr DWORD DCX_CLIPCHILDREN = 0x8;
inline constexpr DWORD DCX_CLIPSIBLINGS = 0x10;
inline constexpr int RGN_ERROR = 0;
inline constexpr int NULLREGION = 1;
inline constexpr int SIMPLEREGION = 2;
inline constexpr int COMPLEXREGION = 3;
inline constexpr DWORD BI_RGB = 0;
inline constexpr UINT DIB_RGB_COLORS = 0;

struct BITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  uint16_t biPlanes;
  uint16_t biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
};

struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
};

HDC GetDC(HWND window);
/// Needs a null `region`.
HDC GetDCEx(HWND window, HRGN region, DWORD flags);
int ReleaseDC(HWND window, HDC context);
int IntersectClipRect(HDC context, int left, int top, int right, int bottom);
/// What can be seen is the client area, of a shown window as far as it lies on the screen. It is a complex region if
/// another window covers some of it, whatever part: the display tells no more.
int GetClipBox(HDC context, RECT* box);

/// Whole pictures of 32 bits a pixel with rows from the top. Ignores the clip box. Without effect while the window is
/// invisible.
int SetDIBitsToDevice(HDC context, int x, int y, DWORD width, DWORD height, int fromX, int fromY, UINT firstRow,
                      UINT rows, const void* bits, const BITMAPINFO* format, UINT colours);
/// Makes the area white at once, whatever `erase` says, and has WM_PAINT posted. `area` may be null for all of it.
BOOL InvalidateRect(HWND window, const RECT* area, BOOL erase);
/// Nothing to do: what was uncovered has been made white before WM_PAINT was posted.
BOOL ValidateRect(HWND window, const RECT* area);

#pragma GCC visibility pop

#endif
