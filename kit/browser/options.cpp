#include "kit/browser/options.h"

#include <QDir>
#include <QFile>

namespace Kit {
namespace {

constexpr char kDescription[] = "Opens PAGE in a QtWebKit window with the plug-in module in it.";

constexpr char kFooter[] = R"(The page ends the program with ksvBrowser.finish(true) or ksvBrowser.finish(false).
Lines that it writes with console.log make up the transcript.

Exit status:
  0  the page finished with true       2  the command line is wrong
  1  the page finished with false,     3  no answer: time-out, the page did not load,
     or its script failed                 or the plug-in or the display is missing)";

}  // namespace

std::optional<int> ReadBrowserOptions(const std::vector<std::string>& arguments, BrowserOptions& options) {
  OptionParser parser("ksv-browser", kDescription, kFooter);
  std::string page;
  std::string transcript = "-";
  parser.add_option("PAGE", page, "a file or an address")->required()->type_name("");
  options.width = 960;
  options.height = 740;
  AddPageOptions(parser, options, arguments.front());
  parser.add_option("--transcript", transcript, "write the transcript to FILE; \"-\" is standard output")
      ->type_name("FILE")
      ->capture_default_str();
  std::string storage;
  parser
      .add_option("--storage", storage, "keep what pages put into localStorage in FOLDER;\nwithout it they have none")
      ->type_name("FOLDER");
  parser.add_flag("--stay", options.stay, "leave the window open until the user closes it;\nthere is no time-out then");
  if (const std::optional<int> end = parser.Read(arguments)) return end;
  options.page = QUrl::fromUserInput(QFile::decodeName(page.c_str()), QDir::currentPath(), QUrl::AssumeLocalFile);
  options.transcript = QFile::decodeName(transcript.c_str());
  options.storage = QFile::decodeName(storage.c_str());
  return std::nullopt;
}

}  // namespace Kit
