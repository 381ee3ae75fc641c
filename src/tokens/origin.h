#pragma once

#include <string>

namespace NorvoWebAPI {

/// Reduces a page address in place to scheme, "_", host and, with a port, "_" and the port: the name of the domain
/// that tokens are bound to.
void NormalizeOrigin(std::string& url);

}  // namespace NorvoWebAPI
