#include "installer/doctor/file_facts.h"

#include <array>
#include <fstream>
#include <string_view>

#include "base/text.h"
#include "installer/doctor/checks.h"
#include "storage/platform_files.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

// Reads bytes at a place of a file; what lies beyond its end reads as zeros.
template <size_t size>
std::array<unsigned char, size> BytesAt(std::ifstream& file, std::streamoff place) {
  std::array<unsigned char, size> bytes{};
  file.clear();
  file.seekg(place).read(reinterpret_cast<char*>(bytes.data()), size);
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
  WIN32_FIND_DATAA entry;
  // Even an empty folder has an entry for itself; only the root of a drive has not.
  const HANDLE search = FindFirstFileA((path + "*").c_str(), &entry);
  return search != INVALID_HANDLE_VALUE && FindClose(search);
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
  // The old header ends in the place of the new one, which names the machine behind its mark.
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
