/// The command line of ksv-browser.
#pragma once

#include <QSize>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace Kit {

/// How ksv-browser ends.
enum ExitStatus {
  kExitPageSucceeded = 0,
  kExitPageFailed = 1,
  kExitUsage = 2,
  kExitNoAnswer = 3,  ///< Time-out, page not loaded, plug-in or display missing.
};

struct Options {
  QUrl page;
  QString module;            ///< Absolute path of the plug-in module.
  QString picture;           ///< Empty: no picture is saved.
  QString transcript = "-";  ///< A file's path; "-" is standard output.
  int timeoutSeconds = 60;
  bool stay = false;
  QSize size{960, 740};
};

/// The text that `--help` prints.
const char* HelpText();

/// Reads `arguments` (the program's path first) into `options`.
/// Gives an empty text, or the sentence that says what is wrong with them. `helpWanted` becomes true on `--help`.
QString ParseOptions(const QStringList& arguments, Options& options, bool& helpWanted);

}  // namespace Kit
