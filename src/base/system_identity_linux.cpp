#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "base/system_identity.h"
#include "base/text.h"

namespace fs = std::filesystem;

namespace NorvoWebAPI::Platform {
namespace {

// KSV_DMI_FOLDER names another folder, for tests and for machines whose own can't be read.
fs::path DmiFolder() {
  const char* folder = std::getenv("KSV_DMI_FOLDER");
  return folder && *folder ? folder : "/sys/class/dmi/id";
}

// A file is one line. On most systems only the administrator may read the serial numbers.
bool ReadText(const char* name, std::string& text) {
  std::ifstream file(DmiFolder() / name, std::ios::binary);
  std::array<char, 4096> content{};  // No file of this kind is larger than a page.
  if (!file.read(content.data(), content.size() - 1) && !file.eof()) return false;
  const std::string_view line(content.data());
  // The file may be in any encoding: the conversion to UTF-16 and back replaces what is not valid.
  text = *NarrowFromBstr(BstrFromNarrow(std::string(line.substr(0, line.find('\n'))).c_str()).Get());
  return true;
}

}  // namespace

bool GetSystemIdentity(std::string& manufacturer, std::string& model, std::string& serialNumber) {
  ReadText("product_name", model);
  ReadText("sys_vendor", manufacturer);
  return ReadText("chassis_serial", serialNumber);
}

}  // namespace NorvoWebAPI::Platform
