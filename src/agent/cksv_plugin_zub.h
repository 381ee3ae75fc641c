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

/// The agent library, loaded and bound by the constructor, and the operations on it. Each operation returns its codes
/// and adds further keys to `result`; none throws. Texts end with a zero; null is the empty text. The browser's thread
/// only.
class CKSVPluginZUB {
 public:
  /// Never fails: without a library the operations return code 10. The name of the updater's time file ends with
  /// `platformName`.
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

  /// Takes the token from `tokenText` (Base64); if that is empty, from the file of that name of the domain, or of no
  /// domain.
  Outcome GetOTP(const AgentTarget& target, int32_t otpSelector, int32_t tokenTextLength, const char* tokenText,
                 int32_t extraTextLength, const char* extraText, int32_t otpCapacity, int32_t tokenCapacity,
                 const char* domain, const char* tokenFileName, JSObject& result);

  /// These two work on files only: they need no library, and the update gate does not apply.
  Outcome EnumTokens(const char* domain, JSObject& result);
  Outcome DelTokens(const char* domain, const char* fileName);

  /// Without data only the OATH applet can be installed, from the file that lies beside the library.
  Outcome Install(const char* appletId, const char* b64Text, int32_t textLength);
  Outcome Uninstall(const char* appletId);

  /// `callback` may be null. The library passes `context` to it, on its own threads. `instanceId` is valid only after
  /// success.
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
  /// Calls `named` for an applet and `numbered` for an instance, and stores the library's status. The status keeps its
  /// start value for any other tag, and if the library lacks `numbered` (code 11).
  template <typename Named, typename Numbered, typename... Arguments>
  void CallTarget(const AgentTarget& target, const Named& named, const Numbered& numbered, Outcome& outcome,
                  Arguments... arguments) const;
  /// `CheckEntry` for an operation that several entry points can serve: `hasEntryPoint` tells whether there is one.
  bool CheckAnyEntry(bool hasEntryPoint, Outcome& outcome) const;

  bool logEnabled = false;
  std::string platformName;
  Library library;
  bool isOtpLibrary = false;  ///< Found under its second file name, which takes another applet format.
  AgentEntries entries;
};

}  // namespace NorvoWebAPI::KSV
