/// What the plug-in calls itself.
#pragma once

namespace NorvoWebAPI::KSV {

inline constexpr char kShortName[] = "ksv";
inline constexpr char kDescription[] = "Norvo KSV WebApi plugin";
/// The version that script reads, the log tells and the registration writes.
inline constexpr char kVersion[] = "5.0.5";
/// The MIME types that the module answers for, as X11 browsers read them: type, file endings, description, with the
/// version of the module's resources and that of the registration.
inline constexpr char kMimeDescription[] =
    "application/x-vnd-norvo-webapi-ksv-5.0.9::Norvo KSV WebApi plugin;"
    "application/x-vnd-norvo-webapi-ksv-5.0.5::Norvo KSV WebApi plugin";
/// The platform that this build serves; names the updater's time file.
inline constexpr char kPlatformTag[] = "win32-npapi";

}  // namespace NorvoWebAPI::KSV
