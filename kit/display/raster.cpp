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
    // The border is one pixel wide; both of its edges are anti-aliased.
    const Colour inside = Blend(fill, panel.border, Share(distance + 1.5F));
    Colour& pixel = picture.At(x, y);
    pixel = Blend(pixel, inside, Share(0.5F - distance));
  });
}

/// Each pixel of the area is the mean of the source's pixels there, so that a logo that is scaled down stays legible.
void DrawPixels(Picture& picture, const PlacedPixels& placed) {
  const Pixels& source = *placed.pixels;
  ForEachPixel(Clip(placed.area, picture), [&](int x, int y) {
    const int left = (x - placed.area.x) * source.width / placed.area.width;
    const int top = (y - placed.area.y) * source.height / placed.area.height;
    const int right = std::max(left + 1, (x - placed.area.x + 1) * source.width / placed.area.width);
    const int bottom = std::max(top + 1, (y - placed.area.y + 1) * source.height / placed.area.height);
    uint32_t sums[3] = {};
    ForEachPixel({left, top, right - left, bottom - top}, [&](int fromX, int fromY) {
      const size_t at = 3 * (static_cast<size_t>(fromY) * source.width + static_cast<size_t>(fromX));
      for (size_t colour = 0; colour < 3; ++colour) sums[colour] += source.rgb[at + colour];
    });
    const auto count = static_cast<uint32_t>((right - left) * (bottom - top));
    picture.At(x, y) = sums[0] / count << 16 | sums[1] / count << 8 | sums[2] / count;
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
  return picture;
}

}  // namespace KsvDisplay
