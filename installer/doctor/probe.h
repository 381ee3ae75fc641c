/// Loads a library in a process of its own. It may crash, hang or end the process: that is a finding.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace NorvoWebAPI::KSV::Doctor {

/// What is loaded: by this the entry points are known that it has to have.
inline constexpr char kAgentProbe[] = "agent";
inline constexpr char kDisplayProbe[] = "display";
inline constexpr char kModuleProbe[] = "module";

struct Probed {
  bool loaded = false;
  /// The process ended or was stopped before the loader answered: so would the browser.
  bool fatal = false;
  /// It wasn't tried, since it was cut off. The system may load it all the same.
  bool mayLoad = false;
  /// What happened to a file that isn't loaded, as the end of a sentence that begins with its name.
  std::string problem;
  std::vector<std::string> lacking;  ///< Entry points.
};

/// The doctor's side: starts this program once more for each question.
class Prober {
 public:
  /// `program` is the doctor's own path, in UTF-8. A library may take `limit` to load.
  Prober(std::string program, std::chrono::seconds limit) : program(std::move(program)), limit(limit) {}

  /// Loads a file, by its narrow path.
  [[nodiscard]] Probed Load(const char* what, const std::string& path) const;
  /// The code by which the plug-in would answer an initialisation, by its own check. Nothing when it gets no answer.
  [[nodiscard]] std::optional<int32_t> Answer(const char* what) const;

  [[nodiscard]] std::chrono::seconds Limit() const { return limit; }

 private:
  std::string program;
  std::chrono::seconds limit;
};

/// The started program's side: `file` is in UTF-8; without one it finds the answer. Ends the process, without a call
/// into what was loaded.
[[noreturn]] void RunProbe(const std::string& what, const std::string& file);

}  // namespace NorvoWebAPI::KSV::Doctor
