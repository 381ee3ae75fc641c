/// The plug-in's names and versions.
#pragma once

#include "base/product_texts.h"

namespace NorvoWebAPI::KSV {

inline constexpr char kShortName[] = KSV_SHORT_NAME;
inline constexpr char kDescription[] = KSV_DESCRIPTION;
inline constexpr char kVendor[] = KSV_VENDOR;
/// The version in the script property, the log and the registration.
inline constexpr char kVersion[] = KSV_VERSION;
/// A MIME type of the plug-in is this, the short name, "-" and a version.
inline constexpr char kMimeTypeStem[] = KSV_MIME_TYPE_STEM;
/// The MIME type by which pages embed the plug-in.
inline constexpr char kMimeType[] = KSV_MIME_TYPE_STEM KSV_SHORT_NAME "-" KSV_MIME_VERSION;
/// The MIME types that the module answers for, as X11 browsers read them (type, file endings, description): that of the
/// module's resources, and that of the registration.
inline constexpr char kMimeDescription[] =
    KSV_MIME_TYPE_STEM KSV_SHORT_NAME "-" KSV_MIME_VERSION "::" KSV_DESCRIPTION ";" KSV_MIME_TYPE_STEM KSV_SHORT_NAME
                                      "-" KSV_VERSION "::" KSV_DESCRIPTION;
/// The updater's name for this plug-in, the same in every build; ends the name of its time file.
inline constexpr char kPlatformTag[] = "win32-npapi";

}  // namespace NorvoWebAPI::KSV
