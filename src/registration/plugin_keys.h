/// The registry tree by which browsers find a plug-in: one list of its keys and values, which is written and checked.
/// All of it lies under `HKEY_LOCAL_MACHINE`, in the view of the calling process. Texts are narrow, in the ANSI code
/// page. Nothing is kept between calls; any thread.
#pragma once

#include <string>
#include <vector>

#include "platform/win32.h"

namespace NorvoWebAPI::KSV::Registration {

/// A text value of a key (`REG_SZ`).
struct ValueEntry {
  const char* name;
  std::string data;
};

/// A key with its values.
struct KeyEntry {
  std::string name;     ///< Below the key of the entry before, the first one's below the hive.
  const char* failure;  ///< What is thrown when the key can't be made.
  std::vector<ValueEntry> values;
};

/// The plug-in key's name below the hive.
std::string BuildPluginKeyName(const std::string& shortName, const std::string& version);
std::string BuildMimeType(const std::string& shortName, const std::string& version);

/// The list, in the order of writing: each key lies in the one before. `path` is the plug-in file's.
std::vector<KeyEntry> PluginKeys(const std::string& shortName, const std::string& description,
                                 const std::string& version, const std::string& path);

/// Writes the list over what is there. Throws `std::runtime_error` at the first failure; what was written by then
/// stays.
void WritePluginKeys(const std::string& shortName, const std::string& description, const std::string& version,
                     const std::string& path);

/// Deletes a key and all below it. Gives `ERROR_SUCCESS` or the first error, after which nothing more is deleted.
LSTATUS DeleteKeyTree(HKEY parent, const char* subKey);

}  // namespace NorvoWebAPI::KSV::Registration
