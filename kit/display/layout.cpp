#include "kit/display/layout.h"

#include <algorithm>

#include "kit/display/fitting.h"

namespace KsvDisplay {
namespace {

constexpr size_t kMostReferenceLines = 3;
/// Below it a line of the smallest font is cut.
constexpr int kSmallestLine = 12;

/// Cuts a strip of the given height off the top of `rest`, and `gap` below it.
Rect CutTop(Rect& rest, int height, int gap) {
  const Rect strip{rest.x, rest.y, rest.width, std::min(height, rest.height)};
  const int taken = std::min(rest.height, height + gap);
  rest.y += taken;
  rest.height -= taken;
  return strip;
}

/// The same at the bottom, with `gap` above the strip.
Rect CutBottom(Rect& rest, int height, int gap) {
  height = std::min(height, rest.height);
  const Rect strip{rest.x, rest.bottom() - height, rest.width, height};
  rest.height -= std::min(rest.height, height + gap);
  return strip;
}

/// The largest size of the pixels' form within the place's, centred in it.
Rect Fill(const Pixels& pixels, const Rect& place) {
  int width = place.width;
  int height = std::max(1, pixels.height * place.width / pixels.width);
  if (height > place.height) {
    height = place.height;
    width = std::max(1, pixels.width * place.height / pixels.height);
  }
  return {place.x + (place.width - width) / 2, place.y + (place.height - height) / 2, width, height};
}

/// Beside a position of the page's choice a logo has the size of its pixels, where there is room for it.
Rect PlaceLogoAt(const Descriptor& descriptor) {
  const auto& [x, y] = descriptor.logoAt;
  const Rect room{x, y, std::min<int>(descriptor.logo->width, std::max(0, descriptor.size.x - x)),
                  std::min<int>(descriptor.logo->height, std::max(0, descriptor.size.y - y))};
  const Rect fitting = Fill(*descriptor.logo, room);
  return {x, y, fitting.width, fitting.height};
}

Rect Cell(const Rect& grid, int columns, int rows, int column, int row, int gap) {
  const int x = grid.x + (grid.width + gap) * column / columns;
  const int y = grid.y + (grid.height + gap) * row / rows;
  return {x, y, grid.x + (grid.width + gap) * (column + 1) / columns - gap - x,
          grid.y + (grid.height + gap) * (row + 1) / rows - gap - y};
}

/// Three columns of digits, the tenth between Clear and Delete; Cancel and OK below them.
void PlacePinPad(const Rect& grid, int gap, std::vector<Key>& keys) {
  for (int place = 0; place < 9; ++place) {
    keys.push_back({Key::Kind::kDigit, Cell(grid, 3, 5, place % 3, place / 3, gap)});
  }
  keys.push_back({Key::Kind::kDigit, Cell(grid, 3, 5, 1, 3, gap)});
  keys.push_back({Key::Kind::kClear, Cell(grid, 3, 5, 0, 3, gap)});
  keys.push_back({Key::Kind::kDelete, Cell(grid, 3, 5, 2, 3, gap)});
  keys.push_back({Key::Kind::kCancel, Cell(grid, 2, 5, 0, 4, gap)});
  keys.push_back({Key::Kind::kOk, Cell(grid, 2, 5, 1, 4, gap)});
}

/// Within the area, in a strip as high as the text needs when `fills` is false.
void PlaceReference(const std::string& reference, int font, bool fills, Rect& rest, int gap, Layout& layout) {
  if (reference.empty()) return;
  Label label{rest, reference, font, fills, 0};
  if (!fills) {
    label.area.height = std::min(rest.height, LineHeight(font) * static_cast<int>(kMostReferenceLines));
    const Labels lines = FitText(label, kMostReferenceLines);
    label.height = lines.front().height;
    label.area = CutTop(rest, static_cast<int>(lines.size()) * LineHeight(label.height), gap);
  }
  layout.reference = FitText(label, kMostReferenceLines);
}

}  // namespace

Layout LayOut(const Descriptor& descriptor, const std::string& caption, const std::string& reference) {
  Layout layout;
  const InputType type = descriptor.type;
  Rect rest{0, 0, descriptor.size.x, descriptor.size.y};
  // A PIN pad is designed for portrait format, the others for landscape.
  const int byHeight = type == InputType::kPin ? rest.height * 3 / 4 : rest.height * 4 / 3;
  const int unit = std::max(std::min(rest.width, byHeight) / 32, 5);
  const int line = std::max(unit * 9 / 5, kSmallestLine);
  layout.unit = unit;
  if (!caption.empty()) {
    layout.band = CutTop(rest, unit * 4, 0);
    const Rect inside{unit, layout.band.y, rest.width - 2 * unit, layout.band.height};
    layout.caption = FitText({inside, caption, unit * 2, true, 0}, 2);
  }
  const int margin = unit * 6 / 5;
  rest = {margin, rest.y + unit * 4 / 5, rest.width - 2 * margin, rest.height - unit * 4 / 5 - margin};
  if (descriptor.logo != nullptr) {
    layout.logo = descriptor.logoAt == Point{} ? Fill(*descriptor.logo, CutTop(rest, unit * 7 / 2, unit / 3))
                                               : PlaceLogoAt(descriptor);
  }
  layout.closing = rest;
  layout.title = CutTop(rest, std::max(unit * 5 / 2, kSmallestLine), unit / 3);
  const int font = unit * 8 / 5;
  switch (type) {
    case InputType::kPin:
      PlaceReference(reference, font, false, rest, unit / 3, layout);
      layout.progress = CutTop(rest, unit * 3, unit / 3);
      layout.status = CutTop(rest, line, unit * 4 / 5);
      PlacePinPad(rest, std::max(4, unit * 4 / 5), layout.keys);
      break;
    case InputType::kConfirmation: {
      const Rect row = CutBottom(rest, unit * 9 / 2, unit / 2);
      layout.keys.push_back({Key::Kind::kCancel, Cell(row, 2, 1, 0, 0, unit)});
      layout.keys.push_back({Key::Kind::kOk, Cell(row, 2, 1, 1, 0, unit)});
      layout.status = CutBottom(rest, line, 0);
      PlaceReference(reference, font, true, rest, 0, layout);
      break;
    }
    case InputType::kText:
      PlaceReference(reference, font, false, rest, unit / 2, layout);
      layout.progress = CutTop(rest, unit * 4, unit / 2);
      layout.status = CutTop(rest, line, 0);
      break;
    case InputType::kClicks:
      break;
  }
  return layout;
}

std::string NameOf(const Layout& layout, const Key& key, std::string_view digits) {
  switch (key.kind) {
    case Key::Kind::kDigit:
      return {digits[static_cast<size_t>(&key - layout.keys.data())]};
    case Key::Kind::kDelete:
      return "Delete";
    case Key::Kind::kClear:
      return "Clear";
    case Key::Kind::kCancel:
      return "Cancel";
    case Key::Kind::kOk:
      break;
  }
  return "OK";
}

}  // namespace KsvDisplay
