#pragma once

#include <cstdint>
#include <string>

#include "agent/agent_entries.h"
#include "agent/agent_target.h"
#include "library/library_loader.h"
#include "library/library_operation.h"
#include "script/js_object.h"

namespace NorvoWebAPI::KSV {

/// Values of "fnRetCode" that the plug-in itself gives or reads; all others are the library's own.
enum AgentStatus : int32_t { kAgentOk = 0, kAgentNotCalled = 10, kAgentBufferTooSmall = 11 };

/// Where `StartInstance` leaves the id.
inline constexpr char kInstanceIdKey[] = "instanceID";
/// Where `StopInstance` does: pages know it by another spelling there.
inline constexpr char kStoppedInstanceKey[] = "instanceId";
inline uint32_t InstanceIdOf(JSObject& result) {
  return static_cast<uint32_t>(result[kInstanceIdKey].ToInt());
}

/// The host-agent library, found and bound at construction, and the operations on it. Each operation gives true and
/// leaves its outcome in `result`: "pluginRetCode", "fnRetCode" and keys of its own. Texts are terminated; null stands
/// for the empty one. The browser's thread only.
class CKSVPluginZUB {
 public:
  /// Never fails: without a library the operations answer 10. `platformName` names the updater's time file.
  explicit CKSVPluginZUB(std::string platformName);
  CKSVPluginZUB(const CKSVPluginZUB&) = delete;
  CKSVPluginZUB& operator=(const CKSVPluginZUB&) = delete;

  [[nodiscard]] bool LogEnabled() const { return logEnabled; }

  /// The test before every library call: the update gate (17), a library (10), the entry point (11). True stores 0
  /// under "pluginRetCode" and lets the call proceed.
  bool CheckEntry(const EntryTable::Row& entryPoint, JSObject& result) const;

  bool Init(JSObject& result);
  bool Deinit(JSObject& result);

  bool StartProvisioning(const AgentTarget& target, JSObject& result);
  /// Stores the new token in the token store too, if a file name is given.
  bool EndProvisioning(const AgentTarget& target, int32_t sessionHandle, int32_t capacity, const char* domain,
                       const char* secondDomain, const char* tokenFileName, JSObject& result);
  bool SendData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType, int32_t textLength,
                const char* b64Text, JSObject& result);
  bool RecvData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType, int32_t capacity, JSObject& result);
  bool ProcessSVP(const char* name, int32_t sessionHandle, int32_t textLength, const char* b64Text, JSObject& result);
  bool GetSVP(const char* name, int32_t sessionHandle, int32_t capacity, JSObject& result);
  bool SendAndRecvData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType, int32_t textLength,
                       const char* b64Text, int32_t capacity, JSObject& result);
  bool GetCaps(const char* name, int32_t selector, int32_t capacity, JSObject& result);
  bool GetVersion(JSObject& result);
  bool DoFWUpdate(JSObject& result);

  /// The token comes from `tokenText` (Base64), else from the file of that name that the domain may read.
  bool GetOTP(const AgentTarget& target, int32_t otpSelector, int32_t tokenTextLength, const char* tokenText,
              int32_t extraTextLength, const char* extraText, int32_t otpCapacity, int32_t tokenCapacity,
              const char* domain, const char* tokenFileName, JSObject& result);

  /// These two work on files alone: they need no library and pass no gate.
  bool EnumTokens(const char* domain, JSObject& result);
  bool DelTokens(const char* domain, const char* fileName, JSObject& result);

  /// Without data only the OATH applet can be installed, from the file that lies beside the library.
  bool Install(const char* appletId, const char* b64Text, int32_t textLength, JSObject& result);
  bool Uninstall(const char* appletId, JSObject& result);

  /// `callback` may be null; the library hands `context` back to it, on threads of its own.
  bool StartInstance(const char* name, InstanceEventCallback callback, void* context, JSObject& result);
  bool StopInstance(uint32_t instanceId, JSObject& result);
  bool RegisterCallback(const char* name, AgentEventCallback callback, JSObject& result);
  bool UnregisterCallback(const char* name, JSObject& result);

 private:
  void BindLibrary();

  /// The frame of every operation: the start codes, the log lines, `check` outside the guard, `work` inside it.
  template <typename Check, typename Work>
  bool RunChecked(const char* word, int32_t startStatus, Check check, TellsApart tellsApart, JSObject& result,
                  Work work);
  /// The frame of an operation on the library, with `CheckEntry` for its (first-generation) entry point.
  template <typename Work>
  bool Run(const char* word, const EntryTable::Row& entryPoint, TellsApart tellsApart, JSObject& result, Work work);
  /// Calls the library by the target's generation and stores its status, which it gives.
  template <typename Named, typename Numbered, typename... Arguments>
  int32_t CallTarget(const AgentTarget& target, const Named& named, const Numbered& numbered, JSObject& result,
                     Arguments... arguments) const;

  /// As `CheckEntry`, for an operation that either of two entry points can serve.
  bool CheckEither(const EntryTable::Row& first, const EntryTable::Row& second, JSObject& result) const;
  bool CheckGate(bool hasEntryPoint, JSObject& result) const;

  bool logEnabled = false;
  std::string platformName;
  Library library;
  bool isOtpLibrary = false;  ///< Found under its second file name, which takes another applet format.
  AgentEntries entries;
};

}  // namespace NorvoWebAPI::KSV
