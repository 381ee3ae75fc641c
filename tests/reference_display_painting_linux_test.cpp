#include <fstream>
#include <iterator>

#include "base/scope_exit.h"
#include "tests/support/reference_display_fixture.h"
#include "tests/support/silent_screen_linux.h"

namespace {

class ReferenceDisplayPainting : public support::ReferenceDisplayTest {
 protected:
  // The picture file of a repaint, as bytes.
  std::string Paint() {
    EXPECT_EQ(wys_.RepaintImage(session_, 0), 0);
    std::ifstream file(folder_ / "picture.png", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  const platform::ScopedVariable picture_{"KSV_DISPLAY_PICTURE", (folder_ / "picture.png").string().c_str()};
};

TEST_F(ReferenceDisplayPainting, PictureFollowsTheInput) {
  ASSERT_EQ(Create(support::ImageRequest{}), 0);
  const std::string empty = Paint();
  EXPECT_EQ(empty.substr(1, 3), "PNG");
  EXPECT_EQ(empty.substr(16, 8), support::BigEndian(320, 4) + support::BigEndian(420, 4));
  EXPECT_EQ(Paint(), empty);
  Tap("3");
  EXPECT_NE(Paint(), empty);
}

class RecordingScreen : public support::SilentScreen {
 public:
  uint32_t Open(const platform::Placement& place) override {
    ++opened;
    return SilentScreen::Open(place);
  }
  void Show(uint32_t /*window*/, bool activate, bool /*isTopmost*/) override { shown += activate ? 'a' : '-'; }

  int opened = 0;
  std::string shown;
};

TEST_F(ReferenceDisplayPainting, WindowOpensOnceAndTakesTheKeysThatAreDown) {
  static std::shared_ptr<RecordingScreen> screen;
  screen = std::make_shared<RecordingScreen>();
  platform::connectScreen = []() -> std::shared_ptr<platform::Screen> { return screen; };
  const NorvoWebAPI::ScopeExit disconnect([] { platform::connectScreen = nullptr; });
  const HWND window = window_.handle();
  for (const UINT flags : {SWP_SHOWWINDOW | SWP_NOACTIVATE, SWP_HIDEWINDOW, SWP_SHOWWINDOW}) {
    EXPECT_TRUE(SetWindowPos(window, HWND_TOP, 0, 0, 400, 460, flags));
  }
  EXPECT_EQ(screen->shown, "-a");
  EXPECT_EQ(screen->opened, 1);

  ASSERT_EQ(Create(support::ImageRequest{.least = 2, .greatest = 2}), 0);
  platform::ReportKey(1, WM_KEYDOWN, {'1', false, false}, false);
  platform::ReportKey(1, WM_KEYUP, {'1', false, false}, false);
  platform::PumpMessages();
  PostMessageA(window, WM_KEYDOWN, '1', 1);
  platform::PumpMessages();
  EXPECT_EQ(Respond().first, support::Code(KsvDisplay::Status::kInputIncomplete)) << "a posted key counts";
  platform::ReportKey(1, WM_KEYDOWN, {'2', false, false}, false);
  platform::PumpMessages();
  EXPECT_EQ(Respond().first, 0);
}

}  // namespace
