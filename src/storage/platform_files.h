/// The plug-in's own files. All lie under one per-user folder, the base path; every operation that takes a path, except
/// `OpenForReading`, checks first that it lies inside. Paths are narrow texts in the ANSI code page with backslashes.
/// Failures are `std::runtime_error`, or `CPluginException` where a code is named. The browser's thread only.
#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace NorvoWebAPI::Platform {

/// The base path, absolute and with a last backslash: "LocalLow\Norvo\webapi\" beside the roaming profile that the
/// environment variable "AppData" names. Made at the first call, kept until the plug-in is unloaded.
const std::string& GetBasePath();

/// The absolute form of a path, "." and ".." resolved by the text alone; nothing need exist there.
std::string Canonicalize(const std::string& path);

/// Throws unless the path, by its text, lies inside the base path. Links are not resolved for the check.
void CheckPath(const std::string& path);

/// Makes a new empty file in the base path, which must exist, and gives its path.
std::string GetTempFileName();

/// Makes the folder and all folders above it.
void CreateDirectories(const std::string& path);

/// Fails for a missing file too.
void DeleteFile(const std::string& path);

/// Whether the folder has a file of this exact name (case-sensitive). If it has a folder of that name, that one is
/// searched for the name too. Names that start with a full stop are not found.
bool FileExists(const std::string& folder, const std::string& name);

/// Appends the bare names of files and folders in the folder, except those that start with a full stop. False when the
/// listing can't start or stops early.
bool ListDirectory(const std::string& folder, std::vector<std::string>& names);

/// Replaces the file. Code 21 when it can't be opened, 13 when it can't be written.
void WriteFile(const std::string& path, const uint8_t* bytes, uint16_t length);

/// Reads the whole file into `buffer` and gives its length. Code 20 when it can't be opened.
uint32_t ReadFile(const std::string& path, std::unique_ptr<uint8_t[]>* buffer);

/// A stream on a file, which need not lie inside the base path. It is not open when the path names no file.
std::ifstream OpenForReading(const std::string& path, std::ios::openmode mode = std::ios::in);

/// The path of the file in which the updater writes the time of its last run for a platform. It may not exist.
std::string GetLastUpdatePath(const std::string& suffix);

}  // namespace NorvoWebAPI::Platform
