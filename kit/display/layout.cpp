#include "kit/display/layout.h"

#include <algorithm>

namespace KsvDisplay {
namespace {

struct Palette {
  Colour backTop, backBottom, frame;
  Colour captionTop, captionBottom, captionText;
  Colour text, faintText;
  Colour keyTop, keyBottom, keyBorder, keyText;
  Colour pressedTop, pressedBottom;
  Colour accentTop, accentBottom, accentBorder, accentText;
  Colour box, boxBorder, dot;
};
constexpr Palette kPalettes[] = {
    {0xF8FAFD, 0xE9EEF5, 0xC3CDDA,                                //
     0x2B5C9B, 0x1E4478, 0xFFFFFF,                                //
     0x22303F, 0x6B7A8C,                                          //
     0xFFFFFF, 0xEEF2F7, 0xC5CFDB, 0x1F2D3D, 0xD5DFEC, 0xE2E9F2,  //
     0x35A06B, 0x278455, 0x1F6F47, 0xFFFFFF, 0xFFFFFF, 0xB8C4D2, 0x2B5C9B},
    {0x2A313B, 0x1D232B, 0x0F1318,                                //
     0x3A4757, 0x2C3744, 0xF2F5F9,                                //
     0xE8EDF3, 0x93A1B1,                                          //
     0x414C5A, 0x363F4B, 0x20272F, 0xF4F7FA, 0x2B323C, 0x323A45,  //
     0x2F9B66, 0x237C50, 0x184F34, 0xFFFFFF, 0x222931, 0x4B5766, 0x6FB1FF},
};

const Palette& PaletteOf(Theme theme) {
  return kPalettes[static_cast<size_t>(theme)];
}

/// Cuts a strip of the given height off the top of `rest`, and `gap` below it.
Rect CutTop(Rect& rest, int height, int gap) {
  const Rect strip{rest.x, rest.y, rest.width, std::min(height, rest.height)};
  const int taken = std::min(rest.height, height + gap);
  rest.y += taken;
  rest.height -= taken;
  return strip;
}

/// Centred in `place`, scaled down if necessary, never up.
Rect Fit(const Pixels& pixels, const Rect& place) {
  int width = pixels.width;
  int height = pixels.height;
  if (width > place.width) {
    height = std::max(1, height * place.width / width);
    width = place.width;
  }
  if (height > place.height) {
    width = std::max(1, width * place.height / height);
    height = place.height;
  }
  return {place.x + (place.width - width) / 2, place.y + (place.height - height) / 2, width, height};
}

Rect Cell(const Rect& grid, int columns, int rows, int column, int row, int gap) {
  const int x = grid.x + (grid.width + gap) * column / columns;
  const int y = grid.y + (grid.height + gap) * row / rows;
  return {x, y, grid.x + (grid.width + gap) * (column + 1) / columns - gap - x,
          grid.y + (grid.height + gap) * (row + 1) / rows - gap - y};
}

/// At the host's position, else at the top of `rest`, with `gap` below it.
Rect PlaceLogo(const Descriptor& descriptor, Rect& rest, int gap) {
  const auto& [x, y] = descriptor.logoAt;
  if (descriptor.logoAt == Point{}) {
    const int room = std::min<int>(descriptor.logo->height, descriptor.size.y / 7);
    return Fit(*descriptor.logo, CutTop(rest, room, gap));
  }
  const Rect right{x, y, std::max(0, descriptor.size.x - x), std::max(0, descriptor.size.y - y)};
  const Rect fitting = Fit(*descriptor.logo, right);
  return {x, y, fitting.width, fitting.height};
}

/// Three columns of digits; the tenth is between Clear and OK.
void PlacePinPad(const Rect& grid, int gap, std::vector<Key>& keys) {
  for (int place = 0; place < 9; ++place) {
    keys.push_back({Key::Kind::kDigit, Cell(grid, 3, 4, place % 3, place / 3, gap)});
  }
  keys.push_back({Key::Kind::kDigit, Cell(grid, 3, 4, 1, 3, gap)});
  keys.push_back({Key::Kind::kClear, Cell(grid, 3, 4, 0, 3, gap)});
  keys.push_back({Key::Kind::kOk, Cell(grid, 3, 4, 2, 3, gap)});
}

Panel Plain(Rect area, int radius, Colour colour, Colour border) {
  return {area, radius, colour, colour, border, 0};
}

void DrawKey(Scene& scene, const Key& key, const Palette& colours, std::string text, bool pressed) {
  const bool accent = key.kind == Key::Kind::kOk;
  const int side = std::min(key.area.width, key.area.height);
  Panel panel{key.area,
              std::max(4, side / 6),
              accent ? colours.accentTop : colours.keyTop,
              accent ? colours.accentBottom : colours.keyBottom,
              accent ? colours.accentBorder : colours.keyBorder,
              std::max(2, side / 16)};
  if (pressed) {
    if (accent) {
      std::swap(panel.top, panel.bottom);
    } else {
      panel.top = colours.pressedTop;
      panel.bottom = colours.pressedBottom;
    }
    panel.shadow = 0;
  }
  scene.panels.push_back(panel);
  const bool isDigit = key.kind == Key::Kind::kDigit;
  const int height = isDigit ? side / 2 : std::min(side * 3 / 8, key.area.width / 4);
  const Colour colour = accent ? colours.accentText : isDigit ? colours.keyText : colours.faintText;
  scene.labels.push_back({key.area, std::move(text), height, isDigit || accent, colour});
}

/// A box for each digit that can be entered, with a dot in those that have been.
void DrawBoxes(Scene& scene, const Rect& area, const Palette& colours, int count, int filled) {
  const int gap = std::max(2, std::min(8, area.width / count / 5));
  const int side = std::min(area.height, (area.width + gap) / count - gap);
  const int left = area.x + (area.width - count * (side + gap) + gap) / 2;
  for (int i = 0; i < count; ++i) {
    const Rect box{left + i * (side + gap), area.y + (area.height - side) / 2, side, side};
    scene.panels.push_back(Plain(box, side / 5, colours.box, i < filled ? colours.dot : colours.boxBorder));
    if (i >= filled) continue;
    const int dot = std::max(4, side * 2 / 5);
    scene.panels.push_back(
        Plain({box.x + (side - dot) / 2, box.y + (side - dot) / 2, dot, dot}, dot / 2, colours.dot, colours.dot));
  }
}

/// In one line, or in two that part at the blank nearest to the middle. The letters are as large as the longer line
/// allows.
void DrawReference(Scene& scene, const std::string& reference, const Rect& area, const Palette& colours) {
  if (reference.empty()) return;
  constexpr size_t kShort = 28;
  const size_t middle = reference.size() / 2;
  const size_t before = reference.rfind(' ', middle);
  const size_t after = reference.find(' ', middle);
  size_t parting = before;
  if (before == std::string::npos || (after != std::string::npos && after - middle < middle - before)) parting = after;
  std::vector<std::string> lines{reference};
  if (reference.size() > kShort && parting != std::string::npos) {
    lines = {reference.substr(0, parting), reference.substr(parting + 1)};
  }
  const size_t longest = std::ranges::max(lines, {}, &std::string::size).size();
  const int height = std::clamp(area.width * 8 / 5 / static_cast<int>(longest), 8, area.height / 2);
  Rect line{area.x, area.y, area.width, area.height / static_cast<int>(lines.size())};
  for (std::string& text : lines) {
    scene.labels.push_back({line, std::move(text), height, true, colours.text});
    line.y += line.height;
  }
}

std::string_view TitleOf(InputType type, bool closed) {
  if (closed) return "Thank you";
  switch (type) {
    case InputType::kPin:
      return "Enter your PIN";
    case InputType::kConfirmation:
      return "Please confirm";
    case InputType::kText:
      return "Type your answer in the page";
    case InputType::kClicks:
      break;
  }
  return "";
}

}  // namespace

Layout LayOut(const Descriptor& descriptor, bool hasCaption) {
  Layout layout;
  Rect rest{0, 0, descriptor.size.x, descriptor.size.y};
  // A PIN pad is designed for portrait format, the others for landscape.
  const int byHeight = descriptor.type == InputType::kPin ? rest.height * 3 / 4 : rest.height * 4 / 3;
  const int unit = std::clamp(std::min(rest.width, byHeight) / 32, 5, 24);
  if (hasCaption) {
    layout.caption = CutTop(rest, unit * 4, unit);
  } else {
    CutTop(rest, 0, unit);
  }
  rest.x += unit * 3 / 2;
  rest.width -= unit * 3;
  rest.height -= unit * 3 / 2;
  if (descriptor.logo != nullptr) layout.logo = PlaceLogo(descriptor, rest, unit / 2);
  layout.title = CutTop(rest, unit * 3, unit / 2);
  if (!descriptor.reference.empty()) layout.reference = CutTop(rest, unit * 4, unit / 2);
  switch (descriptor.type) {
    case InputType::kPin:
      layout.progress = CutTop(rest, unit * 7 / 2, unit * 3 / 2);
      PlacePinPad(rest, unit, layout.keys);
      break;
    case InputType::kConfirmation: {
      const int width = std::min(rest.width, unit * 18);
      const int height = std::min(rest.height, unit * 6);
      layout.keys.push_back(
          {Key::Kind::kOk, {rest.x + (rest.width - width) / 2, rest.y + (rest.height - height) / 2, width, height}});
      break;
    }
    case InputType::kText:
      layout.progress = CutTop(rest, unit * 4, 0);
      break;
    case InputType::kClicks:
      break;
  }
  return layout;
}

std::string LabelOf(const Layout& layout, const Key& key, std::string_view digits) {
  if (key.kind == Key::Kind::kDigit) return {digits[static_cast<size_t>(&key - layout.keys.data())]};
  return key.kind == Key::Kind::kClear ? "Clear" : "OK";
}

Scene DrawScene(const Descriptor& descriptor, const Layout& layout, const std::string& caption, std::string_view digits,
                const Progress& progress) {
  const Palette& colours = PaletteOf(descriptor.theme);
  Scene scene{descriptor.size.x, descriptor.size.y, {}, {}, {}};
  scene.panels.push_back({{0, 0, scene.width, scene.height}, 0, colours.backTop, colours.backBottom, colours.frame, 0});
  if (!caption.empty()) {
    scene.panels.push_back({layout.caption, 0, colours.captionTop, colours.captionBottom, colours.captionBottom, 3});
    scene.labels.push_back({layout.caption, caption, layout.caption.height / 2, true, colours.captionText});
  }
  if (descriptor.logo != nullptr) scene.pixels.push_back({layout.logo, descriptor.logo});
  scene.labels.push_back({layout.title, std::string(TitleOf(descriptor.type, progress.closed)),
                          layout.title.height * 3 / 5, false, colours.text});
  DrawReference(scene, descriptor.reference, layout.reference, colours);
  if (descriptor.type == InputType::kPin) {
    DrawBoxes(scene, layout.progress, colours, static_cast<int>(descriptor.greatest),
              static_cast<int>(progress.entered));
  }
  if (descriptor.type == InputType::kText) {
    scene.panels.push_back(Plain(layout.progress, 6, colours.box, colours.boxBorder));
    if (progress.entered > 0) {
      scene.labels.push_back({layout.progress, "\u2022 \u2022 \u2022 \u2022 \u2022 \u2022",
                              layout.progress.height * 3 / 5, true, colours.dot});
    }
  }
  for (const Key& key : layout.keys) {
    DrawKey(scene, key, colours, LabelOf(layout, key, digits), &key == progress.pressed);
  }
  return scene;
}

Scene DrawScene(const PixelsPtr& pixels) {
  return {pixels->width, pixels->height, {}, {{{0, 0, pixels->width, pixels->height}, pixels}}, {}};
}

}  // namespace KsvDisplay
