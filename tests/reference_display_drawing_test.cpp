#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "kit/display/drawing.h"
#include "kit/display/raster.h"
#include "kit/display/visible_text.h"

namespace {

using namespace KsvDisplay;

double Luminance(Colour colour) {
  const auto part = [colour](int shift) {
    const double value = static_cast<double>(colour >> shift & 0xFF) / 255;
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * part(16) + 0.7152 * part(8) + 0.0722 * part(0);
}

// With the colour of a panel that is nearer to the other one.
double Contrast(Colour one, const Panel& panel) {
  const auto with = [one](Colour other) {
    const double low = std::min(Luminance(one), Luminance(other));
    return (std::max(Luminance(one), Luminance(other)) + 0.05) / (low + 0.05);
  };
  return std::min(with(panel.top), with(panel.bottom));
}

// The uppermost of the first `count` panels there.
const Panel& Under(const Scene& scene, const Rect& area, size_t count) {
  while (!scene.panels[count - 1].area.Contains(area.x + area.width / 2, area.y + area.height / 2)) --count;
  return scene.panels[count - 1];
}

Descriptor Describe(InputType type, Point size, Theme theme, Language language) {
  Descriptor image;
  image.type = type;
  image.size = size;
  image.theme = theme;
  image.language = language;
  image.least = 4;
  image.greatest = 6;
  return image;
}

void ExpectLegible(const Scene& scene) {
  for (const Label& label : scene.labels) {
    EXPECT_GE(Contrast(label.colour, Under(scene, label.area, scene.panels.size())), 4.5) << label.text;
    EXPECT_TRUE(label.area.x >= 0 && label.area.right() <= scene.width && label.area.bottom() <= scene.height);
  }
  // All but the ground and the caption's band have an edge to be seen by.
  for (size_t i = 2; i < scene.panels.size(); ++i) {
    EXPECT_GE(Contrast(scene.panels[i].border, Under(scene, scene.panels[i].area, i)), 3) << i;
  }
}

TEST(ReferenceDisplayDrawing, IsLegibleInEveryStateThemeAndLanguage) {
  const Progress states[] = {{0, false, nullptr, Notice::kNone, {}},    {6, false, nullptr, Notice::kNone, {}},
                             {3, false, nullptr, Notice::kMissing, {}}, {0, false, nullptr, Notice::kRejected, 99},
                             {0, true, nullptr, Notice::kTaken, {}},    {0, true, nullptr, Notice::kCancelled, {}},
                             {0, true, nullptr, Notice::kRejected, 0}};
  const std::pair<InputType, Point> smallest[] = {
      {InputType::kPin, {200, 260}}, {InputType::kConfirmation, {200, 140}}, {InputType::kText, {200, 140}}};
  for (const auto& [type, size] : smallest) {
    for (const Theme theme : {Theme::kLight, Theme::kDark}) {
      for (const Language language : {Language::kEnglish, Language::kGerman}) {
        const Descriptor image = Describe(type, size, theme, language);
        const Layout layout = LayOut(image, "Norvo Bank", "Pay 120.00 EUR to Alice Example");
        for (const Progress& given : states) {
          Progress state = given;
          SCOPED_TRACE(testing::Message()
                       << "type " << static_cast<int>(type) << ", theme " << static_cast<int>(theme) << ", language "
                       << static_cast<int>(language) << ", state " << &given - states);
          if (!layout.keys.empty()) state.pressed = &layout.keys.back();
          ExpectLegible(DrawScene(image, layout, "0123456789", state));
        }
      }
    }
  }
}

TEST(ReferenceDisplayDrawing, ShowsAReferenceWholeOrRefusesIt) {
  const Descriptor image = Describe(InputType::kPin, {200, 260}, Theme::kLight, Language::kEnglish);
  const auto shown = [&](const std::string& reference, const char* between) {
    std::string text;
    for (const Label& line : LayOut(image, "", reference).reference) text += (text.empty() ? "" : between) + line.text;
    return text;
  };
  const std::string sentence = "Zahlung \u00FCber 12.120,00 EUR an die Wasserwerke der Landeshauptstadt M\u00FCnchen";
  const std::string word(60, 'x');
  EXPECT_EQ(shown("", " "), "");
  EXPECT_EQ(shown(sentence, " "), sentence);
  EXPECT_EQ(shown(word, ""), word);
  EXPECT_THROW(shown(std::string(120, 'W'), ""), DisplayError);
}

TEST(ReferenceDisplayDrawing, ClosesInAColourForEachEnd) {
  const Descriptor image = Describe(InputType::kPin, {200, 260}, Theme::kLight, Language::kEnglish);
  std::set<Colour> fills;
  for (const Notice notice : {Notice::kTaken, Notice::kCancelled, Notice::kRejected}) {
    fills.insert(
        DrawScene(image, LayOut(image, "", ""), "0123456789", {0, true, nullptr, notice, {}}).panels.back().top);
  }
  EXPECT_EQ(fills.size(), 3U);
}

TEST(ReferenceDisplayDrawing, AStrokeIsTheSameFromEachEnd) {
  Scene scenes[2];
  for (Scene& scene : scenes) scene.width = scene.height = 16;
  scenes[0].strokes.push_back({3, 8, 12, 8, 3, 0xFFFFFF});
  scenes[1].strokes.push_back({12, 8, 3, 8, 3, 0xFFFFFF});
  EXPECT_EQ(DrawShapes(scenes[0]).pixels, DrawShapes(scenes[1]).pixels);
}

TEST(ReferenceDisplayDrawing, ScalesALogoByTheShareOfEachPixel) {
  Scene scene;
  scene.width = 3;
  scene.height = 1;
  scene.pixels.push_back({{0, 0, 3, 1}, std::make_shared<const Pixels>(Pixels{2, 1, {0, 0, 0, 200, 100, 50}})});
  const Picture picture = DrawShapes(scene);
  EXPECT_EQ(std::vector<Colour>(picture.pixels.begin(), picture.pixels.end()),
            (std::vector<Colour>{0, 0x643219, 0xC86432}));
}

TEST(ReferenceDisplayText, ReachesATerminalWithoutCommands) {
  EXPECT_EQ(Printable("1 \u20AC a\x1B[2J\n\x7F \u009B2J \u202Eb \\u{1b}"),
            "1 \u20AC a\\u{1b}[2J\\u{a}\\u{7f} \\u{9b}2J \\u{202e}b \\\\u{1b}");
  EXPECT_EQ(Printable("\x9B"), "\uFFFD");
}

}  // namespace
