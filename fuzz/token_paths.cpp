// Domains and file names of tokens, and paths for the file layer, made of the pieces that lead astray. Beside the base
// folder nothing may appear, change or go.
#include <fstream>
#include <stdexcept>

#include "base/result_codes.h"
#include "fuzz/support/fuzzing.h"
#include "storage/platform_files.h"
#include "tokens/origin.h"
#include "tokens/token_store.h"

namespace fs = std::filesystem;
namespace Platform = NorvoWebAPI::Platform;
namespace TokenStore = NorvoWebAPI::KSV::TokenStore;
using fuzz::Demand;

namespace {

std::string Piecewise(fuzz::Input& input) {
  constexpr const char* kPieces[] = {"..",   ".",          "\\",          "/",      "a",    "b",       "..\\",
                                     "../",  "*",          "?",           ":",      "C:\\", "\\\\?\\", "webapi",
                                     "CON",  " ",          "Norvo",       "canary", "~",    "\n",      "%",
                                     "aux.", "KSV_tokens", "webapi_twin", "\xFF"};
  std::string text;
  for (int count = input.ConsumeIntegralInRange(0, 12); count > 0; --count) text += input.Pick(kPieces);
  return input.OnceIn(8) ? text + input.Text().c_str() : text;
}

std::string PathOf(fuzz::Input& input) {
  return (input.ConsumeBool() ? Platform::GetBasePath() : "") + Piecewise(input);
}

void Act(fuzz::Input& input) {
  const std::string domain = Piecewise(input);
  const std::string second = Piecewise(input);
  const std::string name = Piecewise(input);
  const uint8_t bytes[] = {1, 2, 3};
  std::vector<std::string> names;
  std::unique_ptr<uint8_t[]> buffer;
  std::string origin = input.Text();
  const size_t before = origin.size();
  const std::function<void()> deeds[] = {
      [&] {
        TokenStore::Write(input.OnceIn(8) ? nullptr : domain.c_str(), input.ConsumeBool() ? second.c_str() : nullptr,
                          name.c_str(), bytes, sizeof bytes);
      },
      [&] {
        Demand(TokenStore::Read(domain.c_str(), name.c_str(), &buffer) != 5, "a token of another folder was read");
      },
      [&] { TokenStore::Enumerate(domain.c_str(), names); },
      [&] { TokenStore::Delete(domain.c_str(), name.c_str()); },
      [&] { Platform::WriteFile(PathOf(input), bytes, sizeof bytes); },
      [&] { Platform::CreateDirectories(PathOf(input)); },
      [&] { Platform::DeleteFile(PathOf(input)); },
      [&] { Demand(Platform::ReadFile(PathOf(input), &buffer) != 5, "a file beside the base folder was read"); },
      [&] {
        const std::string path = Platform::Canonicalize(PathOf(input));
        Demand(Platform::Canonicalize(path) == path, "an absolute path stays as it is");
      },
      [&] { Platform::ListDirectory(PathOf(input), names); },
      [&] {
        const size_t scheme = origin.find("://");
        NorvoWebAPI::NormalizeOrigin(origin);
        Demand(scheme == std::string::npos ? origin.size() == before : origin.find('/', scheme) == std::string::npos,
               "no path follows the host, and other text keeps its length");
      },
  };
  deeds[input.ConsumeIntegralInRange<size_t>(0, std::size(deeds) - 1)]();
}

// The folder of the whole process, which the base folder lies in: LocalLow/Norvo/webapi.
fs::path Outside() {
  return fuzz::World().Path("").parent_path().parent_path().parent_path().parent_path();
}

std::set<std::string> EverythingOutside() {
  std::set<std::string> found = fuzz::Everything(Outside());
  std::erase_if(found, [](const std::string& path) { return path.starts_with("LocalLow/Norvo/webapi/"); });
  return found;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const fs::path home = [] {
    fuzz::World();
    // So that relative paths have somewhere to go where they would be seen.
    fs::create_directories(Outside() / "LocalLow/Norvo/webapi_twin");
    for (const char* name : {"canary", "LocalLow/canary", "LocalLow/Norvo/canary", "LocalLow/Norvo/webapi_twin/a"}) {
      std::ofstream(Outside() / name) << "alive";
    }
    fs::current_path(Outside());
    return Outside();
  }();
  fuzz::CleanBaseFolder();
  fuzz::Input input(data, size);
  const std::set<std::string> before = EverythingOutside();
  for (int count = 0; count < 8 && !input.Done(); ++count) {
    try {
      Act(input);
    } catch (const std::runtime_error&) {
    } catch (const NorvoWebAPI::KSV::CPluginException&) {
    }
  }
  Demand(EverythingOutside() == before, "a file appeared or went beside the base folder");
  Demand(fs::file_size(home / "LocalLow/Norvo/canary") == 5, "a file beside the base folder was written");
  return 0;
}
