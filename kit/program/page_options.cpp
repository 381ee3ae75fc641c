#include "kit/program/page_options.h"

#include <regex>

#include "kit/program/paths.h"

namespace Kit {
namespace {

namespace fs = std::filesystem;

constexpr int kMaxSeconds = 86400;

void ReadSize(const std::string& text, PageOptions& options) {
  std::smatch numbers;
  if (!std::regex_match(text, numbers, std::regex("([1-9][0-9]{1,3})x([1-9][0-9]{1,3})"))) {
    throw CLI::ValidationError("--size", "it takes WIDTHxHEIGHT in pixels, each 10 to 9999, as in 480x540");
  }
  options.width = std::stoi(numbers[1]);
  options.height = std::stoi(numbers[2]);
}

/// The module's suffix is its system's: the one that is there is taken.
fs::path DefaultModule(const std::string& program) {
  const fs::path folder = fs::absolute(PathOf(program)).parent_path().parent_path();
  const fs::path library = folder / "npNorvoWebAPIKSV.dll";
  std::error_code ignored;
  return fs::exists(library, ignored) ? library : folder / "npNorvoWebAPIKSV.so";
}

}  // namespace

void AddPageOptions(OptionParser& parser, PageOptions& options, const std::string& program) {
  parser
      .add_option_function<std::string>(
          "--module", [&options](const auto& file) { options.module = fs::absolute(PathOf(file)); },
          "the module (default: npNorvoWebAPIKSV, .dll or .so,\none folder above this program)")
      ->type_name("FILE");
  parser
      .add_option_function<std::string>(
          "--size", [&options](const auto& text) { ReadSize(text, options); }, "size of the window in pixels")
      ->type_name("WxH")
      ->default_str(std::to_string(options.width) + "x" + std::to_string(options.height));
  parser.add_option("--timeout", options.timeoutSeconds, "give up on a page that has not finished by then")
      ->type_name("SECONDS")
      ->capture_default_str()
      ->check(CLI::Range(1, kMaxSeconds).description(""));
  parser
      .add_option_function<std::string>(
          "--picture", [&options](const auto& file) { options.picture = PathOf(file); },
          "save a picture of the window when the page has finished")
      ->type_name("FILE");
  parser.parse_complete_callback([&options, program] {
    if (options.module.empty()) options.module = DefaultModule(program);
  });
}

}  // namespace Kit
