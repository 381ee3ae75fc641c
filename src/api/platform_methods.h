#pragma once

namespace NorvoWebAPI::KSV {

class ScriptCall;

/// What the script methods do that tell a page of the machine, without a library.
namespace PlatformMethods {

void GetPlatformInfo(ScriptCall& call);
void IsUpdaterPromptRequired(ScriptCall& call);

}  // namespace PlatformMethods

}  // namespace NorvoWebAPI::KSV
