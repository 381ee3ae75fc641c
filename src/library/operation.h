/// What the operations of both libraries' wrappers share: the outcome of a call and the frame around its work.
#pragma once

#include <cstdint>
#include <new>

#include "base/result_codes.h"

namespace NorvoWebAPI::KSV {

/// How an operation ended: the plug-in's verdict on its own work ("pluginRetCode") and the library's status
/// ("fnRetCode").
struct Outcome {
  int32_t pluginCode = kFailed;
  int32_t status = 0;

  /// Whether the call succeeded, on the plug-in's side and on the library's.
  [[nodiscard]] bool Succeeded() const { return pluginCode == kPluginOk && status == 0; }
};

/// The verdict on a binding: 10 without a library, 11 without the entry point, else 0.
inline int32_t BindingCode(bool hasLibrary, bool hasEntryPoint) {
  if (!hasLibrary) return kNoLibrary;
  return hasEntryPoint ? kPluginOk : kNoEntryPoint;
}

/// Which exceptions end an operation with a code of their own; any other gives 13.
/// `BadAlloc` has 14, and with `All` a `CPluginException` the code that it carries.
enum class CodedExceptions { None, BadAlloc, All };

/// The frame of an operation: the start codes, then `check` (outside the guard), which sets `pluginCode` and tells
/// whether the library may be called, then `work` (inside the guard), which sets `status` as soon as the library has
/// returned. What `work` stored before an exception stays.
template <typename Check, typename Work>
Outcome RunOperation(int32_t startStatus, CodedExceptions coded, Check check, Work work) {
  Outcome outcome{kFailed, startStatus};
  if (!check(outcome)) return outcome;
  try {
    work(outcome);
  } catch (const std::bad_alloc&) {
    outcome.pluginCode = coded == CodedExceptions::None ? kFailed : kOutOfMemory;
  } catch (const CPluginException& failure) {
    outcome.pluginCode = coded == CodedExceptions::All ? failure.pluginRetCode : kFailed;
  } catch (...) {
    outcome.pluginCode = kFailed;
  }
  return outcome;
}

}  // namespace NorvoWebAPI::KSV
