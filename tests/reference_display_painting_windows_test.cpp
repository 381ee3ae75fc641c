#include <algorithm>
#include <functional>

#include "tests/support/reference_display_fixture.h"

namespace {

class ReferenceDisplayPainting : public support::ReferenceDisplayTest {
 protected:
  // Only a window that is shown has pixels.
  ReferenceDisplayPainting() {
    ShowWindow(window_.handle(), SW_SHOWNOACTIVATE);
    EXPECT_TRUE(platform::PumpUntil([this] { return PixelAt({11, 6}) != CLR_INVALID; }));
  }
  COLORREF PixelAt(WysPoint at) const {
    const HDC dc = GetDC(window_.handle());
    const COLORREF pixel = GetPixel(dc, at.x, at.y);
    ReleaseDC(window_.handle(), dc);
    return pixel;
  }
};

TEST_F(ReferenceDisplayPainting, WindowShowsTheImageAtItsPlace) {
  const COLORREF before = PixelAt({11, 6});
  ASSERT_EQ(Frame(support::FrameBytes(20, 10)), 0);
  EXPECT_EQ(wys_.RepaintImage(session_, 0), 0);
  EXPECT_EQ(PixelAt({10, 5}), RGB(0x55, 0x55, 0x55));
  EXPECT_EQ(PixelAt({29, 14}), RGB(0x55, 0x55, 0x55));
  EXPECT_EQ(PixelAt({9, 5}), before);
  EXPECT_EQ(PixelAt({30, 14}), before);
}

TEST_F(ReferenceDisplayPainting, ImageIsBackAfterTheWindowWasCoveredOrRedrawn) {
  // The window's own procedure paints it white.
  SetClassLongPtrA(window_.handle(), GCLP_HBRBACKGROUND, reinterpret_cast<LONG_PTR>(GetStockObject(WHITE_BRUSH)));
  ASSERT_EQ(Frame(support::FrameBytes(20, 10)), 0);
  EXPECT_EQ(wys_.RepaintImage(session_, 0), 0);
  const HWND cover = CreateWindowExA(0, "STATIC", "", WS_CHILD | WS_VISIBLE, 0, 0, 20, 20, window_.handle(), nullptr,
                                     nullptr, nullptr);
  EXPECT_TRUE(platform::PumpUntil([&] { return GetUpdateRect(cover, nullptr, FALSE) == FALSE; }));
  const auto paints = [this] { return std::ranges::count(window_.received(), UINT{WM_PAINT}); };
  for (const auto& change : std::vector<std::function<void()>>{
           [&] { DestroyWindow(cover); }, [&] { InvalidateRect(window_.handle(), nullptr, TRUE); }}) {
    const auto before = paints();
    change();
    EXPECT_TRUE(platform::PumpUntil([&] { return paints() > before; }));
    EXPECT_EQ(PixelAt({10, 5}), RGB(0x55, 0x55, 0x55));
    EXPECT_EQ(PixelAt({5, 5}), RGB(0xFF, 0xFF, 0xFF)) << "was not covered at all";
  }
  EXPECT_EQ(wys_.ReleaseImage(session_, 0), 0);
  EXPECT_TRUE(platform::PumpUntil([&] { return PixelAt({10, 5}) == RGB(0xFF, 0xFF, 0xFF); }));
}

TEST_F(ReferenceDisplayPainting, DigitsMayBeTypedUnlessThePageSaysNo) {
  const int32_t kIncomplete = support::Code(KsvDisplay::Status::kInputIncomplete);
  SetForegroundWindow(window_.handle());
  const auto type = [this](std::vector<BYTE> keys) {
    for (const BYTE key : keys) {
      for (const DWORD flags : {DWORD{0}, DWORD{KEYEVENTF_KEYUP}}) keybd_event(key, 0, flags, 0);
    }
    // The last one that the window itself gets.
    keybd_event(VK_F9, 0, 0, 0);
    keybd_event(VK_F9, 0, KEYEVENTF_KEYUP, 0);
    const auto count = [this](UINT message) { return std::ranges::count(window_.received(), message); };
    const auto ups = count(WM_KEYUP);
    const auto downs = count(WM_KEYDOWN);
    EXPECT_TRUE(platform::PumpUntil([&] { return count(WM_KEYUP) > ups; }));
    return std::pair(Respond().first, static_cast<int>(count(WM_KEYDOWN) - downs));
  };
  ASSERT_EQ(Create(support::ImageRequest{}), 0);
  PostMessageA(window_.handle(), WM_KEYDOWN, '1', 1);
  // The window, and with it the page, gets no key but the last one.
  EXPECT_EQ(type({'1', VK_NUMPAD2, '3'}), std::pair(kIncomplete, 1)) << "a posted key counts";
  EXPECT_EQ(type({VK_BACK, VK_DELETE, '1', '2', '3', '4', VK_RETURN}), std::pair(0, 1));
  EXPECT_EQ(type({'1', VK_ESCAPE}), std::pair(support::Code(KsvDisplay::Status::kInputCancelled), 1));
  ASSERT_EQ(Create(support::ImageRequest{.options = 256}), 0);
  EXPECT_EQ(type({'1'}), std::pair(kIncomplete, 2));
}

}  // namespace
