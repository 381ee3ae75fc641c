/// The registry tree by which browsers find a plug-in: one list of what stands where, from which writing and
/// checking work. All of it lies under `HKEY_LOCAL_MACHINE`, in the view of the calling process. Texts are narrow,
/// in the ANSI code page. Nothing is kept between calls; any thread.
#pragma once

#include <string>
#include <vector>

#include "platform/win32.h"

namespace NorvoWebAPI::KSV::Registration {

/// A text of a key (`REG_SZ`).
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

/// Writes the list; what is there already is written over. Throws `std::runtime_error` at the first failure, and leaves
/// what was written until then.
void WritePluginKeys(const std::string& shortName, const std::string& description, const std::string& version,
                     const std::string& path);

/// Something of the list that stands otherwise in the registry.
struct Difference {
  std::string key;       ///< The key's whole name below the hive.
  std::string value;     ///< Empty: it is the key itself that can't be opened, and nothing below was looked at.
  LSTATUS error;         ///< Why it can't be read; `ERROR_SUCCESS` for one that reads otherwise.
  std::string expected;  ///< The value's text by the list.
  std::string found;     ///< The value's text in the registry; empty for a value that is no text.
};

/// Holds the registry against a list, and changes nothing. Empty when all stands as it should.
std::vector<Difference> CheckKeys(const std::vector<KeyEntry>& keys);

/// Reads a text value of a key below the hive into `text`. Gives `ERROR_INVALID_DATA` for a value of another type, else
/// the registry's answer.
LSTATUS ReadText(const std::string& key, const char* value, std::string& text);

/// Deletes a key and all below it. Gives `ERROR_SUCCESS` or the first error, which ends the work: keys that are not
/// deleted by then stay.
LSTATUS DeleteKeyTree(HKEY parent, const char* subKey);

}  // namespace NorvoWebAPI::KSV::Registration
