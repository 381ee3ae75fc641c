#include <windows.h>

#include "kit/display/painter.h"

namespace KsvDisplay::Painter {
namespace {

HWND Handle(uint32_t window) noexcept {
  // Window handles have 32 significant bits on every Windows; the others repeat the sign.
  return reinterpret_cast<HWND>(static_cast<intptr_t>(static_cast<int32_t>(window)));
}

struct ReleaseDc {
  HWND window;
  void operator()(HDC dc) const noexcept { ReleaseDC(window, dc); }
};
struct DeleteContext {
  void operator()(HDC dc) const noexcept { DeleteDC(dc); }
};
struct DeleteGdiObject {
  void operator()(HGDIOBJ object) const noexcept { DeleteObject(object); }
};
using WindowDc = std::unique_ptr<HDC__, ReleaseDc>;
using MemoryDc = std::unique_ptr<HDC__, DeleteContext>;
using GdiObject = std::unique_ptr<void, DeleteGdiObject>;

/// Puts an object into a drawing context for as long as it lives.
class Selection {
 public:
  Selection(HDC dc, HGDIOBJ object) noexcept : dc_(dc), before_(SelectObject(dc, object)) {}
  ~Selection() { SelectObject(dc_, before_); }
  Selection(const Selection&) = delete;
  Selection& operator=(const Selection&) = delete;

 private:
  HDC dc_;
  HGDIOBJ before_;
};

/// Rows from the top, 32 bits a pixel: a `Picture` as it is.
BITMAPINFO FormatOf(const Picture& picture) {
  BITMAPINFO format{};
  format.bmiHeader.biSize = sizeof(format.bmiHeader);
  format.bmiHeader.biWidth = picture.width;
  format.bmiHeader.biHeight = -picture.height;
  format.bmiHeader.biPlanes = 1;
  format.bmiHeader.biBitCount = 32;
  format.bmiHeader.biCompression = BI_RGB;
  return format;
}

GdiObject MakeFont(const Label& label) {
  LOGFONTW wanted{};
  wanted.lfHeight = -label.height;
  wanted.lfWeight = label.bold ? FW_SEMIBOLD : FW_NORMAL;
  wanted.lfCharSet = DEFAULT_CHARSET;
  wanted.lfQuality = ANTIALIASED_QUALITY;
  wanted.lfPitchAndFamily = VARIABLE_PITCH | FF_SWISS;
  std::wstring_view(L"Segoe UI").copy(wanted.lfFaceName, LF_FACESIZE - 1);
  GdiObject font(CreateFontIndirectW(&wanted));
  Require(font != nullptr, Status::kNoFont);
  return font;
}

std::wstring Widen(const std::string& text) {
  const int size = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');
  wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size)));
  return wide;
}

void DrawLabel(HDC dc, const Label& label) {
  const GdiObject font = MakeFont(label);
  const Selection selected(dc, font.get());
  SetTextColor(dc, RGB(label.colour >> 16 & 0xFF, label.colour >> 8 & 0xFF, label.colour & 0xFF));
  const std::wstring text = Widen(label.text);
  RECT area{label.area.x, label.area.y, label.area.right(), label.area.bottom()};
  DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &area,
            DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
}

}  // namespace

bool WindowStands(uint32_t window) noexcept {
  return IsWindow(Handle(window)) != 0;
}

void DrawLabels(Picture& picture, const Labels& labels) {
  if (labels.empty()) return;
  const MemoryDc dc(CreateCompatibleDC(nullptr));
  Require(dc != nullptr, Status::kPaintingFailed);
  const BITMAPINFO format = FormatOf(picture);
  void* bits = nullptr;
  const GdiObject bitmap(CreateDIBSection(dc.get(), &format, DIB_RGB_COLORS, &bits, nullptr, 0));
  Require(bitmap != nullptr, Status::kPaintingFailed);
  auto* const pixels = static_cast<Colour*>(bits);
  std::copy(picture.pixels.begin(), picture.pixels.end(), pixels);
  {
    const Selection selected(dc.get(), bitmap.get());
    SetBkMode(dc.get(), TRANSPARENT);
    for (const Label& label : labels) DrawLabel(dc.get(), label);
    GdiFlush();
  }
  // Letters drawn over a bitmap may leave anything in the byte that no colour uses.
  std::transform(pixels, pixels + picture.pixels.size(), picture.pixels.begin(),
                 [](Colour pixel) { return pixel & 0xFFFFFF; });
  Wipe(bits, picture.pixels.size() * sizeof(Colour));
}

void Show(uint32_t window, Point at, const Picture& picture) {
  Require(WindowStands(window), Status::kWindowGone);
  const WindowDc dc(GetDC(Handle(window)), ReleaseDc{Handle(window)});
  Require(dc != nullptr, Status::kPaintingFailed);
  const BITMAPINFO format = FormatOf(picture);
  const auto width = static_cast<DWORD>(picture.width);
  const auto height = static_cast<DWORD>(picture.height);
  Require(SetDIBitsToDevice(dc.get(), at.x, at.y, width, height, 0, 0, 0, height, picture.pixels.data(), &format,
                            DIB_RGB_COLORS) != 0,
          Status::kPaintingFailed);
}

void Uncover(uint32_t window, const Rect& area) noexcept {
  const RECT uncovered{area.x, area.y, area.right(), area.bottom()};
  InvalidateRect(Handle(window), &uncovered, TRUE);
}

}  // namespace KsvDisplay::Painter
