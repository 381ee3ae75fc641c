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

TEST_F(ReferenceDisplayPainting, WindowMayGo) {
  ASSERT_EQ(Create(support::ImageRequest{}), 0);
  window_.Destroy();
  EXPECT_EQ(wys_.RepaintImage(session_, 0), support::Code(KsvDisplay::Status::kWindowGone));
  EXPECT_EQ(Establish(), support::Code(KsvDisplay::Status::kWindowGone));
  EXPECT_EQ(wys_.CloseSession(session_), 0);
}

}  // namespace
