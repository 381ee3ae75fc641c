#include "kit/display/drawing.h"

#include <algorithm>

#include "kit/display/fitting.h"

namespace KsvDisplay {
namespace {

/// The colours of a theme. Texts have a contrast of at least 4.5 to 1 to what they stand on, borders of 3 to 1.
struct Palette {
  Colour backTop, backBottom, frame;
  Colour captionTop, captionBottom, captionText;
  Colour text, faintText, errorText;
  Colour keyTop, keyBottom, keyBorder, keyText, pressed;
  Colour idle, idleText;
  Colour accentTop, accentBottom, accentBorder, accentText;
  Colour good, neutral, bad;
  Colour box, boxBorder, dot;
};
constexpr Palette kPalettes[] = {
    {0xF8FAFD, 0xE9EEF5, 0xC3CDDA,                                          //
     0x2B5C9B, 0x1E4478, 0xFFFFFF,                                          //
     0x22303F, 0x4F5D6C, 0xB3261E,                                          //
     0xFFFFFF, 0xEEF2F7, 0x7A8797, 0x1F2D3D, 0xD5DFEC,                      //
     0xE3E8EF, 0x566372,                                                    //
     0x217D4E, 0x196A41, 0x14532F, 0xFFFFFF, 0x217D4E, 0x566372, 0xB3261E,  //
     0xFFFFFF, 0x7A8797, 0x2B5C9B},
    {0x2A313B, 0x1D232B, 0x0F1318,                                          //
     0x3A4757, 0x2C3744, 0xF2F5F9,                                          //
     0xE8EDF3, 0xB4BFCC, 0xFFA79E,                                          //
     0x414C5A, 0x363F4B, 0x8A97A8, 0xF4F7FA, 0x2B323C,                      //
     0x272E37, 0xB4BFCC,                                                    //
     0x217D4E, 0x196A41, 0x63C795, 0xFFFFFF, 0x3E9E6C, 0x7A8AA0, 0xD65A50,  //
     0x222931, 0x8A97A8, 0x6FB1FF},
};

Panel Plain(Rect area, int radius, Colour colour, Colour border, int edge) {
  return {area, radius, colour, colour, border, 0, edge};
}

Rect Inset(const Rect& area, int by) {
  return {area.x + by, area.y + by, area.width - 2 * by, area.height - 2 * by};
}

/// Draws one image.
class Drawing {
 public:
  Drawing(const Descriptor& descriptor, const Layout& layout, std::string_view digits, const Progress& progress)
      : descriptor_(descriptor),
        layout_(layout),
        digits_(digits),
        progress_(progress),
        colours_(kPalettes[static_cast<size_t>(descriptor.theme)]),
        edge_(std::max(1, layout.unit / 10)) {
    scene_.width = descriptor.size.x;
    scene_.height = descriptor.size.y;
  }

  Scene Draw() {
    scene_.panels.push_back(
        {{0, 0, scene_.width, scene_.height}, 0, colours_.backTop, colours_.backBottom, colours_.frame, 0, edge_});
    if (!layout_.caption.empty()) {
      scene_.panels.push_back({layout_.band, 0, colours_.captionTop, colours_.captionBottom, colours_.captionBottom,
                               layout_.unit / 3, edge_});
      AddLines(layout_.caption, colours_.captionText);
    }
    if (descriptor_.logo != nullptr) scene_.pixels.push_back({layout_.logo, descriptor_.logo});
    if (progress_.closed) {
      DrawClosing();
    } else {
      DrawOpen();
    }
    return std::move(scene_);
  }

 private:
  std::string Text(Phrase phrase, uint32_t first = 0, uint32_t second = 0) const {
    return Say(descriptor_.language, phrase, first, second);
  }
  void AddLines(Labels lines, Colour colour) {
    for (Label& line : lines) {
      line.colour = colour;
      scene_.labels.push_back(std::move(line));
    }
  }
  void AddText(const Rect& area, std::string text, int height, bool bold, Colour colour) {
    AddLines(FitText({area, std::move(text), height, bold, 0}), colour);
  }
  void AddStroke(int fromX, int fromY, int toX, int toY, int width, Colour colour) {
    scene_.strokes.push_back({fromX, fromY, toX, toY, width, colour});
  }
  void AddCross(int x, int y, int reach, int width, Colour colour) {
    AddStroke(x - reach, y - reach, x + reach, y + reach, width, colour);
    AddStroke(x - reach, y + reach, x + reach, y - reach, width, colour);
  }

  void DrawOpen() {
    AddText(layout_.title, Title(), layout_.unit * 9 / 5, false, colours_.text);
    AddLines(layout_.reference, colours_.text);
    if (descriptor_.type == InputType::kPin) DrawBoxes();
    if (descriptor_.type == InputType::kText) {
      // Not white, because nothing can be typed here.
      scene_.panels.push_back(Plain(layout_.progress, layout_.unit / 2, colours_.idle, colours_.boxBorder, edge_));
    }
    DrawStatus();
    for (const Key& key : layout_.keys) DrawKey(key);
  }

  std::string Title() const {
    switch (descriptor_.type) {
      case InputType::kPin:
        return Text(Phrase::kEnterPin);
      case InputType::kConfirmation:
        return Text(Phrase::kPleaseConfirm);
      case InputType::kText:
        return Text(Phrase::kTypeInPage);
      case InputType::kClicks:
        break;
    }
    return {};
  }

  std::string Attempts() const {
    switch (*progress_.attemptsLeft) {
      case 0:
        return Text(Phrase::kNoAttempts);
      case 1:
        return Text(Phrase::kOneAttempt);
      default:
        return Text(Phrase::kAttempts, *progress_.attemptsLeft);
    }
  }
  std::string Rejection() const {
    return Text(descriptor_.type == InputType::kPin ? Phrase::kWrongPin : Phrase::kNotAccepted);
  }
  std::string Hint() const {
    if (descriptor_.least == descriptor_.greatest) {
      return Text(descriptor_.least == 1 ? Phrase::kOneDigit : Phrase::kDigits, descriptor_.least);
    }
    return Text(Phrase::kDigitRange, descriptor_.least, descriptor_.greatest);
  }

  /// What is wrong, else what is missing, else what to enter.
  void DrawStatus() {
    std::string text;
    const bool isError = progress_.notice != Notice::kNone;
    if (progress_.notice == Notice::kRejected) {
      text = Rejection();
      if (progress_.attemptsLeft) text += ". " + Attempts();
    } else if (progress_.notice == Notice::kMissing) {
      const auto missing = static_cast<uint32_t>(descriptor_.least - progress_.entered);
      text = Text(missing == 1 ? Phrase::kOneMissing : Phrase::kMissing, missing);
    } else if (progress_.attemptsLeft) {
      text = Attempts();
    } else if (descriptor_.type == InputType::kPin) {
      text = Hint();
    }
    AddText(layout_.status, std::move(text), layout_.unit * 7 / 5, isError,
            isError ? colours_.errorText : colours_.faintText);
  }

  /// A box for each digit that can be entered, with a dot in those that have been. The next one stands out.
  void DrawBoxes() {
    const Rect& area = layout_.progress;
    const auto count = static_cast<int>(descriptor_.greatest);
    const auto filled = static_cast<int>(progress_.entered);
    const int gap = std::max(2, std::min(layout_.unit * 4 / 5, area.width / count / 5));
    const int side = std::min(area.height, (area.width + gap) / count - gap);
    const int left = area.x + (area.width - count * (side + gap) + gap) / 2;
    for (int i = 0; i < count; ++i) {
      const Rect box{left + i * (side + gap), area.y + (area.height - side) / 2, side, side};
      const bool wrong =
          progress_.notice == Notice::kRejected ||
          (progress_.notice == Notice::kMissing && i >= filled && i < static_cast<int>(descriptor_.least));
      const Colour border = wrong ? colours_.errorText : i <= filled ? colours_.dot : colours_.boxBorder;
      scene_.panels.push_back(Plain(box, side / 5, colours_.box, border, i == filled ? 2 * edge_ : edge_));
      if (i >= filled) continue;
      const int dot = std::max(4, side * 2 / 5);
      scene_.panels.push_back(Plain({box.x + (side - dot) / 2, box.y + (side - dot) / 2, dot, dot}, dot / 2,
                                    colours_.dot, colours_.dot, 1));
    }
  }

  /// Whether a press has an effect now, beside telling what is missing.
  bool Works(const Key& key) const {
    switch (key.kind) {
      case Key::Kind::kDigit:
        return progress_.entered < descriptor_.greatest;
      case Key::Kind::kDelete:
      case Key::Kind::kClear:
        return progress_.entered > 0;
      case Key::Kind::kOk:
        return progress_.entered >= descriptor_.least;
      case Key::Kind::kCancel:
        break;
    }
    return true;
  }

  void DrawKey(const Key& key) {
    const bool works = Works(key);
    const bool accent = works && key.kind == Key::Kind::kOk;
    const int side = std::min(key.area.width, key.area.height);
    Panel panel = Plain(key.area, std::max(3, side / 6), colours_.idle, colours_.keyBorder, edge_);
    Colour ink = colours_.idleText;
    if (works) {
      ink = accent ? colours_.accentText : key.kind == Key::Kind::kCancel ? colours_.errorText : colours_.keyText;
      panel.top = accent ? colours_.accentTop : colours_.keyTop;
      panel.bottom = accent ? colours_.accentBottom : colours_.keyBottom;
      panel.border = accent ? colours_.accentBorder : colours_.keyBorder;
      panel.shadow = std::max(2, side / 16);
    }
    if (&key == progress_.pressed) {
      panel.top = panel.bottom = accent ? colours_.accentBottom : colours_.pressed;
      panel.shadow = 0;
    }
    scene_.panels.push_back(panel);
    if (key.kind == Key::Kind::kDelete) return DrawBackspace(key.area, side, ink);
    const bool isDigit = key.kind == Key::Kind::kDigit;
    if (isDigit) {
      scene_.labels.push_back({key.area, NameOf(layout_, key, digits_), side / 2, true, ink});
    } else {
      AddText(Inset(key.area, layout_.unit / 3), WordOf(key.kind), std::min(side * 9 / 20, layout_.unit * 8 / 5),
              key.kind == Key::Kind::kOk, ink);
    }
  }

  std::string WordOf(Key::Kind kind) const {
    if (kind == Key::Kind::kClear) return Text(Phrase::kClear);
    if (kind == Key::Kind::kCancel) return Text(Phrase::kCancel);
    return Text(descriptor_.type == InputType::kConfirmation ? Phrase::kConfirm : Phrase::kOk);
  }

  /// The outline of an arrow to the left with a cross in it.
  void DrawBackspace(const Rect& area, int side, Colour ink) {
    const int half = std::max(4, side / 5);
    const int x = area.x + area.width / 2;
    const int y = area.y + area.height / 2;
    const int width = std::max(1, side / 20);
    const int xs[] = {x - 2 * half, x - half + half / 4, x + 2 * half - half / 4, x + 2 * half - half / 4,
                      x - half + half / 4};
    const int ys[] = {y, y - half, y - half, y + half, y + half};
    for (int i = 0; i < 5; ++i) AddStroke(xs[i], ys[i], xs[(i + 1) % 5], ys[(i + 1) % 5], width, ink);
    AddCross(x + half / 2, y, half * 2 / 5, width, ink);
  }

  /// What became of the input, in place of the keys.
  void DrawClosing() {
    const bool cancelled = progress_.notice == Notice::kCancelled;
    const bool rejected = progress_.notice == Notice::kRejected;
    const Rect& area = layout_.closing;
    const int unit = layout_.unit;
    const int radius = std::min(unit * 4, area.height / 5);
    const int block = 2 * radius + unit * 6;
    const int top = area.y + std::max(0, (area.height - block) * 2 / 5);
    const int x = area.x + area.width / 2;
    const int y = top + radius;
    const Colour fill = cancelled ? colours_.neutral : rejected ? colours_.bad : colours_.good;
    scene_.panels.push_back(Plain({x - radius, top, 2 * radius, 2 * radius}, radius, fill, fill, 1));
    const int width = std::max(2, radius / 6);
    if (cancelled || rejected) {
      AddCross(x, y, radius * 2 / 5, width, colours_.accentText);
    } else {
      AddStroke(x - radius * 9 / 20, y, x - radius / 10, y + radius * 7 / 20, width, colours_.accentText);
      AddStroke(x - radius / 10, y + radius * 7 / 20, x + radius * 9 / 20, y - radius * 7 / 20, width,
                colours_.accentText);
    }
    const Rect title{area.x, top + 2 * radius + unit, area.width, std::max(unit * 5 / 2, 14)};
    AddText(title,
            cancelled  ? Text(Phrase::kCancelled)
            : rejected ? Rejection()
                       : Text(Phrase::kThankYou),
            unit * 2, true, colours_.text);
    const Rect line{area.x, title.bottom() + unit / 3, area.width, std::max(unit * 9 / 5, 12)};
    AddText(line,
            cancelled  ? Text(Phrase::kDiscarded)
            : rejected ? Attempts()
                       : Text(Phrase::kTaken),
            unit * 7 / 5, false, colours_.faintText);
  }

  const Descriptor& descriptor_;
  const Layout& layout_;
  std::string_view digits_;
  const Progress& progress_;
  const Palette& colours_;
  const int edge_;
  Scene scene_;
};

}  // namespace

Scene DrawScene(const Descriptor& descriptor, const Layout& layout, std::string_view digits, const Progress& progress) {
  return Drawing(descriptor, layout, digits, progress).Draw();
}

Scene DrawScene(const PixelsPtr& pixels) {
  Scene scene;
  scene.width = pixels->width;
  scene.height = pixels->height;
  scene.pixels.push_back({{0, 0, scene.width, scene.height}, pixels});
  return scene;
}

}  // namespace KsvDisplay
