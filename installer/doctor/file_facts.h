/// Facts about files. Paths are narrow, in the platform's form.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace NorvoWebAPI::KSV::Doctor {

/// A narrow path for the standard library, and back, in the system's own form.
std::filesystem::path PathOf(const std::string& narrow);
std::string NarrowOf(std::filesystem::path path);
/// The paths of what is in a folder, in the order of their names: the first thousand.
std::vector<std::string> EntriesOf(const std::string& folder);

/// `path` ends in a separator.
bool FolderExists(const std::string& path);

enum class Presence { Missing, Denied, There };
/// Whether there is a file, and this user may read it: what is neither file nor missing counts as denied.
Presence FindFile(const std::string& path);

/// What the headers of a module say about it.
struct ModuleFacts {
  /// The system it is built for, as "32-bit Windows" or "64-bit Linux"; empty for a file that is no module.
  std::string kind;
  uint64_t size = 0;       ///< Of the file, in bytes.
  uint64_t wholeSize = 0;  ///< That the headers ask for. A file that is smaller was cut off.
};
/// Reads the file and loads nothing.
ModuleFacts ReadModuleFacts(const std::string& path);

/// Why a program of this kind can't or mustn't load a file with these headers, as the end of a sentence that begins
/// with the file's name; empty when they are in order.
std::string WhyNoModule(const ModuleFacts& facts);
/// The last part of that, for programs too: empty for a file that has all that its headers ask for.
std::string WhyCutOff(const ModuleFacts& facts);

}  // namespace NorvoWebAPI::KSV::Doctor
