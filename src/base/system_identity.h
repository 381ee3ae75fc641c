/// The machine's identity from its inventory: the management service on Windows, the firmware's DMI files on Linux.
#pragma once

#include <string>

namespace NorvoWebAPI::Platform {

/// Reads maker, model and the enclosure's serial number, in the ANSI code page. A text that the inventory doesn't give
/// is left as it was. True when it gives the serial number, which may be empty. Nothing is kept between calls, and a
/// call may take seconds. Throws `_com_error` for a value that can't be converted to text.
bool GetSystemIdentity(std::string& manufacturer, std::string& model, std::string& serialNumber);

}  // namespace NorvoWebAPI::Platform
