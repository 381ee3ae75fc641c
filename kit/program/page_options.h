/// The options that all programs share that open a page with the plug-in in it.
#pragma once

#include <filesystem>

#include "kit/program/option_parser.h"

namespace Kit {

struct PageOptions {
  std::filesystem::path module;   ///< Absolute.
  std::filesystem::path picture;  ///< Empty: no picture is saved.
  int width = 0;
  int height = 0;
  int timeoutSeconds = 60;
};

/// Adds them to the parser, which fills `options`; its size is the default one. `program` is the path of the program,
/// above whose folder the module lies by default.
void AddPageOptions(OptionParser& parser, PageOptions& options, const std::string& program);

}  // namespace Kit
