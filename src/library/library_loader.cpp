#include "library/library_loader.h"

namespace NorvoWebAPI {

LibraryPath PathInFolder(const LibraryPath& folder, const WCHAR* name) {
  LibraryPath path = folder;
  path.Append(name);
  return path;
}

FoundLibrary LoadFirst(const LibraryPath& folder, std::span<const WCHAR* const> names) {
  FoundLibrary found;
  for (; found.place < names.size(); ++found.place) {
    found.library = Library(LoadLibraryW(PathInFolder(folder, names[found.place]).c_str()));
    if (found) break;
  }
  return found;
}

}  // namespace NorvoWebAPI
