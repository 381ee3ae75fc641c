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

TEST_F(ReferenceDisplayPainting, PictureFollowsTheInput) {
  ASSERT_EQ(Create(support::ImageRequest{}), 0);
  const std::string empty = Paint();
  EXPECT_EQ(empty.substr(1, 3), "PNG");
  EXPECT_EQ(empty.substr(16, 8), support::BigEndian(320, 4) + support::BigEndian(420, 4));
  EXPECT_EQ(Paint(), empty);
  Tap("3");
  EXPECT_NE(Paint(), empty);
}

}  // namespace
