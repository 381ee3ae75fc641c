/// What the doctor found, and its two forms. docs/doctor.md describes both.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace NorvoWebAPI::KSV::Doctor {

enum class Status { Pass, Warn, Fail };

/// One link of the chain from the browser to the libraries. Texts are UTF-8, without control characters.
struct Check {
  std::string name;
  Status status;
  std::string found;
  std::string remedy;  ///< Empty when there is nothing to do.
};

/// Whether pages of a browser get the plug-in by the bridge. Texts are narrow.
struct BridgeVerdict {
  std::string browser;
  std::optional<bool> works;  ///< Nothing when the bridge isn't installed for it.
  std::string verdict;        ///< For a person, as the end of a sentence.
  std::string extension;      ///< The extension's version and the host's; empty when it is not known.
  std::string host;
};

class Report {
 public:
  /// `print` gets the text form piece by piece, as it is found; without it only `ToJson` has the findings.
  explicit Report(std::function<void(const std::string&)> print = {});

  /// The texts are narrow, in the ANSI code page, and may hold any bytes.
  void Pass(std::string name, const std::string& found);
  void Warn(std::string name, const std::string& found, const std::string& remedy);
  void Fail(std::string name, const std::string& found, const std::string& remedy);
  void Add(std::string name, Status status, const std::string& found, const std::string& remedy);
  /// After the last check: prints what pages get, the first broken link and what to do about it.
  void Finish() const;

  /// The first that failed, or null.
  [[nodiscard]] const Check* FirstBroken() const;
  /// All of it, as docs/doctor.schema.json has it.
  [[nodiscard]] std::string ToJson() const;

  /// Whether a browser finds the module and can start it.
  bool pluginFound = false;
  /// "pluginRetCode" that `zubInit` and `wysInit` would give here by the plug-in's own check. Nothing when the library
  /// ends or stops the browser that loads it.
  std::optional<int32_t> agentAnswer;
  std::optional<int32_t> displayAnswer;
  /// Of the browsers that are installed for this user or have a part of the bridge.
  std::vector<BridgeVerdict> bridge;

 private:
  [[nodiscard]] std::string TellAnswers() const;

  std::function<void(const std::string&)> print;
  std::vector<Check> checks;
};

/// The product's version numbers and what each one is, in one line.
std::string TellVersions();

}  // namespace NorvoWebAPI::KSV::Doctor
