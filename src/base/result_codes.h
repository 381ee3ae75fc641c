/// The codes that a page reads in every result object, and the exception that carries one to it.
#pragma once

#include <cstdint>

namespace NorvoWebAPI::KSV {

/// Values of "pluginRetCode", the plug-in's own result; docs/codes.md describes them.
enum PluginRetCode : int32_t {
  kPluginOk = 0,
  kNoLibrary = 10,         ///< No library is loaded.
  kNoEntryPoint = 11,      ///< The library lacks the entry point of the operation.
  kBadArguments = 12,      ///< Wrong count, empty name, a value beyond a limit.
  kFailed = 13,            ///< The start value of every operation, and any failure without a code of its own.
  kOutOfMemory = 14,       ///< Memory ran out.
  kAppletFileFailed = 15,  ///< The temporary applet file can't be written.
  kDisplayEventsFailed = 16,
  kUpdateOverdue = 17,  ///< The update gate is shut.
  kTokenExists = 18,    ///< A token file of that name is already there.
  kBadDomain = 19,      ///< A domain name is too long or holds a forbidden character.
  kNoToken = 20,        ///< No such token file.
  kTokenNotWritable = 21,
  kEventRegistrationFailed = 22,
};

/// Thrown when a failure has a code of its own. Whoever catches it stores the code in the page's result.
struct CPluginException {
  int32_t pluginRetCode;
};

}  // namespace NorvoWebAPI::KSV
