/// What the machine's inventory says of it. Windows asks the management service, Linux reads the firmware's DMI files.
#pragma once

#include <string>

namespace NorvoWebAPI::Platform {

/// Reads maker, model and the enclosure's serial number, in the ANSI code page. A text is assigned only if the
/// inventory gave it, which may be an empty one; true exactly if it gave the serial number. Asks anew at each call, and
/// takes as long as the inventory does. Throws `_com_error` for a value that can't become text.
bool GetSystemIdentity(std::string& manufacturer, std::string& model, std::string& serialNumber);

}  // namespace NorvoWebAPI::Platform
