/// The command line of ksv-browser.
#pragma once

#include <QString>
#include <QUrl>

#include "kit/program/exit_status.h"
#include "kit/program/page_options.h"

namespace Kit {

struct BrowserOptions : PageOptions {
  QUrl page;
  QString transcript = "-";  ///< A file's path; "-" is standard output.
  QString storage;           ///< The folder for localStorage; empty for none.
  bool stay = false;
};

/// Reads `arguments` (the program's path first) into `options`. As `OptionParser::Read`.
std::optional<int> ReadBrowserOptions(const std::vector<std::string>& arguments, BrowserOptions& options);

}  // namespace Kit
