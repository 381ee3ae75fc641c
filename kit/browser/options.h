/// The command line of ksv-browser.
#pragma once

#include <QSize>
#include <QString>
#include <QStringList>
#include <QUrl>

#include "kit/exit_status.h"

namespace Kit {

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
