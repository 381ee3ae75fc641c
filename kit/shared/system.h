#pragma once

#include <filesystem>
#include <optional>
#include <type_traits>

#include "kit/shared/bytes.h"

namespace KsvKit {

/// One unit of the wide text that hosts hand over: 16 bits on every system.
using WideChar = std::conditional_t<sizeof(wchar_t) == 2, wchar_t, char16_t>;

/// What differs between systems; one source file each.
namespace System {

/// The value of an environment variable as it is now; empty when it is not set.
std::filesystem::path PathFromEnvironment(const char* variable);

/// The folder that a library keeps its files in: what `variable` names, else a folder of the user's own that ends in
/// `name`. Throws `Fault::kStore` when the environment names neither. The folder need not exist.
std::filesystem::path HomeFolder(const char* variable, const char* name);

/// The path in a host's terminated wide text. Hosts write backslashes on every system. Nothing for a text that never
/// ends or is no text.
std::optional<std::filesystem::path> PathFromHost(const WideChar* text);

/// Makes the folder, closed to other users, with whatever stands above it. Throws `Fault::kStore`.
void CreatePrivateFolder(const std::filesystem::path& folder);

/// What an existing file of the same name means to `WritePrivateFile`.
enum class IfPresent { kKeep, kReplace };

/// Puts a file that only this user can read in place, whole or not at all, whatever other processes do at the same
/// time. False when one was there and has been kept. Throws `Fault::kStore`.
bool WritePrivateFile(const std::filesystem::path& file, ByteView content, IfPresent ifPresent);

/// Reads a file made by `WritePrivateFile`; nothing when there is none. Throws `Fault::kStore` when it cannot be read,
/// is longer than `limit`, or is another user's or open to one.
std::optional<SecretBytes> ReadPrivateFile(const std::filesystem::path& file, size_t limit);

/// Keeps the library that this code is part of in memory while it lives. Empty, and harmless, where that cannot be had.
class ModulePin {
 public:
  ModulePin() noexcept;
  ~ModulePin();
  ModulePin(const ModulePin&) = delete;
  ModulePin& operator=(const ModulePin&) = delete;

 private:
  void* module_ = nullptr;
};

}  // namespace System
}  // namespace KsvKit
