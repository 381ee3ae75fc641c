/// Finding the vendor's libraries at run time.
#pragma once

#include <span>

#include "foundation/owner.h"
#include "foundation/settings.h"
#include "platform/win32.h"

namespace NorvoWebAPI {

using Library = Owner<HMODULE, FreeLibrary>;

/// A loaded library and the one of its names that it was found under. Empty when none could be loaded.
struct NamedLibrary {
  Library library;
  const WCHAR* name = nullptr;

  explicit operator bool() const { return static_cast<bool>(library); }
};

/// Where a library of this name lies in the folder, which is closed by a separator.
LibraryPath PathInFolder(const LibraryPath& folder, const WCHAR* name);

/// Loads the first of the names that can be loaded from the folder.
NamedLibrary LoadFirst(const LibraryPath& folder, std::span<const WCHAR* const> names);

}  // namespace NorvoWebAPI
