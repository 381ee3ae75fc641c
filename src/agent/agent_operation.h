/// What the sources of `CKSVPluginZUB` share: the frame of its operations, their output buffers, their calls by target.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "agent/agent_log.h"
#include "agent/cksv_plugin_zub.h"
#include "base/base64.h"
#include "base/byte_buffer.h"
#include "library/library_operation.h"
#include "library/output_buffer.h"

namespace NorvoWebAPI::KSV {

template <typename Check, typename Work>
bool CKSVPluginZUB::RunChecked(const char* word, int32_t startStatus, Check check, TellsApart tellsApart,
                               JSObject& result, Work work) {
  DebugLog(logEnabled, kAgentLogTag, "%s\n", word);
  RunOperation(startStatus, check, tellsApart, result, work);
  LogCodes(logEnabled, kAgentLogTag, word, result);
  return true;
}

template <typename Work>
bool CKSVPluginZUB::Run(const char* word, const EntryTable::Row& entryPoint, TellsApart tellsApart, JSObject& result,
                        Work work) {
  return RunChecked(
      word, kAgentNotCalled, [&] { return CheckEntry(entryPoint, result); }, tellsApart, result, work);
}

template <typename Named, typename Numbered, typename... Arguments>
int32_t CKSVPluginZUB::CallTarget(const AgentTarget& target, const Named& named, const Numbered& numbered,
                                  JSObject& result, Arguments... arguments) const {
  if (target.tag == AgentTarget::kName) {
    const std::optional<std::string> name = NarrowFromBstr(target.name.Get());
    return StoreStatus(result, named(name ? name->c_str() : nullptr, arguments...));
  }
  if (target.tag == AgentTarget::kInstance) {
    // A library that lacks the entry leaves the start status standing.
    if (!CheckEntry(numbered, result)) return kAgentNotCalled;
    return StoreStatus(result, numbered(target.instanceId, arguments...));
  }
  return StoreStatus(result, kAgentNotCalled);
}

/// The agent's way with an output: it is told the low 16 bits of the page's capacity.
class AgentOutput : public OutputBuffer<uint16_t> {
 public:
  /// Room for the whole capacity, as the page gives it; a negative one is more than memory holds.
  static AgentOutput OfWhole(int32_t capacity) { return {capacity, static_cast<uint16_t>(capacity)}; }
  /// Room for the low 16 bits alone, and for a terminator that a library may put behind them; none at all when they
  /// are 0.
  static AgentOutput OfLow16(int32_t capacity) {
    const auto low = static_cast<uint16_t>(capacity);
    if (low == 0) return AgentOutput(low);
    return {int32_t{low} + 1, low};
  }

  void StoreRequired(JSObject& result, const char* key) const { result[key] = JSObject(int32_t{length}); }

  /// The usual answer of an operation with one output.
  void StoreAnswer(JSObject& result, int32_t status, const char* requiredKey, const char* dataKey) const {
    if (status == kAgentBufferTooSmall) StoreRequired(result, requiredKey);
    if (status == kAgentOk) StoreData(result, dataKey);
  }

 private:
  using OutputBuffer::OutputBuffer;
};

}  // namespace NorvoWebAPI::KSV
