#pragma once

#include <cstdint>
#include <string>

#include "agent/agent_entries.h"
#include "agent/agent_target.h"
#include "base/debug_log.h"
#include "library/library_loader.h"
#include "library/operation.h"
#include "script/js_object.h"

namespace NorvoWebAPI::KSV {

inline constexpr char kAgentLogTag[] = "pZUB";

/// The log line at an operation's end: its name and its codes.
inline void LogOutcome(bool enabled, const char* tag, const char* word, const Outcome& outcome) {
  DebugLog(enabled, tag, "%s:%d, %d\n", word, outcome.pluginCode, outcome.status);
}

/// The host-agent library, found and bound at construction, and the operations on it. Each operation returns its codes
/// and adds the other keys of the page's result to `result`; none throws. Texts are terminated; null stands for the
/// empty one. The browser's thread only.
class CKSVPluginZUB {
 public:
  /// Never fails: without a library the operations answer 10. `platformName` names the updater's time file.
  explicit CKSVPluginZUB(std::string platformName);
  CKSVPluginZUB(const CKSVPluginZUB&) = delete;
  CKSVPluginZUB& operator=(const CKSVPluginZUB&) = delete;

  [[nodiscard]] bool LogEnabled() const { return logEnabled; }

  /// The test before every library call: the update gate (17), a library (10), the entry point (11). Sets the
  /// plug-in's code; true lets the call proceed.
  bool CheckEntry(const EntryTable::Row& entryPoint, Outcome& outcome) const;

  Outcome Init();
  Outcome Deinit();

  Outcome StartProvisioning(const AgentTarget& target, JSObject& result);
  /// Stores the new token in the token store too, if a file name is given.
  Outcome EndProvisioning(const AgentTarget& target, int32_t sessionHandle, int32_t capacity, const char* domain,
                          const char* secondDomain, const char* tokenFileName, JSObject& result);
  Outcome SendData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType, int32_t textLength,
                   const char* b64Text);
  Outcome RecvData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType, int32_t capacity,
                   JSObject& result);
  Outcome ProcessSVP(const char* name, int32_t sessionHandle, int32_t textLength, const char* b64Text);
  Outcome GetSVP(const char* name, int32_t sessionHandle, int32_t capacity, JSObject& result);
  Outcome SendAndRecvData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType, int32_t textLength,
                          const char* b64Text, int32_t capacity, JSObject& result);
  Outcome GetCaps(const char* name, int32_t selector, int32_t capacity, JSObject& result);
  Outcome GetVersion(JSObject& result);
  Outcome DoFWUpdate();

  /// The token comes from `tokenText` (Base64), else from the file of that name that the domain may read.
  Outcome GetOTP(const AgentTarget& target, int32_t otpSelector, int32_t tokenTextLength, const char* tokenText,
                 int32_t extraTextLength, const char* extraText, int32_t otpCapacity, int32_t tokenCapacity,
                 const char* domain, const char* tokenFileName, JSObject& result);

  /// These two work on files alone: they need no library and pass no gate.
  Outcome EnumTokens(const char* domain, JSObject& result);
  Outcome DelTokens(const char* domain, const char* fileName);

  /// Without data only the OATH applet can be installed, from the file that lies beside the library.
  Outcome Install(const char* appletId, const char* b64Text, int32_t textLength);
  Outcome Uninstall(const char* appletId);

  /// `callback` may be null; the library hands `context` back to it, on threads of its own. `instanceId` means
  /// something only after success.
  Outcome StartInstance(const char* name, InstanceEventCallback callback, void* context, uint32_t& instanceId,
                        JSObject& result);
  Outcome StopInstance(uint32_t instanceId, JSObject& result);
  Outcome RegisterCallback(const char* name, AgentEventCallback callback);
  Outcome UnregisterCallback(const char* name);

 private:
  void BindLibrary();

  /// `RunOperation` with the log lines at an operation's start and end.
  template <typename Check, typename Work>
  Outcome RunChecked(const char* word, int32_t startStatus, CodedExceptions coded, Check check, Work work);
  /// The frame of an operation on the library, with `CheckEntry` for its (first-generation) entry point.
  template <typename Work>
  Outcome Run(const char* word, const EntryTable::Row& entryPoint, CodedExceptions coded, Work work);
  /// Calls the library by the target's generation and stores its status. A target of another tag, and a library without
  /// the instance generation's entry point, leave the start status.
  template <typename Named, typename Numbered, typename... Arguments>
  void CallTarget(const AgentTarget& target, const Named& named, const Numbered& numbered, Outcome& outcome,
                  Arguments... arguments) const;
  /// As `CheckEntry`, for an operation that either of two entry points can serve.
  bool CheckEither(const EntryTable::Row& first, const EntryTable::Row& second, Outcome& outcome) const;
  bool CheckGate(bool hasEntryPoint, Outcome& outcome) const;

  bool logEnabled = false;
  std::string platformName;
  Library library;
  bool isOtpLibrary = false;  ///< Found under its second file name, which takes another applet format.
  AgentEntries entries;
};

}  // namespace NorvoWebAPI::KSV
