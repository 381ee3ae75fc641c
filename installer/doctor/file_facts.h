/// Facts about files. Paths are narrow, in the platform's form.
#pragma once

#include <string>

#include "platform/win32.h"

namespace NorvoWebAPI::KSV::Doctor {

/// `path` ends in a separator.
bool FolderExists(const std::string& path);
bool FileExists(const std::string& path);

/// The system that a module is built for, as "32-bit Windows" or "64-bit Linux"; empty for any other file.
std::string ModuleKind(const std::string& path);

/// Why a file can't be loaded by a program of this kind, as the end of a sentence that begins with the file's name.
std::string WhyNotLoaded(const std::string& path);

std::string Narrow(const WCHAR* text);

}  // namespace NorvoWebAPI::KSV::Doctor
