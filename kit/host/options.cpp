#include "kit/host/options.h"

#include "kit/program/paths.h"

namespace Kit {
namespace {

namespace fs = std::filesystem;

constexpr char kDescription[] =
    "Gives the plug-in module a window and runs a page's script against it, without a browser and without a document.";

constexpr char kFooter[] =
    R"(Of a page the script elements are run in their order: those within the page and those of local files beside it (src).
Nothing else of it is looked at: no elements, no event attributes, no addresses with a scheme, no type but JavaScript;
"</script" ends a script wherever it stands.

The script is ES5 and has
  plugin                    the plug-in's object
  console.log, print        a line of the transcript, which goes to standard output
  setTimeout, setInterval, clearTimeout, clearInterval, btoa, atob
  location.href             the page's address (see --address)
  window                    the global object
  ksvBrowser.finish(ok)     ends the page: true, it passed; false, it failed
  host.click(x, y)          clicks the left mouse button there in the plug-in's window
  host.read(file)           a file's text

Exit status:
  0  the page finished with true       2  the command line is wrong
  1  the page finished with false,     3  no answer: time-out, the window was closed, a page can't be read,
     its script failed, or the            or the plug-in is missing
     plug-in left something behind)";

std::string FileAddress(const fs::path& page) {
  const std::string path = TextOf(fs::absolute(page).lexically_normal());
  return (path.starts_with('/') ? "file://" : "file:///") + path;
}

}  // namespace

std::optional<int> ReadHostOptions(const std::vector<std::string>& arguments, HostOptions& options) {
  OptionParser parser("ksv-host", kDescription, kFooter);
  std::vector<std::string> pages;
  parser.add_option("PAGE", pages, "scripts (.js), run one after the other, or pages (.html)")
      ->required()
      ->type_name("");
  options.width = 480;
  options.height = 540;
  AddPageOptions(parser, options, arguments.front());
  parser
      .add_option("--address", options.address, "the page's address (default: the first PAGE as a\nfile:/// address)")
      ->type_name("URL");
  parser.add_flag("--log", options.log, "print the plug-in's debug output to standard error");
  if (const std::optional<int> end = parser.Read(arguments)) return end;
  for (const std::string& page : pages) options.pages.push_back(PathOf(page));
  if (options.address.empty()) options.address = FileAddress(options.pages.front());
  return std::nullopt;
}

}  // namespace Kit
