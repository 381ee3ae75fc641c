#include "installer/doctor/file_facts.h"

#include <array>
#include <fstream>
#include <string_view>

#include "base/text.h"
#include "installer/doctor/checks.h"
#include "storage/platform_files.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

// Reads bytes at an offset in a file; zeros beyond its end.
template <size_t size>
std::array<unsigned char, size> BytesAt(std::ifstream& file, std::streamoff offset) {
  std::array<unsigned char, size> bytes{};
  file.clear();
  file.seekg(offset).read(reinterpret_cast<char*>(bytes.data()), size);
  return bytes;
}

template <size_t size>
bool StartsWith(const std::array<unsigned char, size>& bytes, std::string_view start) {
  return std::string_view(reinterpret_cast<const char*>(bytes.data()), size).starts_with(start);
}

}  // namespace

const char* OwnKind() {
  return KSV_OWN_KIND;
}

bool FolderExists(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool FileExists(const std::string& path) {
  return Platform::OpenForReading(path).is_open();
}

std::string ModuleKind(const std::string& path) {
  std::ifstream file = Platform::OpenForReading(path, std::ios::binary);
  if (!file.is_open()) return {};
  const auto head = BytesAt<64>(file, 0);
  if (StartsWith(head, "\177ELF")) return head[4] == 1 ? "32-bit Linux" : head[4] == 2 ? "64-bit Linux" : "";
  if (!StartsWith(head, "MZ")) return {};
  // The old header ends with the offset of the new one, where the machine follows the signature.
  const auto header = BytesAt<6>(file, head[60] | head[61] << 8 | head[62] << 16);
  const int machine = header[4] | header[5] << 8;
  if (!StartsWith(header, std::string_view("PE\0\0", 4))) return {};
  return machine == 0x14c ? "32-bit Windows" : machine == 0x8664 ? "64-bit Windows" : "";
}

std::string WhyNotLoaded(const std::string& path) {
  const std::string kind = ModuleKind(path);
  if (kind.empty()) return "is no library at all";
  if (kind != OwnKind()) return "is a " + kind + " library, and " + OwnKind() + " browsers don't load it";
  return "can't be loaded: something that it needs is missing or broken";
}

std::string Narrow(const WCHAR* text) {
  const Bstr copy(SysAllocString(text));
  return NarrowFromBstr(copy.Get()).value_or("");
}

}  // namespace NorvoWebAPI::KSV::Doctor
