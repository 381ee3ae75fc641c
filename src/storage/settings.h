/// The two machine settings, both values of HKEY_LOCAL_MACHINE\Software\Norvo\Services\KSV, read afresh at every call.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/win32.h"

namespace NorvoWebAPI {

inline constexpr WCHAR kSettingsKey[] = KSV_WIDE("Software\\Norvo\\Services\\KSV");
inline constexpr WCHAR kLogLevelValue[] = KSV_WIDE("KsvPluginLogLevel");
inline constexpr WCHAR kLibraryFolderValue[] = KSV_WIDE("FILELOCALE");

/// `KsvPluginLogLevel`, or -1 when it can't be read. Above 0 the log is on.
int32_t GetLogLevel();

/// Reads `FILELOCALE`, the folder of the vendor's libraries. On entry `*length` is the capacity of `data` in bytes, on
/// success the number of characters without the terminator. Gives 0, or -1 for a null pointer, for a value that is no
/// text, and for a text that doesn't fit with its terminator.
int32_t GetLibraryFolder(WCHAR* data, uint32_t* length);

/// Trims white space and separators off the end and, for a 32-bit process on a 64-bit system, replaces the first
/// "Program Files\" by "Program Files (x86)\". On entry `*length` is the capacity of `path` in characters, 1 or more,
/// on return the length of the text, which is cut to fit. Gives 0, or -1 for a null pointer.
int32_t FixLibraryFolder(WCHAR* path, uint32_t* length);

/// A path that starts with the folder from the settings; everything appended is cut at 256 characters.
class LibraryPath {
 public:
  static constexpr uint32_t kCapacity = 256;  ///< Characters, terminator included.

  /// The characters that a folder in the settings may have.
  static constexpr uint32_t kMaxFolder = 127;

  /// Takes the folder as the settings hold it. False when they hold none.
  bool ReadFolder();
  /// Takes the folder from which libraries are loaded: the settings' folder after `FixLibraryFolder`, with one
  /// separator at its end. False when the settings have none.
  bool ReadLoadFolder();
  void Append(const WCHAR* text);
  [[nodiscard]] const WCHAR* c_str() const { return text.data(); }

 private:
  std::array<WCHAR, kCapacity> text{};
};

}  // namespace NorvoWebAPI
