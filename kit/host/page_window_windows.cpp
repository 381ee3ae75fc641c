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

void DeleteBitmap(HBITMAP bitmap) {
  DeleteObject(bitmap);
}

}  // namespace

const bool PageWindow::kHasPicture = true;

HWND PageWindow::Make(WNDPROC procedure, int width, int height) {
  WNDCLASSW description{};
  description.lpfnWndProc = procedure;
  description.hInstance = GetModuleHandleA(nullptr);
  description.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  description.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
  description.lpszClassName = kClass;
  RegisterClassW(&description);
  RECT outside{0, 0, width, height};
  AdjustWindowRect(&outside, kStyle, FALSE);
  return CreateWindowExW(0, kClass, L"", kStyle, CW_USEDEFAULT, CW_USEDEFAULT, outside.right - outside.left,
                         outside.bottom - outside.top, nullptr, nullptr, description.hInstance, nullptr);
}

void PageWindow::AwaitDisplay() const {
  UpdateWindow(window);
  // The desktop needs some time before clicks at this place reach the window, and sends no event when it is ready.
  platform::PumpUntil([] { return false; }, std::chrono::milliseconds(500));
}

void PageWindow::SavePicture(const std::filesystem::path& path) const {
  RECT client{};
  GetClientRect(window, &client);
  const auto [left, top, width, height] = client;
  const HDC screen = GetDC(window);
  const NorvoWebAPI::ScopeExit release([&] { ReleaseDC(window, screen); });
  const NorvoWebAPI::Owner<HDC, DeleteDC> memory(CreateCompatibleDC(screen));
  const NorvoWebAPI::Owner<HBITMAP, DeleteBitmap> bitmap(CreateCompatibleBitmap(screen, width, height));
  const HGDIOBJ before = SelectObject(memory.Get(), bitmap.Get());
  const BOOL copied = BitBlt(memory.Get(), 0, 0, width, height, screen, 0, 0, SRCCOPY);
  SelectObject(memory.Get(), before);

  BITMAPINFO form{};
  form.bmiHeader.biSize = sizeof form.bmiHeader;
  form.bmiHeader.biWidth = width;
  form.bmiHeader.biHeight = height;
  form.bmiHeader.biPlanes = 1;
  form.bmiHeader.biBitCount = 32;
  std::vector<char> pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
  BITMAPFILEHEADER header{};
  header.bfType = 0x4D42;  // "BM"
  header.bfOffBits = sizeof header + sizeof form.bmiHeader;
  header.bfSize = header.bfOffBits + static_cast<DWORD>(pixels.size());
  const bool read = copied && GetDIBits(memory.Get(), bitmap.Get(), 0, static_cast<UINT>(height), pixels.data(), &form,
                                        DIB_RGB_COLORS) == height;
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(&header), sizeof header);
  file.write(reinterpret_cast<const char*>(&form.bmiHeader), sizeof form.bmiHeader);
  file.write(pixels.data(), static_cast<std::streamsize>(pixels.size()));
  if (!read || !file.flush())
    throw std::runtime_error("The picture " + TextOf(path) + " can't be written. Check its folder.");
}

}  // namespace Kit
