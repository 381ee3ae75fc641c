#include "kit/display/raster.h"

#include <algorithm>
#include <cmath>

namespace KsvDisplay {
namespace {

constexpr float kShadowStrength = 0.28F;

/// The distance of a pixel's centre from the edge of a panel; negative inside.
float Distance(const Panel& panel, int x, int y) {
  const float halfWidth = static_cast<float>(panel.area.width) / 2;
  const float halfHeight = static_cast<float>(panel.area.height) / 2;
  const float radius = std::min({static_cast<float>(panel.radius), halfWidth, halfHeight});
  const float fromMiddleX = std::abs(static_cast<float>(x - panel.area.x) + 0.5F - halfWidth) - halfWidth + radius;
  const float fromMiddleY = std::abs(static_cast<float>(y - panel.area.y) + 0.5F - halfHeight) - halfHeight + radius;
  const float outside = std::hypot(std::max(fromMiddleX, 0.0F), std::max(fromMiddleY, 0.0F));
  return outside + std::min(std::max(fromMiddleX, fromMiddleY), 0.0F) - radius;
}

int Share(float coverage) {
  return static_cast<int>(std::lround(std::clamp(coverage, 0.0F, 1.0F) * 255.0F));
}

Rect Clip(const Rect& area, const Picture& picture) {
  const int left = std::clamp(area.x, 0, picture.width);
  const int top = std::clamp(area.y, 0, picture.height);
  return {left, top, std::clamp(area.right(), left, picture.width) - left,
          std::clamp(area.bottom(), top, picture.height) - top};
}

template <class Visit>
void ForEachPixel(const Rect& area, Visit visit) {
  for (int y = area.y; y < area.bottom(); ++y) {
    for (int x = area.x; x < area.right(); ++x) visit(x, y);
  }
}

void DrawShadow(Picture& picture, Panel panel) {
  const int reach = panel.shadow;
  // The light comes from above, so the shadow is a little lower.
  panel.area.y += (reach + 1) / 2;
  const Rect around{panel.area.x - reach, panel.area.y - reach, panel.area.width + 2 * reach,
                    panel.area.height + 2 * reach};
  ForEachPixel(Clip(around, picture), [&](int x, int y) {
    const float strength = 1.0F - std::max(Distance(panel, x, y), 0.0F) / static_cast<float>(reach);
    if (strength <= 0) return;
    Colour& pixel = picture.At(x, y);
    pixel = Blend(pixel, 0x101820, Share(strength * strength * kShadowStrength));
  });
}

void DrawPanel(Picture& picture, const Panel& panel) {
  if (panel.shadow > 0) DrawShadow(picture, panel);
  const int steps = std::max(1, panel.area.height - 1);
  ForEachPixel(Clip(panel.area, picture), [&](int x, int y) {
    const float distance = Distance(panel, x, y);
    if (distance >= 0.5F) return;
    const Colour fill = Blend(panel.top, panel.bottom, (y - panel.area.y) * 255 / steps);
    // Both edges of the border are anti-aliased.
    const Colour inside = Blend(fill, panel.border, Share(distance + static_cast<float>(panel.edge) + 0.5F));
    Colour& pixel = picture.At(x, y);
    pixel = Blend(pixel, inside, Share(0.5F - distance));
  });
}

/// How much of the source's pixel `from` lies in the place's pixel `to`, where `size` pixels are scaled to `scaled`.
/// All of a place's pixels together have `size`.
int Overlap(int from, int to, int size, int scaled) {
  return std::min((from + 1) * scaled, (to + 1) * size) - std::max(from * scaled, to * size);
}

/// Each pixel of the area is the mean of what lies there, so that a logo stays legible at every scale.
void DrawPixels(Picture& picture, const PlacedPixels& placed) {
  const Pixels& source = *placed.pixels;
  const Rect& area = placed.area;
  ForEachPixel(Clip(area, picture), [&](int x, int y) {
    const int left = (x - area.x) * source.width / area.width;
    const int top = (y - area.y) * source.height / area.height;
    const int right = ((x - area.x + 1) * source.width - 1) / area.width + 1;
    const int bottom = ((y - area.y + 1) * source.height - 1) / area.height + 1;
    int64_t sums[3] = {};
    ForEachPixel({left, top, right - left, bottom - top}, [&](int fromX, int fromY) {
      const int64_t weight = int64_t{Overlap(fromX, x - area.x, source.width, area.width)} *
                             Overlap(fromY, y - area.y, source.height, area.height);
      const size_t at = 3 * (static_cast<size_t>(fromY) * source.width + static_cast<size_t>(fromX));
      for (size_t colour = 0; colour < 3; ++colour) sums[colour] += weight * source.rgb[at + colour];
    });
    Colour mean = 0;
    for (const int64_t sum : sums)
      mean = mean << 8 | static_cast<Colour>(sum / (int64_t{source.width} * source.height));
    picture.At(x, y) = mean;
  });
}

void DrawStroke(Picture& picture, const Stroke& stroke) {
  const int reach = stroke.width / 2 + 1;
  const int left = std::min(stroke.fromX, stroke.toX) - reach;
  const int top = std::min(stroke.fromY, stroke.toY) - reach;
  const auto alongX = static_cast<float>(stroke.toX - stroke.fromX);
  const auto alongY = static_cast<float>(stroke.toY - stroke.fromY);
  const float square = std::max(alongX * alongX + alongY * alongY, 1.0F);
  const Rect around{left, top, std::abs(stroke.toX - stroke.fromX) + 2 * reach + 1,
                    std::abs(stroke.toY - stroke.fromY) + 2 * reach + 1};
  ForEachPixel(Clip(around, picture), [&](int x, int y) {
    const auto fromX = static_cast<float>(x - stroke.fromX);
    const auto fromY = static_cast<float>(y - stroke.fromY);
    const float nearest = std::clamp((fromX * alongX + fromY * alongY) / square, 0.0F, 1.0F);
    const float distance = std::hypot(fromX - nearest * alongX, fromY - nearest * alongY);
    Colour& pixel = picture.At(x, y);
    pixel = Blend(pixel, stroke.colour, Share(static_cast<float>(stroke.width) / 2 - distance + 0.5F));
  });
}

}  // namespace

Colour Blend(Colour under, Colour over, int share) {
  Colour result = 0;
  for (int shift = 0; shift <= 16; shift += 8) {
    const int below = static_cast<int>(under >> shift & 0xFF);
    const int above = static_cast<int>(over >> shift & 0xFF);
    result |= static_cast<Colour>((below * (255 - share) + above * share + 127) / 255) << shift;
  }
  return result;
}

Picture DrawShapes(const Scene& scene) {
  Picture picture{scene.width, scene.height, {}};
  picture.pixels.resize(static_cast<size_t>(scene.width) * static_cast<size_t>(scene.height));
  for (const Panel& panel : scene.panels) DrawPanel(picture, panel);
  for (const PlacedPixels& pixels : scene.pixels) DrawPixels(picture, pixels);
  for (const Stroke& stroke : scene.strokes) DrawStroke(picture, stroke);
  return picture;
}

}  // namespace KsvDisplay
