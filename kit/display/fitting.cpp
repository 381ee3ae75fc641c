#include "kit/display/fitting.h"

#include <algorithm>
#include <utility>

#include "kit/display/painter.h"
#include "kit/shared/utf8.h"

namespace KsvDisplay {
namespace {

/// Below it letters can't be told apart.
constexpr int kSmallestFont = 9;

/// A line's first character, and the one after its last.
using Span = std::pair<size_t, size_t>;

/// The lines when each is at most `width` wide: after a word or, where one word is too long, within it.
/// Nothing when a single character is too wide.
std::vector<Span> BreakLines(const std::u32string& text, const std::vector<int>& ends, int width) {
  std::vector<Span> lines;
  for (size_t begin = 0; begin < text.size();) {
    const int left = begin == 0 ? 0 : ends[begin - 1];
    size_t end = begin;
    while (end < text.size() && ends[end] - left <= width) ++end;
    if (end == begin) return {};
    if (end < text.size()) {
      const size_t space = text.rfind(U' ', end);
      if (space != std::u32string::npos && space > begin) end = space;
    }
    lines.emplace_back(begin, end);
    begin = end;
    // The space at which a line is broken belongs to none.
    if (begin < text.size() && text[begin] == U' ') ++begin;
  }
  return lines;
}

std::string Part(std::string_view utf8, size_t from, size_t to) {
  std::string part;
  size_t position = 0;
  for (const char byte : utf8) {
    if ((byte & 0xC0) != 0x80) ++position;
    if (position > from && position <= to) part += byte;
  }
  return part;
}

}  // namespace

Labels FitText(const Label& label, size_t mostLines) {
  const std::u32string text = KsvKit::CodePointsOf(label.text).value_or(U"");
  if (text.empty()) return {};
  for (int height = std::max(label.height, kSmallestFont); height >= kSmallestFont; height -= 1 + height / 24) {
    const std::vector<int> ends = Painter::MeasureText(text, height, label.bold);
    const std::vector<Span> breaks = BreakLines(text, ends, label.area.width);
    const int used = static_cast<int>(breaks.size()) * LineHeight(height);
    if (breaks.empty() || breaks.size() > mostLines || used > std::max(label.area.height, LineHeight(kSmallestFont))) {
      continue;
    }
    Labels lines;
    int top = label.area.y + (label.area.height - used) / 2;
    for (const auto& [begin, end] : breaks) {
      Label line = label;
      line.area = {label.area.x, top, label.area.width, LineHeight(height)};
      line.text = Part(label.text, begin, end);
      line.height = height;
      lines.push_back(std::move(line));
      top += LineHeight(height);
    }
    return lines;
  }
  throw DisplayError(Status::kBadText);
}

}  // namespace KsvDisplay
