/// Finding the vendor's libraries at run time.
#pragma once

#include <cstddef>
#include <span>

#include "base/owner.h"
#include "platform/win32.h"
#include "storage/settings.h"

namespace NorvoWebAPI {

using Library = Owner<HMODULE, FreeLibrary>;

/// A loaded library and the index of its name. With no library the index is the number of names.
struct FoundLibrary {
  Library library;
  size_t place = 0;

  explicit operator bool() const { return static_cast<bool>(library); }
};

/// The path of a library of this name in the folder, which ends in a separator.
LibraryPath PathInFolder(const LibraryPath& folder, const WCHAR* name);

/// Loads the first of the names that can be loaded from the folder.
FoundLibrary LoadFirst(const LibraryPath& folder, std::span<const WCHAR* const> names);

}  // namespace NorvoWebAPI
