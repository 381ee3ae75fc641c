#include "kit/host/options.h"

#include <charconv>
#include <functional>
#include <map>
#include <optional>

#include "kit/host/paths.h"

namespace Kit {
namespace {

namespace fs = std::filesystem;

constexpr int kMostSeconds = 86400;
constexpr int kMostPixels = 9999;
constexpr int kLeastPixels = 10;

std::optional<int> NumberFrom(std::string_view text, int least, int most) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < least || number > most) return {};
  return number;
}

bool ReadSize(const std::string& text, HostOptions& options) {
  const size_t cross = text.find('x');
  if (cross == std::string::npos) return false;
  const auto width = NumberFrom(std::string_view(text).substr(0, cross), kLeastPixels, kMostPixels);
  const auto height = NumberFrom(std::string_view(text).substr(cross + 1), kLeastPixels, kMostPixels);
  if (!width || !height) return false;
  options.width = *width;
  options.height = *height;
  return true;
}

// The module's name has the system's own suffix: what lies there decides.
fs::path DefaultModule(const std::string& program) {
  const fs::path folder = fs::absolute(PathOf(program)).parent_path().parent_path();
  const fs::path library = folder / "npNorvoWebAPIKSV.dll";
  std::error_code ignored;
  return fs::exists(library, ignored) ? library : folder / "npNorvoWebAPIKSV.so";
}

std::string FileAddress(const fs::path& page) {
  const std::string path = TextOf(fs::absolute(page).lexically_normal());
  return (path.starts_with('/') ? "file://" : "file:///") + path;
}

}  // namespace

const char* HostHelpText() {
  return R"(Usage: ksv-host [options] PAGE…

Gives the plug-in module a window and runs a page's script against it, without a browser and without a document.

PAGE is a script (.js; several run one after the other) or a page (.html), of which the script elements are run in their
order: those within the page and those of local files beside it (src). Nothing else of a page is looked at: no elements,
no event attributes, no addresses with a scheme, no type but JavaScript; "</script" ends a script wherever it stands.

The script is ES5 and has
  plugin                    the plug-in's object
  console.log, print        a line of the transcript, which goes to standard output
  setTimeout, setInterval, clearTimeout, clearInterval, btoa, atob
  location.href             the page's address (see --address)
  window                    the global object
  ksvBrowser.finish(ok)     ends the page: true, it passed; false, it failed
  host.click(x, y)          clicks the left mouse button there in the plug-in's window
  host.read(file)           a file's text

Options:
  --module FILE      the module (default: npNorvoWebAPIKSV, .dll or .so, one folder above this program)
  --size WxH         size of the plug-in's window in pixels (default: 480x540)
  --address URL      the page's address (default: the first PAGE as a file:/// address)
  --timeout SECONDS  give up on a page that has not finished by then (default: 60)
  --picture FILE     save a picture (BMP) of the window when the page has finished; on Windows only
  --log              print the plug-in's debug output to standard error
  --help             this text

Exit status:
  0  the page finished with true       2  the command line is wrong
  1  the page finished with false,     3  no answer: time-out, the window was closed, a page can't be read,
     its script failed, or the            or the plug-in is missing
     plug-in left something behind
)";
}

std::string ParseHostOptions(const std::vector<std::string>& arguments, HostOptions& options, bool& helpWanted) {
  using Reader = std::function<bool(const std::string&)>;
  const std::map<std::string, std::pair<Reader, const char*>> readers{
      {"--module", {[&](const auto& value) { return options.module = fs::absolute(PathOf(value)), true; }, ""}},
      {"--picture", {[&](const auto& value) { return options.picture = PathOf(value), true; }, ""}},
      {"--address", {[&](const auto& value) { return options.address = value, true; }, ""}},
      {"--size",
       {[&](const auto& value) { return ReadSize(value, options); }, "WIDTHxHEIGHT in pixels, as in 480x540"}},
      {"--timeout",
       {[&](const auto& value) {
          const auto seconds = NumberFrom(value, 1, kMostSeconds);
          return options.timeoutSeconds = seconds.value_or(0), seconds.has_value();
        },
        "a number of seconds from 1 to 86400"}}};
  for (size_t at = 1; at < arguments.size(); ++at) {
    const std::string& argument = arguments[at];
    const auto known = readers.find(argument);
    if (argument == "--help" || argument == "-h") {
      helpWanted = true;
      return {};
    }
    if (argument == "--log") {
      options.log = true;
    } else if (known != readers.end()) {
      if (++at == arguments.size() || arguments[at].empty()) return argument + " needs a value.";
      if (!known->second.first(arguments[at])) return argument + " takes " + known->second.second + ".";
    } else if (argument.starts_with("-")) {
      return "Unknown option: " + argument + ".";
    } else {
      options.pages.push_back(PathOf(argument));
    }
  }
  if (options.pages.empty()) return "Give at least one page: a .js or .html file.";
  if (options.module.empty()) options.module = DefaultModule(arguments.front());
  if (options.address.empty()) options.address = FileAddress(options.pages.front());
  return {};
}

}  // namespace Kit
