#pragma once

#include <filesystem>

/// What a test has to see of an image. The library that is shipped discloses nothing: it does not even have the names
/// of the variables. Only a build with `KSV_DISPLAY_DISCLOSES` reads them (target `ksvWysForTests`).
namespace KsvDisplay::Disclosure {

/// The file that each repaint writes the keys to, from `KSV_DISPLAY_LAYOUT`; empty for none.
std::filesystem::path KeysFile();

/// The file that each repaint writes the picture to, from `KSV_DISPLAY_PICTURE`; empty for none. Not on Windows.
std::filesystem::path PictureFile();

}  // namespace KsvDisplay::Disclosure
