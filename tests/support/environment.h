#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "tests/stubs/agent_stub.h"
#include "tests/stubs/display_stub.h"
#include "tests/support/nth_failure.h"
#include "tests/support/order.h"

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
  /// A value of the settings: these bytes and no more.
  void SetSetting(const std::string& name, DWORD type, std::string bytes) const;
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

std::string Show(const AgentCall& call);
std::string Show(const DisplayCall& call);
void GiveNothing(AgentCall& call);
void GiveNothing(DisplayCall& call);
/// Claims more than there was room for, and numbers that nobody gave.
void Lie(AgentCall& call);
void Lie(DisplayCall& call);
HMODULE LoadStub(const Environment& environment, const std::filesystem::path& path);

/// A stand-in library in the test's process, which hands its calls over. `Call` tells one of them, `Control` is what
/// the library exports under the name `controlEntry`.
template <typename Call, typename Control>
class LibraryStub {
 public:
  using Answer = std::function<void(Call&)>;

  /// Answers an entry from now on. Others succeed and give nothing, or as they are told together.
  void On(const std::string& entry, Answer answer) { answers[entry] = std::move(answer); }
  void OnOthers(Answer answer) { otherwise = std::move(answer); }

 protected:
  /// Points the settings at the folder too.
  LibraryStub(const Environment& environment, const std::filesystem::path& folder, const std::string& file,
              const char* controlEntry)
      : library(LoadStub(environment, folder / file)),
        control(reinterpret_cast<Control* (*)()>(reinterpret_cast<void*>(GetProcAddress(library, controlEntry)))()) {
    *control = {[](void* stub, Call* call) { static_cast<LibraryStub*>(stub)->Take(*call); }, this};
  }
  ~LibraryStub() {
    *control = {};
    FreeLibrary(library);
  }
  LibraryStub(const LibraryStub&) = delete;
  LibraryStub& operator=(const LibraryStub&) = delete;

  std::vector<std::string> calls;

 private:
  void Take(Call& call) {
    OrderThreads();  // With a test that talks to the host's thread.
    if (FailsNow(Source::LibraryThrows)) throw std::bad_alloc();
    const bool refuses = FailsNow(Source::LibraryRefuses);
    const bool lies = FailsNow(Source::LibraryLies);
    {
      const InPlugin library(false);
      calls.push_back(Show(call));
      const auto told = answers.find(call.entry);
      const Answer answer = told == answers.end() ? otherwise : told->second;  // It may be replaced from inside.
      answer(call);
      if (refuses) call.status = 77;
      if (lies) Lie(call);
    }
    OrderThreads();
    PageMayEnd();
  }

  HMODULE library;
  Control* control;
  std::map<std::string, Answer> answers;
  Answer otherwise = [](Call& call) { GiveNothing(call); };
};

/// The stand-in agent library: where its variants lie, what was asked of it, what it answers.
class AgentStub : public LibraryStub<AgentCall, AgentStubControl> {
 public:
  /// Points the settings at a variant, and takes its answers over. `file` renames it.
  explicit AgentStub(const Environment& environment, const std::string& variant = "full",
                     const std::string& file = "zub.dll");

  /// The library's version: the lowest byte tells the generation, from 3 on that of instances. Instances are numbered
  /// from 101.
  void SetVersion(uint32_t version);
  /// The calls since the last time this was asked, as in "ZUB_SendData('app', 7, 2, <'text', >16)": the target's name
  /// or "#" and number, numbers, input behind "<", capacities behind ">" with "/null" when no buffer came. The
  /// plug-in's question for the version is left out unless asked for.
  std::vector<std::string> TakeCalls(bool withVersion = false);

 private:
  uint32_t started = 100;
};

/// The stand-in display library.
class DisplayStub : public LibraryStub<DisplayCall, DisplayStubControl> {
 public:
  explicit DisplayStub(const Environment& environment, const std::string& variant = "full");

  /// Answers an entry by a status alone.
  void Refuse(const std::string& entry, int32_t status = 5);
  /// The calls since the last time this was asked, as in "WYSMouseDown(7, 9, {120,45})": input in hexadecimal behind
  /// "<", room behind ">" with "/null" when no buffer came.
  std::vector<std::string> TakeCalls() { return std::exchange(calls, {}); }
};

/// An answer that fills the first output with bytes, and gives their count or another length and a status.
AgentStub::Answer Gives(const std::string& bytes, std::optional<uint16_t> length = {}, int32_t status = 0);
AgentStub::Answer Refuses(int32_t status);

}  // namespace support
