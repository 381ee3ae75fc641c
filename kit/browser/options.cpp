#include "kit/browser/options.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace Kit {

const char* HelpText() {
  return R"(Usage: ksv-browser [options] PAGE

Opens PAGE, a file or an address, in a QtWebKit window with the plug-in module in it.
The page ends the program with ksvBrowser.finish(true) or ksvBrowser.finish(false).
Lines that it writes with console.log make up the transcript.

Options:
  --module FILE        the module (default: npNorvoWebAPIKSV.so one folder above this program)
  --picture FILE.png   save a picture of the window when the page has finished
  --transcript FILE    write the transcript to FILE; "-", the default, is standard output
  --timeout SECONDS    give up on a page that has not finished by then (default: 60)
  --stay               leave the window open until the user closes it; there is no time-out then
  --size WxH           size of the window in pixels (default: 960x740)
  --help               this text

Exit status:
  0  the page finished with true       2  the command line is wrong
  1  the page finished with false,     3  no answer: time-out, the page did not load,
     or its script failed                 or the plug-in or the display is missing
)";
}

QString ParseOptions(const QStringList& arguments, Options& options, bool& helpWanted) {
  QCommandLineParser parser;
  parser.addOptions({{"module", "", "file"},
                     {"picture", "", "file"},
                     {"transcript", "", "file", options.transcript},
                     {"timeout", "", "seconds", QString::number(options.timeoutSeconds)},
                     {"stay", ""},
                     {"size", "", "WxH", QString("%1x%2").arg(options.size.width()).arg(options.size.height())},
                     {"help", ""}});
  if (!parser.parse(arguments)) return parser.errorText();
  helpWanted = parser.isSet("help");
  if (helpWanted) return {};

  if (parser.positionalArguments().size() != 1) return "Give exactly one page: a file or an address.";
  options.page =
      QUrl::fromUserInput(parser.positionalArguments().constFirst(), QDir::currentPath(), QUrl::AssumeLocalFile);
  options.picture = parser.value("picture");
  options.transcript = parser.value("transcript");
  options.stay = parser.isSet("stay");

  bool isNumber = false;
  options.timeoutSeconds = parser.value("timeout").toInt(&isNumber);
  if (!isNumber || options.timeoutSeconds < 1 || options.timeoutSeconds > 86400) {
    return "--timeout takes a number of seconds from 1 to 86400.";
  }
  const auto size = QRegularExpression("^([1-9][0-9]{1,3})x([1-9][0-9]{1,3})$").match(parser.value("size"));
  if (!size.hasMatch()) return "--size takes WIDTHxHEIGHT in pixels, as in 960x740.";
  options.size = {size.captured(1).toInt(), size.captured(2).toInt()};

  // Not the name by which it was called: that may be found by a search, or be a link.
  const QString programFolder = QFileInfo(QFileInfo("/proc/self/exe").symLinkTarget()).path();
  options.module = parser.isSet("module") ? QFileInfo(parser.value("module")).absoluteFilePath()
                                          : QDir::cleanPath(programFolder + "/../npNorvoWebAPIKSV.so");
  return {};
}

}  // namespace Kit
