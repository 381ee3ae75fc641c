#pragma once

namespace NorvoWebAPI::KSV {

class ScriptCall;

/// The operations of the script methods that need no library.
namespace PlatformMethods {

void GetPlatformInfo(ScriptCall& call);
void IsUpdaterPromptRequired(ScriptCall& call);

}  // namespace PlatformMethods

}  // namespace NorvoWebAPI::KSV
