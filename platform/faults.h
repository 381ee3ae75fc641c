/// What tests change beneath the code under test: calls that fail, answers of the system, environment variables. No
/// shipped program links this.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/win32.h"

namespace platform {

/// Whether `FailCall`, `FullDisk`, `Wow64Answer` and `InstallerProperty` work on this system. Where the calls are the
/// system's own they don't: a test that needs one skips itself, and the constructors throw `std::logic_error`.
extern const bool kHasLayerSettings;

/// Makes the `nth` following call of a function fail with `error`, on whatever thread it comes. The two forms of a
/// registry call count as one, under the name without A or W ("RegOpenKeyEx"); "*" stands for all functions. Throws
/// `std::invalid_argument` for an unknown name.
class FailCall {
 public:
  explicit FailCall(std::string_view call, DWORD error, int nth = 1);
  ~FailCall();  // NOLINT(performance-trivially-destructible): trivial on Windows only
  FailCall(const FailCall&) = delete;
  FailCall& operator=(const FailCall&) = delete;

  /// Whether the call has come and failed.
  bool fired() const;

 private:
  [[maybe_unused]] int plan;  // Not used on Windows.
};

/// No file of this process grows until it is destroyed, as on a full disk.
class FullDisk {
 public:
  FullDisk();
  ~FullDisk();  // NOLINT(performance-trivially-destructible): trivial on Windows only
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
};

/// Sets the result of `IsWow64Process` until it is destroyed.
class Wow64Answer {
 public:
  explicit Wow64Answer(bool answer);
  ~Wow64Answer();  // NOLINT(performance-trivially-destructible): trivial on Windows only
  Wow64Answer(const Wow64Answer&) = delete;
  Wow64Answer& operator=(const Wow64Answer&) = delete;
};

/// Sets a property of the running installation, as `MsiGetPropertyA` reads it, until it is destroyed.
class InstallerProperty {
 public:
  InstallerProperty(const std::string& name, const std::string& value);
  ~InstallerProperty();
  InstallerProperty(const InstallerProperty&) = delete;
  InstallerProperty& operator=(const InstallerProperty&) = delete;

 private:
  std::string name;
};

/// Sets an environment variable as `_dupenv_s` reads it, or removes it (null), and restores the old value at the end.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value);
  ~ScopedVariable();
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  std::string name;
  std::unique_ptr<std::string> before;
};

/// False while the calling thread is in a library that ends the process when an allocation fails.
bool MemoryMayFail();
/// The usable size of a block from `malloc`, in bytes.
size_t BlockSize(void* block);

}  // namespace platform
