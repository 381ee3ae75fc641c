#include <ft2build.h>
#include FT_FREETYPE_H
#include <png.h>

#include <cstdio>

#include "kit/display/painter.h"
#include "kit/shared/system.h"
#include "kit/shared/utf8.h"

namespace KsvDisplay::Painter {
namespace {

constexpr const char* kFonts[] = {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
                                  "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf"};

struct CloseFreeType {
  void operator()(FT_Library library) const noexcept { FT_Done_FreeType(library); }
};
struct CloseFace {
  void operator()(FT_Face face) const noexcept { FT_Done_Face(face); }
};
using FreeType = std::unique_ptr<FT_LibraryRec_, CloseFreeType>;
using Face = std::unique_ptr<FT_FaceRec_, CloseFace>;

FreeType OpenFreeType() {
  FT_Library library = nullptr;
  Require(FT_Init_FreeType(&library) == 0, Status::kNoFont);
  return FreeType(library);
}

Face OpenFace(const FreeType& library, const Label& label) {
  std::string file = System::PathFromEnvironment("KSV_DISPLAY_FONT");
  if (file.empty()) file = kFonts[label.bold ? 1 : 0];
  FT_Face face = nullptr;
  Require(FT_New_Face(library.get(), file.c_str(), 0, &face) == 0, Status::kNoFont);
  Face owned(face);
  // Ready-made letters come in layouts of their own.
  Require(FT_IS_SCALABLE(face) != 0, Status::kNoFont);
  Require(FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(label.height)) == 0, Status::kNoFont);
  return owned;
}

void DrawGlyph(Picture& picture, const FT_GlyphSlotRec_& glyph, int penX, int baseline, const Label& label) {
  const FT_Bitmap& bitmap = glyph.bitmap;
  // Only this one has a byte of coverage for each pixel.
  if (bitmap.pixel_mode != FT_PIXEL_MODE_GRAY) return;
  for (int row = 0; row < static_cast<int>(bitmap.rows); ++row) {
    for (int column = 0; column < static_cast<int>(bitmap.width); ++column) {
      const int x = penX + glyph.bitmap_left + column;
      const int y = baseline - glyph.bitmap_top + row;
      if (!label.area.Contains(x, y) || x < 0 || y < 0 || x >= picture.width || y >= picture.height) continue;
      Colour& pixel = picture.At(x, y);
      pixel = Blend(pixel, label.colour, bitmap.buffer[row * bitmap.pitch + column]);
    }
  }
}

/// Calls `visit` for each character that the font has, rendered, and gives how far all of them reach.
template <class Visit>
int ForEachGlyph(FT_Face face, const std::u32string& text, Visit visit) {
  int reach = 0;
  for (const char32_t character : text) {
    if (FT_Load_Char(face, character, FT_LOAD_RENDER | FT_LOAD_NO_BITMAP) != 0) continue;
    visit(*face->glyph, reach);
    reach += static_cast<int>(face->glyph->advance.x / 64);
  }
  return reach;
}

void DrawLabel(Picture& picture, const FreeType& library, const Label& label) {
  const Face face = OpenFace(library, label);
  const std::u32string text = DecodeUtf8(label.text).value_or(U"");
  // Capitals and digits of common faces are about this high.
  const int baseline = label.area.y + (label.area.height + label.height * 73 / 100) / 2;
  const int width = ForEachGlyph(face.get(), text, [](const FT_GlyphSlotRec_&, int) {});
  const int left = label.area.x + (label.area.width - width) / 2;
  ForEachGlyph(face.get(), text,
               [&](const FT_GlyphSlotRec_& glyph, int at) { DrawGlyph(picture, glyph, left + at, baseline, label); });
}

}  // namespace

bool WindowStands(uint32_t) noexcept {
  return true;
}

void DrawLabels(Picture& picture, const Labels& labels) {
  if (labels.empty()) return;
  const FreeType library = OpenFreeType();
  for (const Label& label : labels) DrawLabel(picture, library, label);
}

void Show(uint32_t, Point, const Picture& picture) {
  const std::filesystem::path file = System::PathFromEnvironment("KSV_DISPLAY_PICTURE");
  if (file.empty()) return;
  SecretBytes rgb;
  rgb.reserve(picture.pixels.size() * 3);
  for (const Colour pixel : picture.pixels) {
    for (int shift = 16; shift >= 0; shift -= 8) rgb.push_back(static_cast<uint8_t>(pixel >> shift));
  }
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.format = PNG_FORMAT_RGB;
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
  SecretBytes png(size);
  Require(png_image_write_to_memory(&image, png.data(), &size, 0, rgb.data(), 0, nullptr) != 0,
          Status::kPaintingFailed);
  png.resize(size);
  System::WritePrivateFile(file, png, System::IfPresent::kReplace);
}

void Uncover(uint32_t, const Rect&) noexcept {}

}  // namespace KsvDisplay::Painter
