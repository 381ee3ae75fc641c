#include <ft2build.h>
#include FT_FREETYPE_H
#include <png.h>

#include <cstdlib>
#include <cstring>

#include "base/owner.h"
#include "kit/display/disclosure.h"
#include "kit/display/painter.h"
#include "kit/shared/system.h"
#include "kit/shared/utf8.h"

namespace KsvDisplay::Painter {
namespace {

constexpr const char* kFonts[] = {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
                                  "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf"};

using FreeType = NorvoWebAPI::Owner<FT_Library, FT_Done_FreeType>;
using Face = NorvoWebAPI::Owner<FT_Face, FT_Done_Face>;

FreeType OpenFreeType() {
  FreeType library;
  Require(FT_Init_FreeType(library.Put()) == 0, Status::kNoFont);
  return library;
}

Face OpenFace(const FreeType& library, int height, bool bold) {
  std::string file = System::PathFromEnvironment("KSV_DISPLAY_FONT");
  if (file.empty()) file = kFonts[bold ? 1 : 0];
  Face face;
  Require(FT_New_Face(library.Get(), file.c_str(), 0, face.Put()) == 0, Status::kNoFont);
  // Bitmap fonts have layouts of their own.
  Require(FT_IS_SCALABLE(face.Get()) != 0, Status::kNoFont);
  Require(FT_Set_Pixel_Sizes(face.Get(), 0, static_cast<FT_UInt>(height)) == 0, Status::kNoFont);
  return face;
}

void DrawGlyph(Picture& picture, const FT_GlyphSlotRec_& glyph, int penX, int baseline, const Label& label) {
  const FT_Bitmap& bitmap = glyph.bitmap;
  // The only mode with one byte of coverage for each pixel.
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

/// Loads each character and calls `visit` with its glyph and where it begins. Returns where each one ends.
template <class Visit>
std::vector<int> ForEachGlyph(FT_Face face, const std::u32string& text, bool render, Visit visit) {
  std::vector<int> ends;
  int reach = 0;
  for (const char32_t character : text) {
    if (FT_Load_Char(face, character, FT_LOAD_NO_BITMAP | (render ? FT_LOAD_RENDER : FT_LOAD_DEFAULT)) == 0) {
      visit(*face->glyph, reach);
      reach += static_cast<int>(face->glyph->advance.x / 64);
    }
    ends.push_back(reach);
  }
  return ends;
}

void DrawLabel(Picture& picture, const FreeType& library, const Label& label) {
  const Face face = OpenFace(library, label.height, label.bold);
  const std::u32string text = CodePointsOf(label.text).value_or(U"");
  // 0.73 of the font is the usual height of capitals and digits.
  const int baseline = label.area.y + (label.area.height + label.height * 73 / 100) / 2;
  const std::vector<int> ends = ForEachGlyph(face.Get(), text, false, [](const FT_GlyphSlotRec_&, int) {});
  const int left = label.area.x + (label.area.width - (ends.empty() ? 0 : ends.back())) / 2;
  ForEachGlyph(face.Get(), text, true,
               [&](const FT_GlyphSlotRec_& glyph, int at) { DrawGlyph(picture, glyph, left + at, baseline, label); });
}

}  // namespace

int DotsPerInch(uint32_t) noexcept {
  return kUsualDotsPerInch;
}

Language UserLanguage() noexcept {
  // The first of these that is set decides.
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* const value = std::getenv(name);
    if (value != nullptr && *value != 0)
      return std::strncmp(value, "de", 2) == 0 ? Language::kGerman : Language::kEnglish;
  }
  return Language::kEnglish;
}

std::vector<int> MeasureText(const std::u32string& text, int height, bool bold) {
  const FreeType library = OpenFreeType();
  const Face face = OpenFace(library, height, bold);
  return ForEachGlyph(face.Get(), text, false, [](const FT_GlyphSlotRec_&, int) {});
}

void DrawLabels(Picture& picture, const Labels& labels) {
  if (labels.empty()) return;
  const FreeType library = OpenFreeType();
  for (const Label& label : labels) DrawLabel(picture, library, label);
}

void Disclose(const Picture& picture) {
  const std::filesystem::path file = Disclosure::PictureFile();
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

}  // namespace KsvDisplay::Painter
