#include <fstream>
#include <iterator>

#include "tests/support/reference_display_fixture.h"

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

TEST_F(ReferenceDisplayPainting, PictureFollowsTheInputButDoesNotTellIt) {
  ASSERT_EQ(Create(support::ImageRequest{}), 0);
  const std::string empty = Paint();
  EXPECT_EQ(empty.substr(1, 3), "PNG");
  EXPECT_EQ(empty.substr(16, 8), support::BigEndian(320, 4) + support::BigEndian(420, 4));
  EXPECT_EQ(Paint(), empty);
  Tap("3");
  const std::string one = Paint();
  EXPECT_NE(one, empty);
  // A key that is let go elsewhere shows while it is down only.
  const WysPoint key = MiddleOf(Keys().at("5"));
  const WysPoint nowhere{};
  wys_.MouseDown(session_, 0, &key);
  EXPECT_NE(Paint(), one);
  wys_.MouseUp(session_, 0, &nowhere);
  EXPECT_EQ(Paint(), one);
}

TEST_F(ReferenceDisplayPainting, FailsAloudWithoutAFont) {
  const platform::ScopedVariable font("KSV_DISPLAY_FONT", (folder_ / "none.ttf").string().c_str());
  ASSERT_EQ(Create(support::ImageRequest{}), 0);
  EXPECT_EQ(wys_.RepaintImage(session_, 0), support::Code(KsvDisplay::Status::kNoFont));
  ASSERT_EQ(Frame(support::FrameBytes(3, 3)), 0);
  EXPECT_FALSE(Paint().empty());
}

}  // namespace
