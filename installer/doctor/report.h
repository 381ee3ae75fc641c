/// What the doctor found, and its two forms.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace NorvoWebAPI::KSV::Doctor {

enum class Status { Pass, Warn, Fail };

/// One link of the chain from the browser to the libraries. Texts are narrow, in the ANSI code page.
struct Check {
  std::string name;
  Status status;
  std::string found;
  std::string remedy;  ///< Empty when there is nothing to do.
};

class Report {
 public:
  void Pass(std::string name, std::string found);
  void Warn(std::string name, std::string found, std::string remedy);
  void Fail(std::string name, std::string found, std::string remedy);

  [[nodiscard]] const std::vector<Check>& Checks() const { return checks; }
  /// The first that failed, or null.
  [[nodiscard]] const Check* FirstBroken() const;

  /// "pluginRetCode" that `zubInit` and `wysInit` would give here by the plug-in's own check.
  int32_t agentAnswer = 0;
  int32_t displayAnswer = 0;

  /// A line a check, then the first broken link and what to do about it. In the ANSI code page.
  [[nodiscard]] std::string ToText() const;
  /// The same in UTF-8.
  [[nodiscard]] std::string ToJson() const;

 private:
  std::vector<Check> checks;
};

/// Runs all checks, from the settings to the registered module. Loads the libraries and the module as the plug-in and
/// the browser do, calls nothing in them, and changes nothing.
Report Examine();

}  // namespace NorvoWebAPI::KSV::Doctor
