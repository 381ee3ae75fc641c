/// What the sources of `CKSVPluginZUB` share: the frame of an operation, output buffers, the call by name or by
/// instance.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "agent/cksv_plugin_zub.h"
#include "base/base64.h"
#include "base/byte_buffer.h"
#include "base/debug_log.h"
#include "library/output_buffer.h"

namespace NorvoWebAPI::KSV {

template <typename Check, typename Work>
Outcome CKSVPluginZUB::RunChecked(const char* word, int32_t startStatus, CodedExceptions coded, Check check,
                                  Work work) {
  DebugLog(logEnabled, kAgentLogTag, "%s\n", word);
  const Outcome outcome = RunOperation(startStatus, coded, check, work);
  LogOutcome(logEnabled, kAgentLogTag, word, outcome);
  return outcome;
}

template <typename Work>
Outcome CKSVPluginZUB::Run(const char* word, const EntryTable::Row& entryPoint, CodedExceptions coded, Work work) {
  return RunChecked(
      word, kAgentNotCalled, coded, [&](Outcome& outcome) { return CheckEntry(entryPoint, outcome); }, work);
}

template <typename Named, typename Numbered, typename... Arguments>
void CKSVPluginZUB::CallTarget(const AgentTarget& target, const Named& named, const Numbered& numbered,
                               Outcome& outcome, Arguments... arguments) const {
  if (target.tag == AgentTarget::kName) {
    const std::optional<std::string> name = NarrowFromBstr(target.name.Get());
    outcome.status = named(name ? name->c_str() : nullptr, arguments...);
  } else if (target.tag == AgentTarget::kInstance) {
    if (CheckEntry(numbered, outcome)) outcome.status = numbered(target.instanceId, arguments...);
  }
}

/// An output buffer for the agent library, which gets only the low 16 bits of the page's capacity.
class AgentOutput : public OutputBuffer<uint16_t> {
 public:
  /// Allocates as many bytes as the page asked for.
  static AgentOutput OfWhole(int32_t capacity) { return {capacity, static_cast<uint16_t>(capacity)}; }
  /// Allocates the low 16 bits of the capacity, and one byte more for a terminator. No buffer when these bits are 0.
  static AgentOutput OfLow16(int32_t capacity) {
    const auto low = static_cast<uint16_t>(capacity);
    if (low == 0) return AgentOutput(low);
    return {int32_t{low} + 1, low};
  }

  void StoreRequired(JSObject& result, const char* key) const { result[key] = JSObject(int32_t{length}); }

  /// What an operation with one output adds to the page's result.
  void StoreAnswer(JSObject& result, int32_t status, const char* requiredKey, const char* dataKey) const {
    if (status == kAgentBufferTooSmall) StoreRequired(result, requiredKey);
    if (status == kAgentOk) StoreData(result, dataKey);
  }

 private:
  using OutputBuffer::OutputBuffer;
};

}  // namespace NorvoWebAPI::KSV
