#include <chrono>
#include <fstream>
#include <stdexcept>
#include <vector>

#include "base/owner.h"
#include "base/scope_exit.h"
#include "kit/host/page_window.h"
#include "kit/program/paths.h"
#include "platform/desktop.h"

namespace Kit {
namespace {

constexpr wchar_t kClass[] = L"KsvPageHost";
constexpr DWORD kStyle = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message != WM_CLOSE) return DefWindowProcW(window, message, wParam, lParam);
  // The plug-in uses the window until its instance ends, so it is not destroyed here.
  *reinterpret_cast<bool*>(GetWindowLongPtrW(window, GWLP_USERDATA)) = false;
  return 0;
}

void DeleteBitmap(HBITMAP bitmap) {
  DeleteObject(bitmap);
}

}  // namespace

struct PageWindow::State {
  HWND window;
  bool open;
  int width;
  int height;
};

const bool PageWindow::kHasPicture = true;

PageWindow::PageWindow(const std::string& title, int width, int height)
    : state(std::make_unique<State>(State{nullptr, true, width, height})) {
  WNDCLASSW description{};
  description.lpfnWndProc = WindowProcedure;
  description.hInstance = GetModuleHandleA(nullptr);
  description.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  description.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
  description.lpszClassName = kClass;
  RegisterClassW(&description);
  RECT outside{0, 0, width, height};
  AdjustWindowRect(&outside, kStyle, FALSE);
  state->window = CreateWindowExW(0, kClass, PathOf(title).c_str(), kStyle, CW_USEDEFAULT, CW_USEDEFAULT,
                                  outside.right - outside.left, outside.bottom - outside.top, nullptr, nullptr,
                                  description.hInstance, nullptr);
  if (!state->window)
    throw std::runtime_error("No window can be opened: error " + std::to_string(GetLastError()) + ".");
  SetWindowLongPtrW(state->window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&state->open));
  ShowWindow(state->window, SW_SHOWNORMAL);
  UpdateWindow(state->window);
  // The desktop needs some time before clicks at this place reach the window, and sends no event when it is ready.
  platform::PumpUntil([] { return false; }, std::chrono::milliseconds(500));
}

PageWindow::~PageWindow() {
  DestroyWindow(state->window);
}

HWND PageWindow::Handle() const {
  return state->window;
}

std::optional<POINT> PageWindow::Origin() const {
  POINT origin{0, 0};
  ClientToScreen(state->window, &origin);
  return origin;
}

bool PageWindow::IsOpen() const {
  return state->open;
}

void PageWindow::Click(int x, int y) {
  for (const UINT message : {WM_LBUTTONDOWN, WM_LBUTTONUP}) platform::MakeMouseInput(state->window, message, {x, y});
}

void PageWindow::SavePicture(const std::filesystem::path& path) const {
  const HDC screen = GetDC(state->window);
  const NorvoWebAPI::ScopeExit release([&] { ReleaseDC(state->window, screen); });
  const NorvoWebAPI::Owner<HDC, DeleteDC> memory(CreateCompatibleDC(screen));
  const NorvoWebAPI::Owner<HBITMAP, DeleteBitmap> bitmap(CreateCompatibleBitmap(screen, state->width, state->height));
  const HGDIOBJ before = SelectObject(memory.Get(), bitmap.Get());
  const BOOL copied = BitBlt(memory.Get(), 0, 0, state->width, state->height, screen, 0, 0, SRCCOPY);
  SelectObject(memory.Get(), before);

  BITMAPINFO form{};
  form.bmiHeader.biSize = sizeof form.bmiHeader;
  form.bmiHeader.biWidth = state->width;
  form.bmiHeader.biHeight = state->height;
  form.bmiHeader.biPlanes = 1;
  form.bmiHeader.biBitCount = 32;
  std::vector<char> pixels(static_cast<size_t>(state->width) * static_cast<size_t>(state->height) * 4);
  BITMAPFILEHEADER header{};
  header.bfType = 0x4D42;  // "BM"
  header.bfOffBits = sizeof header + sizeof form.bmiHeader;
  header.bfSize = header.bfOffBits + static_cast<DWORD>(pixels.size());
  const bool read = copied && GetDIBits(memory.Get(), bitmap.Get(), 0, static_cast<UINT>(state->height), pixels.data(),
                                        &form, DIB_RGB_COLORS) == state->height;
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(&header), sizeof header);
  file.write(reinterpret_cast<const char*>(&form.bmiHeader), sizeof form.bmiHeader);
  file.write(pixels.data(), static_cast<std::streamsize>(pixels.size()));
  if (!read || !file.flush())
    throw std::runtime_error("The picture " + TextOf(path) + " can't be written. Check its folder.");
}

}  // namespace Kit
