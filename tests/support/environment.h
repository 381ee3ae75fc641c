#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/testing.h"
#include "tests/stubs/agent_stub.h"

namespace support {

/// A world for one test: an empty base folder, an updater that ran just now, settings with the log off and no library
/// folder. The base folder is one for the whole process, since the plug-in keeps its path.
class Environment {
 public:
  Environment();
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  /// Nothing: the updater's file is taken away.
  void SetLastUpdate(std::optional<int64_t> secondsAgo) const;
  void SetLogLevel(uint32_t level) const;
  /// The folder of the vendor's libraries, in the system's own form; at most 127 characters.
  void SetLibraryFolder(const std::filesystem::path& folder) const;
  /// A folder that is removed with the world, for files that are no data of the plug-in's.
  [[nodiscard]] std::filesystem::path Scratch() const;

  /// Files by their path below the base folder, with slashes.
  [[nodiscard]] std::filesystem::path Path(const std::string& name) const;
  void Write(const std::string& name, const std::string& bytes) const;
  [[nodiscard]] std::optional<std::string> Read(const std::string& name) const;

 private:
  platform::ScopedVariable registry;
};

/// The stand-in agent library: where its variants lie, what was asked of it, what it answers.
class AgentStub {
 public:
  using Answer = std::function<void(AgentCall&)>;

  /// Points the settings at a variant, and takes its answers over. `file` renames it.
  explicit AgentStub(const Environment& environment, const std::string& variant = "full",
                     const std::string& file = "zub.dll");
  ~AgentStub();
  AgentStub(const AgentStub&) = delete;
  AgentStub& operator=(const AgentStub&) = delete;

  /// Answers an entry from now on. Others succeed and give nothing.
  void On(const std::string& entry, Answer answer) { answers[entry] = std::move(answer); }
  /// The library's version: the lowest byte tells the generation, from 3 on that of instances. Instances are numbered
  /// from 101.
  void SetVersion(uint32_t version);
  /// The calls since the last time this was asked, as in "ZUB_SendData('app', 7, 2, <'text', >16)": the target's name
  /// or "#" and number, numbers, input behind "<", capacities behind ">" with "/null" when no buffer came. The
  /// plug-in's question for the version is left out unless asked for.
  std::vector<std::string> TakeCalls(bool withVersion = false);

 private:
  void Take(AgentCall& call);

  HMODULE library;
  AgentStubControl* control;
  std::map<std::string, Answer> answers;
  std::vector<std::string> calls;
  uint32_t started = 100;
};

/// An answer that fills the first output with bytes, and gives their count or another length and a status.
AgentStub::Answer Gives(const std::string& bytes, std::optional<uint16_t> length = {}, int32_t status = 0);
AgentStub::Answer Refuses(int32_t status);

}  // namespace support
