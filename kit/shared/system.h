#pragma once

#include <filesystem>
#include <optional>

#include "kit/shared/bytes.h"
#include "platform/wide_text.h"

/// What differs between the systems; one source file each.
namespace KsvKit::System {

/// The value of an environment variable as it is now; empty when it is not set.
std::filesystem::path PathFromEnvironment(const char* variable);

/// The folder for a library's files: the value of `variable`, else the folder `name` in the user's data folder. Throws
/// `Fault::kStore` when the environment has neither. The folder need not exist.
std::filesystem::path HomeFolder(const char* variable, const char* name);

/// The path in a host's terminated wide text, which has backslashes on every system. Nothing for a null, empty,
/// ill-formed or overlong text.
std::optional<std::filesystem::path> PathFromHost(const WCHAR* text);

/// Creates the folder and its parents; other users have no access to it. Throws `Fault::kStore`.
void CreatePrivateFolder(const std::filesystem::path& folder);

/// What `WritePrivateFile` does with an existing file.
enum class IfPresent { kKeep, kReplace };

/// Writes a file that only this user can read. Atomic: other processes see the old file or the whole new one. False
/// when there was a file and it was kept. Throws `Fault::kStore`.
bool WritePrivateFile(const std::filesystem::path& file, ByteView content, IfPresent ifPresent);

/// Reads a file made by `WritePrivateFile`; nothing when there is none. Throws `Fault::kStore` when it cannot be read,
/// is longer than `limit`, or if another user owns it or can read it.
std::optional<SecretBytes> ReadPrivateFile(const std::filesystem::path& file, size_t limit);

/// Encrypts a secret for the user, where the system has a data protection of its own; elsewhere it is a copy, which the
/// rights of its file protect alone. Throws `Fault::kStore`.
SecretBytes Protect(ByteView secret);

/// Decrypts what `Protect` returned to the same user. Throws `Fault::kStore` for anything else.
SecretBytes Unprotect(ByteView secret);

/// Holds a file locked against other processes while it lives. The constructor creates the file, waits until it is
/// free, and throws `Fault::kStore`.
class FileLock {
 public:
  explicit FileLock(const std::filesystem::path& file);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  intptr_t file_;
};

/// Keeps the library that contains this code loaded while it lives. Does nothing when that fails.
class ModulePin {
 public:
  ModulePin() noexcept;
  ~ModulePin();
  ModulePin(const ModulePin&) = delete;
  ModulePin& operator=(const ModulePin&) = delete;

 private:
  void* module_ = nullptr;
};

}  // namespace KsvKit::System
