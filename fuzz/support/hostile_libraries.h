#pragma once

#include <algorithm>
#include <stdexcept>

#include "fuzz/support/fuzzing.h"

namespace fuzz {

/// Both libraries, which answer whatever the input says: any status, number and length, outputs filled or not, a throw,
/// or first some steps of the attack.
class HostileLibraries {
 public:
  /// They load once for the whole process, and answer for the latest object.
  HostileLibraries(Input& input, std::function<void()> step) : input(input), step(std::move(step)) {
    Agent().OnOthers([this](AgentCall& call) { Answer(call); });
    Agent().On("ZUB_GetVersion", [this, version = input.ConsumeBool() ? 3U : 2U](AgentCall& call) {
      *call.value = version;
      if (!quiet && this->input.OnceIn(8)) call.status = Status();
    });
    Display().OnOthers([this](DisplayCall& call) { Answer(call); });
  }
  ~HostileLibraries() {
    Agent().TakeCalls();
    Display().TakeCalls();
  }
  HostileLibraries(const HostileLibraries&) = delete;
  HostileLibraries& operator=(const HostileLibraries&) = delete;

  /// All goes well, and nothing is given.
  bool quiet = false;
  /// What an instance was started with last.
  void* context = nullptr;

 private:
  static support::AgentStub& Agent() {
    static support::AgentStub& agent = *new support::AgentStub(World());  // Never unloaded.
    return agent;
  }
  static support::DisplayStub& Display() {
    static support::DisplayStub& display = *new support::DisplayStub(World());  // Never unloaded.
    return display;
  }

  int32_t Status() {
    if (quiet) return 0;
    while (input.OnceIn(4)) step();
    if (input.OnceIn(16)) throw std::runtime_error("thrown by the library");
    if (input.OnceIn(32)) throw 7;
    return input.ConsumeBool() ? 0 : input.Number();
  }
  void Give(uint32_t* value) {
    if (value) *value = quiet ? 7 : input.OnceIn(8) ? input.Word() : input.ConsumeIntegralInRange<uint32_t>(0, 9);
  }
  // As much as there is room for, with any length told; but no megabytes of answer, which only take time.
  template <typename Length>
  void Fill(uint8_t* bytes, Length* length) {
    const Length room = *length;
    if (bytes && room > 0) bytes[0] = bytes[(room - 1) & 0xFFF & (room - 1)] = 0x5A;
    const auto told = static_cast<Length>(input.ConsumeBool() ? room : input.Word());
    *length = told > 0x10000 && told <= room ? Length{16} : told;
  }
  void Answer(AgentCall& call) {
    call.status = Status();
    Give(call.value);
    if (call.context) context = call.context;
    for (int32_t i = 0; i < call.outputCount; ++i) Fill(call.output[i], call.outputLength[i]);
  }
  void Answer(DisplayCall& call) {
    call.status = Status();
    Give(call.value);
    if (quiet) return;
    if (call.length) {
      Fill(call.bytes, call.length);
    } else if (call.bytes) {
      for (uint32_t i = 0; i < std::min(call.size, 50U); ++i) call.bytes[i] = input.ConsumeIntegral<uint8_t>();
    }
    if (call.text) std::fill_n(call.text, call.size, static_cast<WCHAR>(input.Word()));
  }

  Input& input;
  std::function<void()> step;
};

}  // namespace fuzz
