#pragma once

#include "base/debug_log.h"
#include "library/result_object.h"

namespace NorvoWebAPI::KSV {

inline constexpr char kAgentLogTag[] = "pZUB";

/// The line at an operation's end: its name and the codes that stand in the result.
inline void LogCodes(bool enabled, const char* tag, const char* word, JSObject& result) {
  if (enabled) DebugLog(true, tag, "%s:%d, %d\n", word, PluginCodeOf(result), StatusOf(result));
}

}  // namespace NorvoWebAPI::KSV
