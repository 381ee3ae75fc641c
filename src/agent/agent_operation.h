/// What the sources of `CKSVPluginZUB` share: the frame of its operations, their output buffers, their calls by target.
#pragma once

#include <algorithm>
#include <cstdint>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "agent/agent_log.h"
#include "agent/cksv_plugin_zub.h"
#include "foundation/base64.h"
#include "foundation/byte_buffer.h"
#include "foundation/result_codes.h"

namespace NorvoWebAPI::KSV {

template <typename Check, typename Work>
bool CKSVPluginZUB::RunChecked(const char* word, int32_t startStatus, Check check, Catches catches, JSObject& result,
                               Work work) {
  StorePluginCode(result, kFailed);
  StoreStatus(result, startStatus);
  DebugLog(logEnabled, kAgentLogTag, "%s\n", word);
  if (check()) {
    try {
      work();
    } catch (const std::bad_alloc&) {
      StorePluginCode(result, catches == Catches::Nothing ? kFailed : kOutOfMemory);
    } catch (const CPluginException& failure) {
      StorePluginCode(result, catches == Catches::BadAllocAndCode ? failure.pluginRetCode : int32_t{kFailed});
    } catch (...) {
      StorePluginCode(result, kFailed);
    }
  }
  LogCodes(logEnabled, kAgentLogTag, word, result);
  return true;
}

template <typename Work>
bool CKSVPluginZUB::Run(const char* word, const EntryTable::Row& entryPoint, Catches catches, JSObject& result,
                        Work work) {
  return RunChecked(
      word, kAgentNotCalled, [&] { return CheckEntry(entryPoint, result); }, catches, result, work);
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

/// The bytes of a text; no buffer at all for a null or empty one.
inline ByteBuffer DecodeOptional(const char* text, int32_t length) {
  return length >= 1 && text ? DecodeBase64(text, length) : ByteBuffer();
}

/// A buffer that the library fills: it is told the low 16 bits of the page's capacity, and gives back in their place
/// how much it stored, or requires.
class OutputBuffer {
 public:
  /// Room for the whole capacity, as the page gives it; a negative one is more than memory holds.
  static OutputBuffer OfWhole(int32_t capacity) { return {ByteBuffer::Allocate(capacity), capacity}; }
  /// Room for the low 16 bits alone, and for a terminator that a library may put behind them; none at all when they
  /// are 0.
  static OutputBuffer OfLow16(int32_t capacity) {
    const auto low = static_cast<uint16_t>(capacity);
    return {low == 0 ? ByteBuffer() : ByteBuffer::Allocate(int32_t{low} + 1), capacity};
  }

  uint16_t* Length() { return &length; }
  uint8_t* Bytes() { return buffer.bytes.get(); }

  void StoreRequired(JSObject& result, const char* key) const { result[key] = JSObject(int32_t{length}); }

  /// The number of bytes that the library left to be read. Throws when it claims more than it had room for.
  [[nodiscard]] uint16_t StoredLength() const {
    if (!buffer.bytes) return 0;
    if (length > given) throw std::runtime_error("The library claims more bytes than it was given room for");
    return length;
  }

  /// Stores the library's bytes as Base64, if there are any. True when it did.
  bool StoreData(JSObject& result, const char* key) const {
    if (StoredLength() == 0) return false;
    result[key] = JSObject(EncodeBase64(buffer.bytes.get(), length));
    return true;
  }

  /// The usual answer of an operation with one output.
  void StoreAnswer(JSObject& result, int32_t status, const char* requiredKey, const char* dataKey) const {
    if (status == kAgentBufferTooSmall) StoreRequired(result, requiredKey);
    if (status == kAgentOk) StoreData(result, dataKey);
  }

 private:
  OutputBuffer(ByteBuffer room, int32_t capacity)
      : buffer(std::move(room)), given(static_cast<uint16_t>(capacity)), length(given) {
    // A library that claims what it never wrote must not hand the page what lay there before.
    if (buffer.bytes) std::fill_n(buffer.bytes.get(), given, uint8_t{0});
  }

  ByteBuffer buffer;
  uint16_t given;
  uint16_t length;
};

}  // namespace NorvoWebAPI::KSV
