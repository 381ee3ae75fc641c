#include "installer/doctor/file_facts.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "installer/doctor/checks.h"
#include "installer/doctor/texts.h"
#include "kit/program/paths.h"
#include "platform/system_path.h"
#include "platform/win32.h"
#include "storage/platform_files.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

// Numbers of a file by their place, lowest byte first as in every module that this product is built for. Beyond the end
// of the file all is 0.
class Numbers {
 public:
  explicit Numbers(std::ifstream file) : file(std::move(file)) {}

  uint64_t At(uint64_t offset, int bytes) {
    unsigned char read[8]{};
    file.clear();
    if (offset > kFarthest || !file.seekg(static_cast<std::streamoff>(offset))) return 0;
    file.read(reinterpret_cast<char*>(read), bytes);
    uint64_t number = 0;
    for (int at = bytes - 1; at >= 0; --at) number = number << 8 | read[at];
    return number;
  }
  uint64_t Size() {
    file.clear();
    const std::streamoff size = file.seekg(0, std::ios::end).tellg();
    return size > 0 ? static_cast<uint64_t>(size) : 0;
  }

 private:
  static constexpr uint64_t kFarthest = uint64_t{1} << 62;
  std::ifstream file;
};

// The end of a stretch of the file, without overflow.
uint64_t EndOf(uint64_t offset, uint64_t length) {
  return offset + std::min(length, UINT64_MAX - offset);
}

// The segments that the loader maps, and the tables of segments and sections.
void ReadElf(Numbers& numbers, ModuleFacts& facts) {
  const bool wide = numbers.At(4, 1) == 2;
  const int word = wide ? 8 : 4;
  facts.kind = wide ? "64-bit Linux" : "32-bit Linux";
  const uint64_t segments = numbers.At(wide ? 32 : 28, word);
  const uint64_t sections = numbers.At(wide ? 40 : 32, word);
  const uint64_t counts = wide ? 54 : 42;
  const uint64_t segmentSize = numbers.At(counts, 2);
  const uint64_t segmentCount = numbers.At(counts + 2, 2);
  facts.wholeSize = std::max(EndOf(segments, segmentSize * segmentCount),
                             EndOf(sections, numbers.At(counts + 4, 2) * numbers.At(counts + 6, 2)));
  for (uint64_t at = 0; at < segmentCount; ++at) {
    const uint64_t segment = EndOf(segments, at * segmentSize);
    if (segment >= facts.size) break;  // The table itself is cut off.
    facts.wholeSize = std::max(facts.wholeSize, EndOf(numbers.At(segment + (wide ? 8 : 4), word),
                                                      numbers.At(segment + (wide ? 32 : 16), word)));
  }
}

// The sections, and the table of symbols behind them. `header` is where the new header begins.
void ReadPe(Numbers& numbers, uint64_t header, ModuleFacts& facts) {
  const uint64_t machine = numbers.At(header + 4, 2);
  facts.kind = machine == 0x14c ? "32-bit Windows" : machine == 0x8664 ? "64-bit Windows" : "foreign Windows";
  constexpr uint64_t kSymbolSize = 18;
  constexpr uint64_t kSectionSize = 40;
  const uint64_t sections = header + 24 + numbers.At(header + 20, 2);
  const uint64_t count = numbers.At(header + 6, 2);
  facts.wholeSize = std::max(EndOf(sections, count * kSectionSize),
                             EndOf(numbers.At(header + 12, 4), kSymbolSize * numbers.At(header + 16, 4)));
  for (uint64_t at = 0; at < count; ++at) {
    const uint64_t section = sections + at * kSectionSize;
    if (section >= facts.size) break;
    facts.wholeSize = std::max(facts.wholeSize, EndOf(numbers.At(section + 20, 4), numbers.At(section + 16, 4)));
  }
}

}  // namespace

const char* OwnKind() {
  return KSV_OWN_KIND;
}

std::filesystem::path PathOf(const std::string& narrow) {
  return Kit::PathOf(ToUtf8(SystemPath(narrow)));
}

std::string NarrowOf(std::filesystem::path path) {
  const std::u8string text = path.make_preferred().u8string();
  return NarrowFromUtf8({text.begin(), text.end()});
}

std::vector<std::string> EntriesOf(const std::string& folder) {
  constexpr size_t kMost = 1000;
  std::vector<std::string> entries;
  std::error_code error;
  std::filesystem::directory_iterator each(PathOf(folder), error);
  for (; !error && each != std::filesystem::directory_iterator() && entries.size() < kMost; each.increment(error)) {
    entries.push_back(NarrowOf(each->path()));
  }
  std::ranges::sort(entries);
  return entries;
}

bool FolderExists(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

Presence FindFile(const std::string& path) {
  std::error_code ignored;
  const auto status = std::filesystem::status(PathOf(path), ignored);
  // To open a pipe would wait for its writer.
  const bool isOther = std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
  if (!isOther && Platform::OpenForReading(path).is_open()) return Presence::There;
  const bool isThere = GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
  return isThere || GetLastError() == ERROR_ACCESS_DENIED ? Presence::Denied : Presence::Missing;
}

ModuleFacts ReadModuleFacts(const std::string& path) {
  Numbers numbers(Platform::OpenForReading(path, std::ios::binary));
  ModuleFacts facts;
  facts.size = numbers.Size();
  const uint64_t header = numbers.At(60, 4);
  if (const uint64_t width = numbers.At(4, 1); numbers.At(0, 4) == 0x464C457F && (width == 1 || width == 2)) {
    ReadElf(numbers, facts);
  } else if (numbers.At(0, 2) == 0x5A4D && numbers.At(header, 4) == 0x4550) {
    ReadPe(numbers, header, facts);
  }
  return facts;
}

std::string WhyNoModule(const ModuleFacts& facts) {
  if (facts.size == 0) return "is empty";
  if (facts.kind.empty()) return "is no library at all";
  if (facts.kind != OwnKind()) return "is a " + facts.kind + " library, and " + OwnKind() + " browsers don't load it";
  return WhyCutOff(facts);
}

std::string WhyCutOff(const ModuleFacts& facts) {
  if (facts.size >= facts.wholeSize) return {};
  return "is cut off: it has " + std::to_string(facts.size) + " of the " + std::to_string(facts.wholeSize) +
         " bytes that its headers ask for";
}

}  // namespace NorvoWebAPI::KSV::Doctor
