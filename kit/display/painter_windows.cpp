#include "base/owner.h"
#include "base/scope_exit.h"
#include "kit/display/painter.h"
#include "kit/display/window_handle.h"
#include "kit/shared/utf8.h"

namespace KsvDisplay::Painter {
namespace {

using NorvoWebAPI::Owner;
using NorvoWebAPI::ScopeExit;
using MemoryDc = Owner<HDC, DeleteDC>;
using GdiObject = Owner<HGDIOBJ, DeleteObject>;

GdiObject MakeFont(int height, bool bold) {
  LOGFONTW wanted{};
  wanted.lfHeight = -height;
  wanted.lfWeight = bold ? FW_SEMIBOLD : FW_NORMAL;
  wanted.lfCharSet = DEFAULT_CHARSET;
  wanted.lfQuality = ANTIALIASED_QUALITY;
  wanted.lfPitchAndFamily = VARIABLE_PITCH | FF_SWISS;
  std::wstring_view(L"Segoe UI").copy(wanted.lfFaceName, LF_FACESIZE - 1);
  GdiObject font(CreateFontIndirectW(&wanted));
  Require(static_cast<bool>(font), Status::kNoFont);
  return font;
}

void DrawLabel(HDC dc, const Label& label) {
  const GdiObject font = MakeFont(label.height, label.bold);
  const HGDIOBJ before = SelectObject(dc, font.Get());
  const ScopeExit deselect([=] { SelectObject(dc, before); });
  SetTextColor(dc, RGB(label.colour >> 16 & 0xFF, label.colour >> 8 & 0xFF, label.colour & 0xFF));
  const WideText text = WideFromUtf8(label.text).value_or(L"");
  RECT area{label.area.x, label.area.y, label.area.right(), label.area.bottom()};
  DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &area,
            DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
}

}  // namespace

int DotsPerInch(uint32_t window) noexcept {
  using Ask = UINT(WINAPI*)(HWND);
  // Windows 7 and 8 lack it.
  const HMODULE user = GetModuleHandleW(L"user32.dll");
  const auto ask = reinterpret_cast<Ask>(reinterpret_cast<void*>(GetProcAddress(user, "GetDpiForWindow")));
  if (ask != nullptr) return std::max(static_cast<int>(ask(HandleOf(window))), kUsualDotsPerInch);
  const HDC dc = GetDC(HandleOf(window));
  const ScopeExit release([=] { ReleaseDC(HandleOf(window), dc); });
  return std::max(GetDeviceCaps(dc, LOGPIXELSX), kUsualDotsPerInch);
}

Language UserLanguage() noexcept {
  return PRIMARYLANGID(GetUserDefaultUILanguage()) == LANG_GERMAN ? Language::kGerman : Language::kEnglish;
}

std::vector<int> MeasureText(const std::u32string& text, int height, bool bold) {
  const MemoryDc dc(CreateCompatibleDC(nullptr));
  Require(static_cast<bool>(dc), Status::kPaintingFailed);
  const GdiObject font = MakeFont(height, bold);
  const HGDIOBJ before = SelectObject(dc.Get(), font.Get());
  const ScopeExit deselect([&] { SelectObject(dc.Get(), before); });
  WideText wide;
  std::vector<size_t> unitsOf;
  for (const char32_t code : text) {
    if (code > 0xFFFF) wide += static_cast<WCHAR>(0xD7C0 + (code >> 10));
    wide += static_cast<WCHAR>(code > 0xFFFF ? 0xDC00 + (code & 0x3FF) : code);
    unitsOf.push_back(wide.size());
  }
  std::vector<int> unitEnds(wide.size());
  SIZE size{};
  Require(GetTextExtentExPointW(dc.Get(), wide.c_str(), static_cast<int>(wide.size()), 0, nullptr, unitEnds.data(),
                                &size) != 0,
          Status::kPaintingFailed);
  std::vector<int> ends;
  ends.reserve(unitsOf.size());
  for (const size_t units : unitsOf) ends.push_back(unitEnds[units - 1]);
  return ends;
}

void DrawLabels(Picture& picture, const Labels& labels) {
  if (labels.empty()) return;
  const MemoryDc dc(CreateCompatibleDC(nullptr));
  Require(static_cast<bool>(dc), Status::kPaintingFailed);
  const BITMAPINFO format = FormatOf(picture);
  void* bits = nullptr;
  const GdiObject bitmap(CreateDIBSection(dc.Get(), &format, DIB_RGB_COLORS, &bits, nullptr, 0));
  Require(static_cast<bool>(bitmap), Status::kPaintingFailed);
  auto* const pixels = static_cast<Colour*>(bits);
  std::copy(picture.pixels.begin(), picture.pixels.end(), pixels);
  {
    const HGDIOBJ before = SelectObject(dc.Get(), bitmap.Get());
    const ScopeExit deselect([&] { SelectObject(dc.Get(), before); });
    SetBkMode(dc.Get(), TRANSPARENT);
    for (const Label& label : labels) DrawLabel(dc.Get(), label);
    GdiFlush();
  }
  // GDI may change the unused byte of a pixel when it draws text.
  std::transform(pixels, pixels + picture.pixels.size(), picture.pixels.begin(),
                 [](Colour pixel) { return pixel & 0xFFFFFF; });
  Wipe(bits, picture.pixels.size() * sizeof(Colour));
}

void Disclose(const Picture& /*picture*/) {}

}  // namespace KsvDisplay::Painter
