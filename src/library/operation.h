/// What the operations of both libraries' wrappers share: the outcome of a call and the frame around its work.
#pragma once

#include <cstdint>
#include <new>

#include "base/result_codes.h"

namespace NorvoWebAPI::KSV {

/// How an operation ended: the plug-in's own code ("pluginRetCode") and the library's status ("fnRetCode").
struct Outcome {
  int32_t pluginCode = kFailed;
  int32_t status = 0;

  /// Whether the call succeeded, on the plug-in's side and on the library's.
  [[nodiscard]] bool Succeeded() const { return pluginCode == kPluginOk && status == 0; }
};

/// Code 10 without a library, 11 without the entry point, else 0.
inline int32_t BindingCode(bool hasLibrary, bool hasEntryPoint) {
  if (!hasLibrary) return kNoLibrary;
  return hasEntryPoint ? kPluginOk : kNoEntryPoint;
}

/// Which exceptions have a code of their own. None: every exception gives 13. BadAlloc: `std::bad_alloc` gives 14. All:
/// a `CPluginException` gives its code too.
enum class CodedExceptions { None, BadAlloc, All };

/// The frame of an operation. First `check` sets `pluginCode` and returns whether the library may be called; its
/// exceptions leave this function. Then `work` calls the library and sets `status` as soon as the library has returned;
/// its exceptions become codes. What `work` stored before an exception is kept.
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
