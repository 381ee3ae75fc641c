#include "foundation/library_loader.h"

namespace NorvoWebAPI {

LibraryPath PathInFolder(const LibraryPath& folder, const WCHAR* name) {
  LibraryPath path = folder;
  path.Append(name);
  return path;
}

NamedLibrary LoadFirst(const LibraryPath& folder, std::span<const WCHAR* const> names) {
  for (const WCHAR* name : names) {
    if (Library library{LoadLibraryW(PathInFolder(folder, name).c_str())}) return {std::move(library), name};
  }
  return {};
}

}  // namespace NorvoWebAPI
